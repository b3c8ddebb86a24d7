// The tool's operations with real parts, killed at one step: killedvaultsm create|mount STEP.

#include "vault/boxes/boxes.h"
#include "vault/encryption/gocryptfsbackend.h"
#include "vault/keys/secretservicekeystore.h"

#include <csignal>
#include <cstdio>
#include <string>

namespace
{
using Vault::Outcome;
using Vault::SecretKey;

std::string g_step;

void reach(const char *step)
{
    if (g_step == step) {
        raise(SIGKILL);
    }
}

class KilledKeyStore : public Vault::SecretServiceKeyStore
{
public:
    Outcome keep(const std::string &box, const SecretKey &key) override
    {
        reach("before the key");
        Outcome kept = SecretServiceKeyStore::keep(box, key);
        reach("after the key");
        return kept;
    }
};

class KilledBackend : public Vault::GocryptfsBackend
{
public:
    Outcome initialise(const std::filesystem::path &cipher, const SecretKey &key) override
    {
        reach("before the ciphertext");
        Outcome initialised = GocryptfsBackend::initialise(cipher, key);
        reach("before the name");
        return initialised;
    }
    Outcome mount(const std::filesystem::path &cipher, const std::filesystem::path &mountPoint,
                  const SecretKey &key) override
    {
        reach("before the mount");
        Outcome mounted = GocryptfsBackend::mount(cipher, mountPoint, key);
        reach("after the mount");
        return mounted;
    }
};
} // namespace

int main(int argc, char **argv)
{
    if (argc != 3) {
        return 2;
    }
    g_step = argv[2];
    KilledBackend backend;
    KilledKeyStore keys;
    Vault::Boxes boxes(Vault::BoxPlaces::ofUser(), backend, keys);
    const std::string name = "tavel-ai-yestermark";
    const Outcome outcome =
        std::string(argv[1]) == "create" ? boxes.create(name) : boxes.mount(name);
    std::fprintf(stderr, "%s", outcome.reason().c_str());
    return outcome ? 0 : 1;
}
