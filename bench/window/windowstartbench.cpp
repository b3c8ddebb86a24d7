// The program as it is: from its start to the painted window over 150,000 frames, what the open
// window adds to its memory, what it costs while nothing happens, open and hidden.
// windowstartbench [SECONDS [FOLDER]]: other spans than 60 seconds; keeps the year of history in
// FOLDER for the next run.

#include "app/configmanager.h"
#include "capture/capturefixture.h"
#include "support/figure.h"
#include "support/processcost.h"
#include "support/yearstore.h"
#include "system/recordedsession.h"
#include "window/filecache.h"
#include "window/screenwatch.h"

#include <QDir>
#include <QElapsedTimer>
#include <QGuiApplication>
#include <QScreen>
#include <QTest>

#include <csignal>

using RecordedSession::Program;

namespace
{
constexpr int warmStarts = 7;
constexpr int defaultSeconds = 60;
constexpr int startLimitMs = 30000;
constexpr double startGoalMs = 1000.0;
constexpr double memoryGoal = 150.0;
constexpr double openGoalPercent = 0.2;
constexpr double hiddenGoalPercent = 0.1;

struct Start {
    double paintedMs = 0.0;
    double pictureMs = 0.0;
    double cpuMs = 0.0; ///< of the program, until the picture
};

QString sized(const QString &name)
{
    return name + QLatin1Char(' ') + Bench::sizeText(QGuiApplication::primaryScreen()->size());
}

Start startAndWatch(Program *program)
{
    const ScreenWatch screen;
    Start start;
    QElapsedTimer clock;
    clock.start();
    program->launch();
    while (start.pictureMs == 0.0) {
        const double now = static_cast<double>(clock.nsecsElapsed()) / 1e6;
        if (now > startLimitMs) {
            qFatal("no window was painted:\n%s", qPrintable(program->log()));
        }
        if (start.paintedMs == 0.0 && screen.isPainted()) {
            start.paintedMs = now;
        }
        if (start.paintedMs > 0.0 && screen.hasPicture()) {
            start.pictureMs = now;
            start.cpuMs = Bench::cpuMillisecondsOf(program->processId());
        }
        QTest::qWait(2);
    }
    QTest::qWait(500);
    return start;
}

void end(Program *program)
{
    program->sendSignal(SIGTERM);
    if (!program->waitForEnd()) {
        qFatal("the program does not end");
    }
    QTest::qWait(200); // until the window is off the screen
}

/// All that a home has beside the history and the settings: what former starts have laid by.
void forgetFormerStarts()
{
    QDir cache(QDir::homePath() + QStringLiteral("/.cache"));
    for (const QString &name : cache.entryList(QDir::AllEntries | QDir::NoDotAndDotDot)) {
        if (name != QLatin1String("tavel-ai-yestermark")) {
            QDir(cache.filePath(name)).removeRecursively();
        }
    }
    QDir(cache.filePath(QStringLiteral("tavel-ai-yestermark/qmlcache"))).removeRecursively();
}

void printStart(const QString &name, const Start &start)
{
    const QString unit = QStringLiteral("ms");
    const QString cpu = QStringLiteral("CPU time of the program");
    Bench::print({sized(name + QStringLiteral(", painted window")), start.paintedMs, unit,
                  startGoalMs, start.cpuMs, cpu});
    Bench::print({sized(name + QStringLiteral(", with the large picture")), start.pictureMs, unit,
                  startGoalMs, start.cpuMs, cpu});
}

void measureStarts()
{
    Program program;
    startAndWatch(&program);
    const QStringList files = FileCache::mappedBy(program.processId());
    end(&program);

    forgetFormerStarts();
    FileCache::drop(files + FileCache::below(QDir::homePath()));
    printStart(QStringLiteral("first start, files out of the cache"), startAndWatch(&program));
    end(&program);

    std::vector<double> painted;
    std::vector<double> picture;
    std::vector<double> cpu;
    for (int round = 0; round < warmStarts; ++round) {
        const Start start = startAndWatch(&program);
        painted.push_back(start.paintedMs);
        picture.push_back(start.pictureMs);
        cpu.push_back(start.cpuMs);
        end(&program);
    }
    printStart(QStringLiteral("start, median"),
               {Bench::median(painted), Bench::median(picture), Bench::median(cpu)});
}

Bench::Memory memoryOfRecorder()
{
    QProcess recorder;
    recorder.start(QStringLiteral(RECORDER_ALONE), QStringList());
    recorder.waitForStarted();
    QTest::qWait(4000);
    const Bench::Memory memory = Bench::memoryOf(static_cast<uint>(recorder.processId()));
    recorder.terminate();
    if (!recorder.waitForFinished() || memory.resident == 0.0) {
        qFatal("the recorder alone did not run");
    }
    return memory;
}

void measureMemory(const Bench::Memory &recorder, uint program)
{
    const Bench::Memory whole = Bench::memoryOf(program);
    const QString unit = QStringLiteral("MiB");
    const QString floor = QStringLiteral("recorder without a window");
    const auto print = [&](const char *kind, double with, double without, double goal) {
        Bench::print(
            {sized(QStringLiteral("memory added by the open window, ") + QLatin1String(kind)),
             with - without, unit, goal, without, floor});
    };
    print("proportional", whole.proportional, recorder.proportional, memoryGoal);
    print("resident", whole.resident, recorder.resident, 0.0);
    print("anonymous", whole.anonymous, recorder.anonymous, 0.0);
}

/// Share of one core that the program and the bridge take.
double percentOfCore(uint program, int seconds)
{
    const uint bridge = RecordedSession::ownerOf(QStringLiteral("org.vesk.KWin"));
    if (bridge == 0) {
        qFatal("nobody watches the screen");
    }
    const auto cpu = [&] {
        return Bench::cpuMillisecondsOf(program) + Bench::cpuMillisecondsOf(bridge);
    };
    const double before = cpu();
    QTest::qWait(seconds * 1000);
    return (cpu() - before) / (seconds * 1000.0) * 100.0;
}

void xdotool(const QStringList &arguments)
{
    QProcess::execute(QStringLiteral("xdotool"), arguments);
}

/// By the answer that the close button leads to, as a user does.
void hideWindow(uint program)
{
    xdotool({QStringLiteral("windowactivate"), QStringLiteral("--sync"),
             RecordedSession::windowOf(program), QStringLiteral("key"), QStringLiteral("alt+F4")});
    QTest::qWait(1500);
    xdotool({QStringLiteral("key"), QStringLiteral("Return")});
    const auto isHidden = [program] { return RecordedSession::windowOf(program).isEmpty(); };
    if (!QTest::qWaitFor(isHidden, 10000)) {
        qFatal("the window does not hide");
    }
}

void recordOnce()
{
    RecordedSession::setSetting(QStringLiteral("recording-memory"), QStringLiteral("true"));
    {
        const RecordedSession::BusyTerminal terminal;
        const auto isStored = [] {
            return !CaptureFixture::filesIn(CaptureFixture::todayDirectory(), QStringLiteral("*"))
                        .isEmpty();
        };
        if (!QTest::qWaitFor(isStored, 30000)) {
            qFatal("nothing was recorded");
        }
    }
    QTest::qWait(12000); // the closed window's own change has been taken by then
}
} // namespace

