#pragma once
// What the kernel says is mounted. Plain functions. Any thread.

#include <filesystem>
#include <string>

namespace Vault::MountTable
{
struct Entry {
    std::string type; ///< of the file system, empty if nothing is mounted
    std::string source;
};

/// The file system that is seen at @p path, if it is mounted at exactly that path. Asks nothing of
/// the file system itself, so that a dead one is found too.
Entry topmostAt(const std::filesystem::path &path);
} // namespace Vault::MountTable
