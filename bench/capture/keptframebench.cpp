// How long one kept frame holds up the main thread: picture through the pipe, similarity gate,
// application in front, safety copy, row, hand-over to the AI runtime. That one answers at once
// here: what its embedding takes comes on top. Every frame shows another page, so every frame is
// kept. The floor is the similarity gate alone, whose algorithm is fixed.

#include "ai/imageutils.h"
#include "capture/capturefixture.h"
#include "capture/screenhistorytracker.h"
#include "desktopbridge/fake/fakedesktop.h"
#include "support/figure.h"
#include "support/screens.h"

#include <QCoreApplication>
#include <QGuiApplication>

#include <cstdio>

namespace
{
constexpr double goalMs = 120.0;

void measure(const QSize &size, int frames, double goal)
{
    FakeDesktop desktop;
    const CaptureFixture::Application application(CaptureFixture::Application::FileManager);
    desktop.setActivePid(application.pid());
    CaptureFixture::eraseEverything();
    ScreenHistoryTracker tracker;
    desktop.setImage(Bench::screen(size, 0));
    tracker.processScreenShot();
    std::vector<double> spent;
    std::vector<double> gate;
    QImage last = Bench::screen(size, 0);
    for (int frame = 1; frame <= frames; ++frame) {
        const QImage next = Bench::screen(size, frame);
        desktop.setImage(next);
        spent.push_back(Bench::milliseconds([&tracker] { tracker.processScreenShot(); }));
        gate.push_back(Bench::milliseconds([&last, &next] { calculateSimilar(last, next); }));
        last = next;
    }
    const int kept = CaptureFixture::storedRows().size();
    if (kept != frames + 1) {
        std::fprintf(stderr, "only %d of %d frames were kept\n", kept, frames + 1);
        std::exit(1);
    }
    Bench::print({QStringLiteral("main thread per kept frame %1").arg(Bench::sizeText(size)),
                  Bench::median(spent), QStringLiteral("ms"), goal, Bench::median(gate),
                  QStringLiteral("similarity gate alone")});
}
} // namespace

int main(int argc, char **argv)
{
    QGuiApplication application(argc, argv);
    QCoreApplication::addLibraryPath(QCoreApplication::applicationDirPath() +
                                     QLatin1String("/../" YESTERMARK_PLUGINDIR));
    measure(Bench::screenSizes().at(0), 15, goalMs);
    measure(Bench::screenSizes().at(1), 7, 0.0);
    return 0;
}
