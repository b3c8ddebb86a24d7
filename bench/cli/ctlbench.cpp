// yestermarkctl as its user waits for it, from the start of the process to its end, over a year of
// 150,000 frames, and what an insert of the recorder waits for it. ctlbench [FOLDER]: keeps the
// year in FOLDER for the next run.

#include "database/ocrscreenshotdatabase.h"
#include "support/figure.h"
#include "support/yearstore.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QProcess>
#include <QTemporaryDir>
#include <QThread>

#include <algorithm>
#include <atomic>
#include <memory>
#include <sys/resource.h>
#include <vector>

namespace
{
constexpr int ROUNDS = 9;
constexpr int ROUNDS_BESIDE = 3;
constexpr double SEARCH_GOAL_MS = 250.0;
constexpr double INSERT_GOAL_MS = 100.0;
constexpr unsigned long PAUSE_MS = 20;

int run(const QStringList &arguments)
{
    QProcess process;
    process.setStandardOutputFile(QProcess::nullDevice());
    process.start(QStringLiteral(YESTERMARKCTL), arguments);
    process.waitForFinished(-1);
    return process.exitCode();
}

/// Processor time of all ended children so far, in milliseconds.
double processorOfChildren()
{
    constexpr double microsecondsOfMillisecond = 1000.0;
    constexpr double millisecondsOfSecond = 1000.0;
    rusage usage = {};
    getrusage(RUSAGE_CHILDREN, &usage);
    return static_cast<double>(usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) *
               millisecondsOfSecond +
           static_cast<double>(usage.ru_utime.tv_usec + usage.ru_stime.tv_usec) /
               microsecondsOfMillisecond;
}

double medianOf(const QStringList &arguments, int status)
{
    return Bench::medianMilliseconds(ROUNDS, [&] {
        if (run(arguments) != status) {
            qFatal("yestermarkctl ends in another way");
        }
    });
}

void print(const QString &name, double value, double goal, double floor, const QString &floorName)
{
    Bench::print({name, value, QStringLiteral("ms"), goal, floor, floorName});
}

/// Stores frames in the newest month of the year for as long as @p work runs; the longest insert.
double longestInsert(const YearStore::Facts &facts, const std::function<void()> &work)
{
    std::atomic<bool> isToStop{false};
    double longest = 0.0;
    const std::unique_ptr<QThread> writer(QThread::create([&] {
        OcrScreenshotDatabase store;
        ScreenShotData frame;
        frame.realTime = facts.lastTime;
        frame.videoName = facts.lastVideo;
        frame.desktopFilePath = QStringLiteral("/usr/share/applications/writer.desktop");
        frame.ocrText = QStringLiteral("a line of a screen; ").repeated(150);
        for (quint32 number = 1; !isToStop; ++number) {
            frame.frameIndexOfVideo = number;
            frame.frameIndexOfDay = number;
            longest =
                std::max(longest, Bench::milliseconds([&] { store.saveScreenshotData(frame); }));
            QThread::msleep(PAUSE_MS);
        }
    }));
    writer->start();
    work();
    isToStop = true;
    writer->wait();
    return longest;
}

void measureInserts(const YearStore::Facts &facts)
{
    constexpr unsigned long aloneMs = 2000;
    const double alone = longestInsert(facts, [] { QThread::msleep(aloneMs); });
    const QList<QStringList> commands = {
        {"search", facts.absentWord}, {"days"}, {"apps"}, {"status"}, {"verify"}};
    for (const QStringList &command : commands) {
        const double beside = longestInsert(facts, [&command] {
            for (int round = 0; round < ROUNDS_BESIDE; ++round) {
                run(command);
            }
        });
        print(QStringLiteral("longest insert beside \"%1\"").arg(command.first()), beside,
              INSERT_GOAL_MS, alone, QStringLiteral("longest alone"));
    }
}
} // namespace

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    const QTemporaryDir home;
    qputenv("HOME", QFile::encodeName(home.path()));
    QStringList arguments = QCoreApplication::arguments();
    YearStore::Options options;
    options.videoKinds = 0;
    options = YearStore::chosen(&arguments, options);
    options.cacheFolder = arguments.value(1);
    const YearStore::Facts facts = YearStore::make(home.path(), options);

    const double start = medianOf({QStringLiteral("--version")}, 0);
    const QString startName = QStringLiteral("start and end of the process");
    print(QStringLiteral("search, rare word"), medianOf({"search", facts.rareWord}, 0),
          SEARCH_GOAL_MS, start, startName);
    print(QStringLiteral("search, no hit"), medianOf({"search", facts.absentWord}, 1),
          SEARCH_GOAL_MS, start, startName);
    std::vector<double> spent;
    for (int round = 0; round < ROUNDS; ++round) {
        const double before = processorOfChildren();
        run({"search", facts.absentWord});
        spent.push_back(processorOfChildren() - before);
    }
    print(QStringLiteral("search, no hit, processor"), Bench::median(spent), 0.0, 0.0, {});
    print(QStringLiteral("search, common word, 100 hits"),
          medianOf({"search", "--limit", "100", facts.commonWord}, 0), SEARCH_GOAL_MS, start,
          startName);
    print(QStringLiteral("days"), medianOf({"days"}, 0), 0.0, start, startName);
    print(QStringLiteral("status"), medianOf({"status"}, 0), 0.0, start, startName);
    measureInserts(facts);
    return 0;
}
