// vaultsm: makes, opens, closes and checks the user's encrypted boxes. Status 0 on success, 1 with
// a sentence on standard error if not, 2 for arguments that it does not know.

#include "confinement/withheldmemory.h"
#include "vault/boxes/boxes.h"
#include "vault/tool/vaultloader.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <exception>
#include <string>

namespace
{
using Vault::Boxes;
using Vault::Outcome;

constexpr int FAILED = 1;
constexpr int MISUSED = 2;
// Who started the tool waits for it: an unanswered prompt or a file system that hangs, out of which
// only the end of the process leads, must not hold it up for ever.
constexpr unsigned LIMIT_S = 180;

constexpr char USAGE[] = "usage: vaultsm -i NAME    succeed if the box exists\n"
                         "       vaultsm -c NAME    make the box\n"
                         "       vaultsm -m NAME    open the box at ~/.vault/NAME\n"
                         "       vaultsm -t NAME    close the box\n"
                         "       vaultsm --upgrade  open every box and check it\n";

int misused()
{
    std::fputs(USAGE, stderr);
    return MISUSED;
}

int told(const Outcome &outcome)
{
    if (outcome) {
        return 0;
    }
    std::fprintf(stderr, "vaultsm: %s\n", outcome.reason().c_str());
    return FAILED;
}

int work(const std::string &option, const std::string &name)
{
    const std::unique_ptr<Vault::BoxBackend> backend = Vault::VaultLoader::backend();
    const std::unique_ptr<Vault::KeyStore> keys = Vault::VaultLoader::keyStore();
    Boxes boxes(Vault::BoxPlaces::ofUser(), *backend, *keys);
    if (option == "-i") {
        return told(boxes.exists(name) ? Outcome::success()
                                       : Outcome::failure("there is no box " + name));
    }
    if (option == "-c") {
        return told(boxes.create(name));
    }
    if (option == "-m") {
        return told(boxes.mount(name));
    }
    if (option == "-t") {
        return told(boxes.unmount(name));
    }
    return told(boxes.upgrade());
}

int run(int count, char **arguments)
{
    const std::string option = count > 1 ? arguments[1] : "";
    const bool isUpgrade = option == "--upgrade";
    const bool isOfOneBox = option == "-i" || option == "-c" || option == "-m" || option == "-t";
    if ((!isUpgrade && !isOfOneBox) || count != (isUpgrade ? 2 : 3)) {
        return misused();
    }
    const std::string name = isOfOneBox ? arguments[2] : "";
    if (isOfOneBox && !Vault::BoxPlaces::isValidName(name)) {
        return told(Outcome::failure("\"" + name + "\" is no name for a box"));
    }
    return work(option, name);
}
} // namespace

int main(int argc, char **argv)
{
    confinement::withholdMemory(confinement::Memory::Closed); // it holds a key
    umask(077);
    alarm(LIMIT_S);
    try {
        return run(argc, argv);
    } catch (const std::exception &exception) {
        std::fprintf(stderr, "vaultsm: %s\n", exception.what());
        return FAILED;
    }
}
