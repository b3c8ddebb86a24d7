// From a command line to its desktop file, on this machine's own package lists: what stands between
// a frame and its row each time another program comes to the front.

#include "appinfo/appinfohelper.h"
#include "support/figure.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <gio/gdesktopappinfo.h>

#include <algorithm>
#include <cstdio>
#include <string>
#include <vector>

#include <fcntl.h>
#include <unistd.h>

namespace
{
constexpr char LISTS[] = "/var/lib/dpkg/info";
constexpr double FIRST_GOAL = 60.0;
constexpr double REPEATED_GOAL = 1000.0; // a millisecond
constexpr int ROUNDS = 21;

QStringList programLists()
{
    QStringList lists = QDir(QString::fromLatin1(LISTS))
                            .entryList({QStringLiteral("*.list")}, QDir::Files, QDir::Unsorted);
    lists.erase(
        std::remove_if(lists.begin(), lists.end(),
                       [](const QString &name) { return name.startsWith(QLatin1String("lib")); }),
        lists.end());
    return lists;
}

template <typename Use>
void forEachList(const std::vector<std::string> &paths, Use use)
{
    for (const std::string &path : paths) {
        const int file = open(path.c_str(), O_RDONLY | O_CLOEXEC);
        if (file >= 0) {
            use(file);
            close(file);
        }
    }
}

void readAll(const std::vector<std::string> &paths)
{
    static std::vector<char> buffer(std::size_t{8} << 20);
    forEachList(paths, [](int file) {
        while (read(file, buffer.data(), buffer.size()) > 0) {
        }
    });
}

// Programs of this machine that a look-up resolves; each is asked for once only.
std::vector<std::string> installedPrograms()
{
    std::vector<std::string> programs;
    const AppInfoHelper apps;
    const QDir entries(QStringLiteral("/usr/share/applications"));
    for (const QString &name : entries.entryList({QStringLiteral("*.desktop")}, QDir::Files)) {
        const QByteArray path = QFile::encodeName(entries.filePath(name));
        GDesktopAppInfo *info = g_desktop_app_info_new_from_filename(path.constData());
        if (!info) {
            continue;
        }
        char *exec = g_desktop_app_info_get_string(info, "Exec");
        std::string program = apps.getFullCommandLine(exec ? exec : "");
        g_free(exec);
        g_object_unref(info);
        if (!program.empty() &&
            std::find(programs.begin(), programs.end(), program) == programs.end()) {
            programs.push_back(std::move(program));
        }
    }
    return programs;
}
} // namespace

int main()
{
    std::vector<std::string> paths;
    for (const QString &name : programLists()) {
        paths.push_back(std::string(LISTS) + '/' + name.toStdString());
    }
    std::printf("package lists read: %zu\n", paths.size());
    const double floor = Bench::medianMilliseconds(ROUNDS, [&paths] { readAll(paths); });
    const QString floorName = QStringLiteral("the same files read, no search");

    // A program that no package owns: every list is read, each time.
    const QTemporaryDir directory;
    QFile orphan(directory.filePath(QStringLiteral("program")));
    if (!orphan.open(QFile::WriteOnly)) {
        return 1;
    }
    const std::string orphanLine = orphan.fileName().toStdString();
    AppInfoHelper apps;
    const auto findOrphan = [&apps, &orphanLine] { apps.getDesktopFileFromCmdline(orphanLine); };
    Bench::print({QStringLiteral("first look-up, no package"),
                  Bench::medianMilliseconds(ROUNDS, findOrphan), QStringLiteral("ms"), FIRST_GOAL,
                  floor, floorName});

    std::vector<double> cold;
    for (int round = 0; round < 5; ++round) {
        forEachList(paths, [](int file) { posix_fadvise(file, 0, 0, POSIX_FADV_DONTNEED); });
        cold.push_back(Bench::milliseconds(findOrphan));
    }
    Bench::print({QStringLiteral("first look-up, no package, lists not in memory"),
                  Bench::median(cold), QStringLiteral("ms"), 0.0, 0.0, QString()});

    std::vector<double> first;
    std::string found;
    for (const std::string &program : installedPrograms()) {
        std::string entry;
        const double spent = Bench::milliseconds(
            [&] { entry = apps.getDesktopFileFromCmdline(program + " --first"); });
        if (!entry.empty()) {
            first.push_back(spent);
            found = program + " --first";
        }
    }
    if (first.empty()) {
        std::printf("no installed application resolves on this machine\n");
        return 0;
    }
    Bench::print({QStringLiteral("first look-up, slowest of %1 applications").arg(first.size()),
                  *std::max_element(first.begin(), first.end()), QStringLiteral("ms"), FIRST_GOAL,
                  floor, floorName});

    constexpr int REPEATS = 10000;
    const double repeated = Bench::medianMilliseconds(ROUNDS, [&] {
        for (int repeat = 0; repeat < REPEATS; ++repeat) {
            apps.getDesktopFileFromCmdline(found);
        }
    });
    Bench::print({QStringLiteral("repeated look-up"), repeated / REPEATS * 1e3,
                  QStringLiteral("us"), REPEATED_GOAL, 0.0, QString()});
    return 0;
}
