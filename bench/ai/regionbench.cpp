// What the user waits for after dragging a rectangle: from the cut-out to its lines, through the
// session with the installed runtime and its engines. Every region is new to the engines at first,
// and is then asked for again. The engines run at the lowest priority, so that on a busy machine
// the times are those of the others; beside them stands the CPU time of the runtime.

#include "ai/ocrmodule.h"
#include "coreai/aisubsystem.h"
#include "coreai/client/runtimelink.h"
#include "coreai/client/runtimeprogram.h"
#include "reading/textpages.h"
#include "runtime/processfigures.h"
#include "support/figure.h"

#include <QGuiApplication>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <thread>

namespace
{
constexpr double NEW_GOAL_MS = 700.0;
constexpr double KNOWN_GOAL_MS = 100.0;
const QSize SCREEN(1920, 1080);
const QSize REGION(800, 200);
// Lines of code of which neighbouring regions share none.
constexpr int LINES_APART = 60;

using Pictures = std::vector<QImage>;

/// Parts of editors, light and dark, each with other code.
Pictures codeRegions()
{
    Pictures regions;
    for (int page = 0; page < 20; ++page) {
        const TextPages::Page editor =
            TextPages::editor(SCREEN, page % 2 == 1, 100 + page * LINES_APART);
        regions.push_back(editor.picture.copy(QRect(QPoint(300, 300), REGION)));
    }
    return regions;
}

/// Parts of a page that share nothing: below and beside each other.
Pictures regionsOf(const QImage &page)
{
    Pictures regions;
    for (int left = 100; left + REGION.width() <= SCREEN.width(); left += REGION.width()) {
        for (int top = 40; top + REGION.height() <= SCREEN.height(); top += REGION.height()) {
            regions.push_back(page.copy(QRect(QPoint(left, top), REGION)));
        }
    }
    return regions;
}

double percentile(std::vector<double> values, double share)
{
    std::sort(values.begin(), values.end());
    return values.at(
        static_cast<size_t>(std::ceil(share * static_cast<double>(values.size())) - 1.0));
}

bool isRefused = false; // main thread

void noteRefusal(QtMsgType /*level*/, const QMessageLogContext & /*context*/, const QString &text)
{
    isRefused = isRefused || text.contains(QLatin1String("session is not initialized"));
}

/// Waits for the session; false if it does not come up within 20 seconds.
bool waitUntilReady(OcrModule *module)
{
    qInstallMessageHandler(&noteRefusal);
    for (int round = 0; round < 2000; ++round) {
        isRefused = false;
        module->getOCRTextDataSync(OCRTask());
        if (!isRefused) {
            return true;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return false;
}

/// Vectors of new lines are computed after the answer; a person takes longer than that to the next
/// rectangle. Gives the CPU time by then.
double settledCpu(pid_t process)
{
    double before = -1.0;
    double now = ProcessFigures::cpuMilliseconds(process);
    while (now - before > 0.5) {
        std::this_thread::sleep_for(std::chrono::milliseconds(150));
        before = now;
        now = ProcessFigures::cpuMilliseconds(process);
    }
    return now;
}

struct Run {
    std::vector<double> wall;
    std::vector<double> cpu;
    int lines = 0;
};

Run read(OcrModule *module, const Pictures &pictures)
{
    Run run;
    const pid_t process = coreai::RuntimeLink::shared()->processId();
    for (const QImage &picture : pictures) {
        OCRTask task;
        task.image = picture;
        const double before = settledCpu(process);
        run.wall.push_back(
            Bench::milliseconds([&] { run.lines += module->getOCRTextDataSync(task).size(); }));
        run.cpu.push_back(ProcessFigures::cpuMilliseconds(process) - before);
    }
    return run;
}

void print(const QString &name, const Run &run, double goal)
{
    const auto pictures = static_cast<int>(run.wall.size());
    std::printf("  %d lines in %d pictures\n", run.lines, pictures);
    const QString cpu = QStringLiteral("CPU of the runtime");
    Bench::print({name + QStringLiteral(", median"), Bench::median(run.wall), QStringLiteral("ms"),
                  0, Bench::median(run.cpu), cpu});
    if (pictures > 1) {
        Bench::print({name + QStringLiteral(", p95"), percentile(run.wall, 0.95),
                      QStringLiteral("ms"), goal, percentile(run.cpu, 0.95), cpu});
    }
}

void measureRegions(OcrModule *module, const QString &name, const Pictures &regions)
{
    print(QStringLiteral("region 800x200 of ") + name, read(module, regions), NEW_GOAL_MS);
    print(QStringLiteral("region 800x200 of %1, read before").arg(name), read(module, regions),
          KNOWN_GOAL_MS);
}

void measure(OcrModule *module)
{
    const QImage first = TextPages::editor(SCREEN, false, 9000).picture;
    print(QStringLiteral("region 800x200 of code, engines not up"),
          read(module, {first.copy(QRect(QPoint(300, 300), REGION))}), 0);
    measureRegions(module, QStringLiteral("code"), codeRegions());
    measureRegions(module, QStringLiteral("prose"),
                   regionsOf(TextPages::document(SCREEN, 16).picture));
    measureRegions(module, QStringLiteral("messages"), regionsOf(TextPages::chat(SCREEN).picture));
    measureRegions(module, QStringLiteral("small print"),
                   regionsOf(TextPages::document(SCREEN, 10).picture));
    measureRegions(module, QStringLiteral("cells"), regionsOf(TextPages::table(SCREEN).picture));
    const Pictures pages{TextPages::editor(SCREEN, false, 5000).picture,
                         TextPages::editor(SCREEN, true, 6000).picture};
    print(QStringLiteral("page 1920x1080"), read(module, pages), 0);
    print(QStringLiteral("page 1920x1080, read before"), read(module, pages), 0);
}
} // namespace

int main(int argc, char **argv)
{
    const QGuiApplication application(argc, argv);
    QCoreApplication::addLibraryPath(QCoreApplication::applicationDirPath() +
                                     QLatin1String("/../" YESTERMARK_PLUGINDIR));
    if (!is_ai_subsystem_inited()) {
        std::printf("no models are installed: nothing is measured\n");
        return 0;
    }
    coreai::setRuntimeProgram({RUNTIME_PROGRAM});
    OcrModule module;
    if (!waitUntilReady(&module)) {
        std::fprintf(stderr, "the runtime does not start\n");
        return 1;
    }
    measure(&module);
    return 0;
}
