#include "appinfo/appinfohelper.h"

#include "appinfo/splitstring.h"

#include <QDebug>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <istream>
#include <memory>
#include <system_error>
#include <utility>

#include <gio/gdesktopappinfo.h>
#include <sys/stat.h>
#include <unistd.h>

namespace
{
constexpr char VOLUME_APPLET[] = "vesk-volume-control-applet-qt";
constexpr char VOLUME_APPLET_ENTRY[] = "/etc/xdg/autostart/vesk-volume-control-applet.desktop";
constexpr char FILE_MANAGER[] = "lupine";
constexpr char FILE_MANAGER_ENTRY[] = "/usr/share/applications/lupine.desktop";
constexpr char AUTOSTART_DIRECTORY[] = "/etc/xdg/autostart";
constexpr std::size_t WINDOWS_PREFIX_LENGTH = 3; // "C:\"
constexpr std::size_t LINK_TARGET_LIMIT = 4095;
constexpr std::size_t BLOCK_SIZE = 4096;

struct ObjectUnref {
    void operator()(gpointer object) const { g_object_unref(object); }
};
struct TextFree {
    void operator()(gpointer text) const { g_free(text); }
};
using DesktopAppInfoPtr = std::unique_ptr<GDesktopAppInfo, ObjectUnref>;
using TextPtr = std::unique_ptr<char, TextFree>;

bool contains(const std::string &text, const char *part)
{
    return text.find(part) != std::string::npos;
}

// By read(), which takes a failure for the end; an iterator over the stream's buffer would throw. A
// process may end between the opening of its files and their reading.
std::string readAll(std::istream &file)
{
    std::string content;
    std::array<char, BLOCK_SIZE> block{};
    while (file.good()) {
        file.read(block.data(), block.size());
        content.append(block.data(), static_cast<std::size_t>(file.gcount()));
    }
    return file.bad() ? std::string() : content;
}

TextPtr entryText(GDesktopAppInfo *info, const char *key)
{
    return TextPtr(g_desktop_app_info_get_string(info, key));
}

bool isHidden(GDesktopAppInfo *info, const std::string &entry)
{
    const TextPtr noDisplay = entryText(info, "NoDisplay");
    return noDisplay && std::string(noDisplay.get()) == "true" &&
           !contains(entry, AUTOSTART_DIRECTORY);
}
} // namespace

AppInfoHelper &AppInfoHelper::getInstance()
{
    static AppInfoHelper instance;
    return instance;
}

AppInfoHelper::AppInfoHelper(std::string processDirectory, std::string packageListDirectory)
    : m_processDirectory(std::move(processDirectory))
    , m_packageLists(std::move(packageListDirectory))
{
}

std::string AppInfoHelper::getCmdlineFromPid(unsigned int pid) const
{
    if (pid == 0) {
        return {};
    }
    std::ifstream file(m_processDirectory + '/' + std::to_string(pid) + "/cmdline");
    if (!file.is_open()) {
        qWarning() << "cmdlineFile open failed!" << pid;
        return {};
    }
    std::string cmdline = readAll(file);
    std::replace(cmdline.begin(), cmdline.end(), '\0', ' ');
    if (!cmdline.empty() && cmdline.back() == ' ') {
        cmdline.pop_back();
    }
    return cmdline;
}

std::string AppInfoHelper::getDesktopFileFromCmdline(const std::string &cmdline)
{
    if (cmdline.empty()) {
        qDebug() << "Warning: procCmdline is empty!";
        return {};
    }
    const auto known = m_cmdlineToDesktopFile.find(cmdline);
    if (known != m_cmdlineToDesktopFile.end()) {
        return known->second;
    }
    if (contains(cmdline, VOLUME_APPLET)) {
        return remember(cmdline, VOLUME_APPLET_ENTRY);
    }
    if (contains(cmdline, "C:") && contains(cmdline, ".exe")) {
        return findForWindowsProgram(cmdline);
    }
    if (contains(cmdline, FILE_MANAGER)) {
        return remember(cmdline, FILE_MANAGER_ENTRY);
    }
    return findForPackagedProgram(cmdline);
}

