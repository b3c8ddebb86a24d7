// A hostile program in front: its command line, as the kernel gives it, and the desktop entry of
// its package. An input is the command line, a line feed, and the entry.

#include "fuzz/support/harness.h"
#include "fuzz/support/inputbytes.h"
#include "fuzz/support/scratch.h"

#include "appinfo/appinfohelper.h"
#include "appinfo/desktopfile.h"

#include <QDir>

namespace
{
constexpr unsigned int PROCESS = 7;

// Two programs that every system has belong to a package whose one entry is the input's.
void prepareFolders()
{
    static const bool once = [] {
        QDir().mkpath(Scratch::path(QStringLiteral("proc/7")));
        QDir().mkpath(Scratch::path(QStringLiteral("lists")));
        const QString entry = Scratch::path(QStringLiteral("fuzzed.desktop"));
        Scratch::write(QStringLiteral("lists/fuzzed.list"),
                       "/.\n/usr/bin/env\n/bin/sh\n" + entry.toStdString() + "\n");
        return true;
    }();
    Q_UNUSED(once)
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    Scratch::silence();
    prepareFolders();
    InputBytes input(data, size);
    Scratch::write(QStringLiteral("proc/7/cmdline"), input.line());
    const QString entry = Scratch::write(QStringLiteral("fuzzed.desktop"), input.rest());

    AppInfoHelper helper(Scratch::path(QStringLiteral("proc")).toStdString(),
                         Scratch::path(QStringLiteral("lists")).toStdString());
    const std::string cmdline = helper.getCmdlineFromPid(PROCESS);
    const std::string found = helper.getDesktopFileFromCmdline(cmdline);
    Scratch::require(helper.getDesktopFileFromCmdline(cmdline) == found ||
                         cmdline.find("exe") != std::string::npos,
                     "the same application twice");
    for (const char *key : {"Name", "Name[zh_CN]", "Icon"}) {
        getValueFromDesktopFile(entry, QLatin1String(key));
    }
    return 0;
}
