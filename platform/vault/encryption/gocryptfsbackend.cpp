#include "vault/encryption/gocryptfsbackend.h"

#include "vault/encryption/childprocess.h"

#include <cerrno>
#include <cstring>
#include <system_error>
#include <unistd.h>

namespace Vault
{
namespace
{
constexpr char DEVICE[] = "/dev/fuse";
constexpr char CONFIGURATION[] = "gocryptfs.conf";
// Stretching slows down who guesses passwords; nobody guesses 256 random bits, so the least that
// gocryptfs takes is enough, and a mount is done in 30 ms instead of 200.
constexpr char LEAST_STRETCHING[] = "10";
} // namespace

Outcome GocryptfsBackend::isUsable() const
{
    for (const char *program : {"gocryptfs", "fusermount3"}) {
        if (!ChildProcess::isInstalled(program)) {
            return Outcome::failure(std::string("the program ") + program + " is not installed");
        }
    }
    if (access(DEVICE, R_OK | W_OK) != 0) {
        return Outcome::failure(std::string("FUSE is not available: ") + DEVICE + ": " +
                                std::strerror(errno));
    }
    return Outcome::success();
}

Outcome GocryptfsBackend::initialise(const std::filesystem::path &cipher, const SecretKey &key)
{
    return ChildProcess::run(
        {"gocryptfs", "-init", "-q", "-scryptn", LEAST_STRETCHING, "--", cipher}, key.text());
}

Outcome GocryptfsBackend::isIntact(const std::filesystem::path &cipher) const
{
    std::error_code error;
    const std::filesystem::path configuration = cipher / CONFIGURATION;
    if (std::filesystem::file_size(configuration, error) == 0 || error) {
        return Outcome::failure("the box is damaged, " + configuration.string() +
                                " is missing or empty");
    }
    return Outcome::success();
}

Outcome GocryptfsBackend::mount(const std::filesystem::path &cipher,
                                const std::filesystem::path &mountPoint, const SecretKey &key)
{
    return ChildProcess::run({"gocryptfs", "-q", "--", cipher, mountPoint}, key.text());
}

Outcome GocryptfsBackend::unmount(const std::filesystem::path &mountPoint, bool isDead)
{
    return ChildProcess::run({"fusermount3", isDead ? "-uz" : "-u", "--", mountPoint}, {});
}
} // namespace Vault