std::string AppInfoHelper::remember(const std::string &cmdline, const std::string &desktopFile)
{
    return m_cmdlineToDesktopFile.emplace(cmdline, desktopFile).first->second;
}

std::string AppInfoHelper::findForWindowsProgram(const std::string &cmdline)
{
    // The prefix is taken for the drive, wherever the drive stands.
    std::string program = cmdline.substr(WINDOWS_PREFIX_LENGTH);
    std::replace(program.begin(), program.end(), '\\', '/');
    const std::vector<std::string> entries =
        getDesktopFileFromDebPackage(findDebPackageForFile(program));
    return entries.empty() ? std::string() : remember(cmdline, entries.front());
}

std::string AppInfoHelper::findForPackagedProgram(const std::string &cmdline)
{
    const std::string program = getFullCommandLine(cmdline);
    const std::vector<std::string> entries =
        getDesktopFileFromDebPackage(findDebPackageForFile(program));
    return entries.empty() ? std::string() : remember(cmdline, selectEntry(entries, program));
}

std::string AppInfoHelper::selectEntry(const std::vector<std::string> &entries,
                                       const std::string &program) const
{
    std::string selected;
    for (const std::string &entry : entries) {
        const DesktopAppInfoPtr info(g_desktop_app_info_new_from_filename(entry.c_str()));
        if (!info) {
            continue;
        }
        const TextPtr exec = entryText(info.get(), "Exec");
        if (!exec || isHidden(info.get(), entry)) {
            continue;
        }
        selected = entry;
        if (getFullCommandLine(exec.get()) == program) {
            break;
        }
    }
    return selected;
}

std::string AppInfoHelper::getFullCommandLine(const std::string &commandLine) const
{
    // The search is for any place and the cut is always at the start.
    const std::size_t cut = contains(commandLine, "./") ? 2 : 0;
    std::vector<std::string> tokens = splitString(commandLine.substr(cut), ' ');
    if (!tokens.empty() && tokens.back().front() == '%') {
        tokens.pop_back(); // a field code of an "Exec" line
    }
    const std::size_t program = !tokens.empty() && contains(tokens.front(), "python") ? 1 : 0;
    return program < tokens.size() ? expandExec(tokens[program]) : std::string();
}

std::string AppInfoHelper::expandExec(const std::string &program) const
{
    namespace fs = std::filesystem;
    std::error_code error;
    if (fs::exists(fs::status(program, error)) && fs::path(program).has_root_directory()) {
        return program;
    }
    const char *searchPath = std::getenv("PATH");
    for (const std::string &directory : splitString(searchPath ? searchPath : "", ':')) {
        std::string candidate = directory;
        candidate.append("/").append(program);
        if (fs::is_regular_file(candidate, error)) {
            return candidate;
        }
    }
    return {};
}

std::string AppInfoHelper::findDebPackageForFile(const std::string &file) const
{
    static std::unordered_map<std::string, std::string> packageOfFile;
    const auto known = packageOfFile.find(file);
    if (known != packageOfFile.end()) {
        return known->second;
    }
    std::string package =
        m_packageLists.findPackage(isSymbolicLink(file) ? getSymbolicLinkTarget(file) : file);
    if (!package.empty()) {
        packageOfFile.emplace(file, package);
    }
    return package;
}

std::vector<std::string>
AppInfoHelper::getDesktopFileFromDebPackage(const std::string &package) const
{
    return m_packageLists.desktopFiles(package);
}

bool AppInfoHelper::isSymbolicLink(const std::string &path) const
{
    struct stat status {
    };
    return lstat(path.c_str(), &status) == 0 && S_ISLNK(status.st_mode);
}

std::string AppInfoHelper::getSymbolicLinkTarget(const std::string &path) const
{
    std::array<char, LINK_TARGET_LIMIT> target{};
    const ssize_t length = readlink(path.c_str(), target.data(), target.size());
    return length < 0 ? std::string() : std::string(target.data(), static_cast<size_t>(length));
}
