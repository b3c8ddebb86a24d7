// A screen that comes as a PipeWire stream, from a real daemon: what the bridge does for one
// picture, and what a still stream costs it. The producer stands in this process too and is as
// still, so its rest is counted as well.

#include "desktopbridge/pipewire/pipewirestream.h"
#include "pipewire/pipewiredaemon.h"
#include "pipewire/videosource.h"
#include "support/figure.h"
#include "support/screens.h"

#include <QEventLoop>
#include <QGuiApplication>
#include <QTest>
#include <QTimer>

#include <cstring>
#include <spa/param/video/raw.h>

namespace
{
constexpr int ROUNDS = 101;
constexpr int STILL_MS = 20000;
constexpr double PICTURE_GOAL_MS = 8.0; // of X11's whole picture, told for 1920x1080

bool becomesLive(VideoSource &source, const PipeWireStream &stream, const QImage &page)
{
    return QTest::qWaitFor(
        [&] {
            source.send(page);
            return stream.isLive();
        },
        20000);
}

void printPicture(const PipeWireStream &stream, const QString &format)
{
    const QRect whole(QPoint(), stream.size());
    QImage image(whole.size(), QImage::Format_RGB32);
    const QImage source = Bench::screen(whole.size(), 1);
    auto *pixels = reinterpret_cast<quint32 *>(image.bits());
    Bench::Figure figure;
    figure.name = QStringLiteral("one picture out of a PipeWire stream, %1, %2")
                      .arg(format, Bench::sizeText(whole.size()));
    figure.value =
        Bench::medianMilliseconds(ROUNDS, [&] { stream.copy(whole, pixels, whole.width()); });
    figure.unit = QStringLiteral("ms");
    figure.goal = whole.size() == Bench::screenSizes().front() ? PICTURE_GOAL_MS : 0.0;
    figure.floor = Bench::medianMilliseconds(ROUNDS, [&] {
        std::memcpy(image.bits(), source.constBits(), size_t(image.sizeInBytes()));
    });
    figure.floorName = QStringLiteral("the same bytes copied");
    Bench::print(figure);
}

void printStill(const QSize &size)
{
    QTest::qWait(1000); // what is still under way
    const double cpu = Bench::cpuMilliseconds([] {
        QEventLoop loop; // QTest::qWait() would wake up a hundred times a second
        QTimer::singleShot(STILL_MS, &loop, &QEventLoop::quit);
        loop.exec();
    });
    Bench::print({QStringLiteral("still PipeWire stream, CPU of %1 s, %2")
                      .arg(STILL_MS / 1000)
                      .arg(Bench::sizeText(size)),
                  cpu, QStringLiteral("ms"), 0.0, 0.0, QString()});
}
} // namespace

int main(int argc, char **argv)
{
    const QGuiApplication application(argc, argv);
    PipeWireDaemon daemon;
    QString problem = PipeWireDaemon::missing();
    if (!problem.isEmpty() || !daemon.start()) {
        qCritical("skipped: %s", qPrintable(problem));
        return 77;
    }
    for (const QSize &size : Bench::screenSizes()) {
        const QImage page = Bench::screen(size, 1);
        for (const quint32 format : {SPA_VIDEO_FORMAT_BGRx, SPA_VIDEO_FORMAT_RGBx}) {
            const auto producers = PipeWireRemote::connectTo(daemon.connection(), problem);
            const auto remote = PipeWireRemote::connectTo(daemon.connection(), problem);
            VideoSource source(*producers, size, format);
            const PipeWireStream stream(*remote, source.node());
            if (!becomesLive(source, stream, page)) {
                qCritical("no picture comes");
                return 1;
            }
            const bool isOurs = format == SPA_VIDEO_FORMAT_BGRx;
            printPicture(stream, isOurs ? QStringLiteral("BGRx") : QStringLiteral("RGBx"));
            if (isOurs && size == Bench::screenSizes().front()) {
                printStill(size);
            }
        }
    }
    return 0;
}
