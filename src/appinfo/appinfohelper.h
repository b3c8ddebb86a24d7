#pragma once
// From a process to the desktop file of its application: by its command line, the program that this
// starts, the package that owns the program and the desktop entries of that package.
// Owner: the process, from first use to exit. Thread: main; neither of its two maps has a lock.
// Nothing here throws; a failure is an empty text. Command lines never reach the log.

#include "appinfo/packagelists.h"

#include <string>
#include <unordered_map>
#include <vector>

class AppInfoHelper
{
public:
    static AppInfoHelper &getInstance();

    /// The directories are those of the kernel and of the package manager; tests name others.
    explicit AppInfoHelper(std::string processDirectory = "/proc",
                           std::string packageListDirectory = "/var/lib/dpkg/info");

    /// The command line of a process, its arguments joined by blanks. Empty for 0, for a kernel
    /// thread or a process that has ended, and, with a warning, if there is no such process.
    std::string getCmdlineFromPid(unsigned int pid) const;

    /// The desktop file for a command line; empty if none is found. What was found is kept for the
    /// life of the process, also that the entries of a package are all hidden. A program without a
    /// package or a package without entries is looked up anew each time.
    std::string getDesktopFileFromCmdline(const std::string &cmdline);

    /// The absolute path of the program that a command line or an "Exec" line starts: the script in
    /// case of a python interpreter. Empty if it is not found.
    std::string getFullCommandLine(const std::string &commandLine) const;

    /// The absolute path of one program, by PATH if it has none. Empty if it is not found.
    std::string expandExec(const std::string &program) const;

    /// The package that owns @p file, or what @p file links to. Empty if there is none. What was
    /// found is kept for the life of the process.
    std::string findDebPackageForFile(const std::string &file) const;

    /// Every desktop entry that @p package ships, in the order of its list.
    std::vector<std::string> getDesktopFileFromDebPackage(const std::string &package) const;

    bool isSymbolicLink(const std::string &path) const;

    /// What @p path links to, as the link has it; empty if it is no link.
    std::string getSymbolicLinkTarget(const std::string &path) const;

private:
    std::string remember(const std::string &cmdline, const std::string &desktopFile);
    std::string findForWindowsProgram(const std::string &cmdline);
    std::string findForPackagedProgram(const std::string &cmdline);
    std::string selectEntry(const std::vector<std::string> &entries,
                            const std::string &program) const;

    std::string m_processDirectory;
    PackageLists m_packageLists;
    std::unordered_map<std::string, std::string> m_cmdlineToDesktopFile; ///< never cleared
};
