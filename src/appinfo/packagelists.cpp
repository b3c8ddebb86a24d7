#include "appinfo/packagelists.h"

#include "appinfo/uniquefd.h"

#include <cerrno>
#include <memory>
#include <string_view>
#include <utility>

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace
{
constexpr std::string_view LIST_SUFFIX = ".list";
constexpr std::string_view LIBRARY_PREFIX = "lib";
constexpr std::string_view DESKTOP_SUFFIX = ".desktop";

struct DirectoryCloser {
    void operator()(DIR *directory) const { closedir(directory); }
};
using DirectoryPtr = std::unique_ptr<DIR, DirectoryCloser>;

bool endsWith(std::string_view text, std::string_view suffix)
{
    return text.size() >= suffix.size() && text.substr(text.size() - suffix.size()) == suffix;
}

// A name that is nothing but a suffix has no stem and so no extension.
bool isProgramPackageList(std::string_view name)
{
    return name.size() > LIST_SUFFIX.size() && endsWith(name, LIST_SUFFIX) &&
           name.substr(0, LIBRARY_PREFIX.size()) != LIBRARY_PREFIX;
}

// The whole of a file in one read: opening and reading a thousand small files is what a search
// costs. What cannot be read counts as empty.
void readFile(int directory, const char *name, std::string &content)
{
    content.clear();
    const UniqueFd file(openat(directory, name, O_RDONLY | O_CLOEXEC));
    struct stat status {
    };
    if (file.get() < 0 || fstat(file.get(), &status) != 0) {
        return;
    }
    content.resize(static_cast<std::size_t>(status.st_size));
    std::size_t filled = 0;
    while (filled < content.size()) {
        const ssize_t count = read(file.get(), content.data() + filled, content.size() - filled);
        if (count < 0 && errno == EINTR) {
            continue;
        }
        if (count <= 0) {
            break;
        }
        filled += static_cast<std::size_t>(count);
    }
    content.resize(filled);
}

// Takes the first line, without its newline, off the front of @p text.
std::string_view takeLine(std::string_view &text)
{
    const std::size_t end = text.find('\n');
    const std::string_view line = text.substr(0, end);
    text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
    return line;
}

bool holdsFile(std::string_view list, const std::string &target, bool withinLines)
{
    while (!list.empty()) {
        const std::string_view line = takeLine(list);
        if (line == target || (withinLines && line.find(target) != std::string_view::npos)) {
            return true;
        }
    }
    return false;
}
} // namespace

PackageLists::PackageLists(std::string directory) : m_directory(std::move(directory)) {}

std::string PackageLists::findPackage(const std::string &target) const
{
    const DirectoryPtr directory(opendir(m_directory.c_str()));
    if (!directory) {
        return {};
    }
    const bool withinLines = target.find(".exe") != std::string::npos;
    std::string content;
    while (const dirent *entry = readdir(directory.get())) {
        const std::string_view name = entry->d_name;
        if (!isProgramPackageList(name)) {
            continue;
        }
        readFile(dirfd(directory.get()), entry->d_name, content);
        if (holdsFile(content, target, withinLines)) {
            return std::string(name.substr(0, name.size() - LIST_SUFFIX.size()));
        }
    }
    return {};
}

std::vector<std::string> PackageLists::desktopFiles(const std::string &package) const
{
    std::vector<std::string> files;
    if (package.empty()) {
        return files;
    }
    std::string content;
    readFile(AT_FDCWD, (m_directory + '/' + package + ".list").c_str(), content);
    std::string_view list = content;
    while (!list.empty()) {
        const std::string_view line = takeLine(list);
        if (endsWith(line, DESKTOP_SUFFIX)) {
            files.emplace_back(line);
        }
    }
    return files;
}
