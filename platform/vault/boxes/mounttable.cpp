#include "vault/boxes/mounttable.h"

#include <fstream>
#include <sstream>
#include <system_error>

namespace Vault::MountTable
{
namespace
{
// Blanks, tabs, line ends and backslashes stand as a backslash and three octal digits.
std::string decoded(const std::string &field)
{
    std::string text;
    for (std::size_t at = 0; at < field.size(); ++at) {
        if (field[at] == '\\' && at + 3 < field.size()) {
            text += static_cast<char>((field[at + 1] - '0') * 64 + (field[at + 2] - '0') * 8 +
                                      (field[at + 3] - '0'));
            at += 3;
        } else {
            text += field[at];
        }
    }
    return text;
}

// Of the folder above alone: the last part may be a dead mount.
std::filesystem::path realPath(const std::filesystem::path &path)
{
    std::error_code error;
    const std::filesystem::path parent = std::filesystem::canonical(path.parent_path(), error);
    return error ? path : parent / path.filename();
}
} // namespace

Entry topmostAt(const std::filesystem::path &path)
{
    const std::string wanted = realPath(path).string();
    std::ifstream table("/proc/self/mountinfo");
    Entry topmost;
    for (std::string line; std::getline(table, line);) {
        std::istringstream fields(line);
        std::string skipped;
        std::string place;
        // id, parent, device, root, place, options, then optional fields up to a dash.
        fields >> skipped >> skipped >> skipped >> skipped >> place;
        if (decoded(place) != wanted) {
            continue;
        }
        while (fields >> skipped && skipped != "-") {
        }
        Entry entry;
        fields >> entry.type >> entry.source;
        entry.source = decoded(entry.source);
        topmost = entry; // a later line lies above an earlier one
    }
    return topmost;
}
} // namespace Vault::MountTable