int main(int argc, char **argv)
{
    const QGuiApplication application(argc, argv);
    QStringList arguments = QCoreApplication::arguments();
    YearStore::Options options = YearStore::chosen(&arguments, {});
    const int seconds = arguments.size() > 1 ? arguments.at(1).toInt() : defaultSeconds;
    options.lastDay = QDate::currentDate().addDays(-1);
    options.cacheFolder = arguments.value(2);
    YearStore::make(QDir::homePath(), options);
    RecordedSession::setSetting(QStringLiteral("enabled"), QStringLiteral("true"));
    RecordedSession::setSetting(QStringLiteral("max-storage-size-gb"), QStringLiteral("1024"));

    measureStarts();
    const Bench::Memory recorder = memoryOfRecorder();
    Program program;
    startAndWatch(&program);
    QTest::qWait(5000);
    measureMemory(recorder, program.processId());
    const auto printCpu = [seconds](const QString &name, double percent, double goal) {
        Bench::print(
            {sized(name + QStringLiteral(", program and bridge, CPU of %1 s").arg(seconds)),
             percent, QStringLiteral("% of a core"), goal, 0.0, QString()});
    };
    printCpu(QStringLiteral("window open, nothing happening"),
             percentOfCore(program.processId(), seconds), openGoalPercent);
    hideWindow(program.processId());
    recordOnce();
    printCpu(QStringLiteral("window hidden, recording, still screen"),
             percentOfCore(program.processId(), seconds), hiddenGoalPercent);
    end(&program);
    return 0;
}
