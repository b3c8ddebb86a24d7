#pragma once
// Where the parts of a user's boxes lie. Plain values. Any thread.

#include <filesystem>
#include <string>

namespace Vault
{
struct BoxPlaces {
    std::filesystem::path dataDirectory;  ///< holds a folder of ciphertext a box, mode 0700
    std::filesystem::path mountDirectory; ///< holds a mount point a box, mode 0700

    /// `vaultsm` below the user's data directory, and `~/.vault`.
    static BoxPlaces ofUser();

    /// A name that is a file name and nothing else to a shell: letters, digits, ".", "_" and "-",
    /// the first one a letter or digit, 64 at most.
    static bool isValidName(const std::string &name);

    std::filesystem::path cipher(const std::string &box) const { return dataDirectory / box; }
    /// Where a new box grows; no box can have that name.
    std::filesystem::path unfinished(const std::string &box) const
    {
        return dataDirectory / ("." + box + ".new");
    }
    std::filesystem::path mountPoint(const std::string &box) const { return mountDirectory / box; }
    std::filesystem::path lock() const { return dataDirectory / ".lock"; }
};
} // namespace Vault
