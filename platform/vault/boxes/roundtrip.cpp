#include "vault/boxes/roundtrip.h"

#include <fcntl.h>
#include <sys/random.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>

namespace Vault::RoundTrip
{
namespace
{
// One name for all runs, so that a killed one leaves no more than one file.
constexpr char FILE_NAME[] = ".vaultsm-check";
using Bytes = std::array<char, 256>;

Outcome failed(const char *doing, const std::filesystem::path &file)
{
    return Outcome::failure(std::string("cannot ") + doing + ' ' + file.string() + ": " +
                            std::strerror(errno));
}

bool writeDown(int file, const Bytes &bytes)
{
    return write(file, bytes.data(), bytes.size()) == static_cast<ssize_t>(bytes.size()) &&
           fsync(file) == 0;
}

Outcome put(const std::filesystem::path &path, const Bytes &bytes)
{
    const int file =
        open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_NOFOLLOW | O_CLOEXEC, 0600);
    if (file < 0) {
        return failed("make", path);
    }
    Outcome outcome = writeDown(file, bytes) ? Outcome::success() : failed("write", path);
    if (close(file) != 0 && outcome) {
        outcome = failed("close", path);
    }
    return outcome;
}

Outcome compare(const std::filesystem::path &path, const Bytes &bytes)
{
    const int file = open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC);
    if (file < 0) {
        return failed("open", path);
    }
    Bytes found{};
    const ssize_t size = read(file, found.data(), found.size());
    close(file);
    if (size < 0) {
        return failed("read", path);
    }
    return size == static_cast<ssize_t>(bytes.size()) && found == bytes
               ? Outcome::success()
               : Outcome::failure("what was written to " + path.string() + " came back changed");
}
} // namespace

Outcome check(const std::filesystem::path &folder)
{
    Bytes bytes{};
    if (getrandom(bytes.data(), bytes.size(), 0) != static_cast<ssize_t>(bytes.size())) {
        return Outcome::failure("the system gives no random bytes");
    }
    const std::filesystem::path path = folder / FILE_NAME;
    Outcome outcome = put(path, bytes);
    if (outcome) {
        outcome = compare(path, bytes);
    }
    if (unlink(path.c_str()) != 0 && outcome) {
        outcome = failed("remove", path);
    }
    return outcome;
}
} // namespace Vault::RoundTrip
