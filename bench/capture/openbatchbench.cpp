// What an open batch holds in memory, and what it costs that it holds less: packing a frame, and
// making the video of packed frames against plain ones. Run on a display of 1920x1080, for the
// encoder takes its size from the screen.

#include "picturememory/packedpicture.h"
#include "picturememory/pixelpages.h"
#include "support/figure.h"
#include "support/processcost.h"
#include "support/screens.h"
#include "video/videocomposer.h"

#include <QCoreApplication>
#include <QGuiApplication>
#include <QTemporaryDir>

#include <algorithm>

namespace
{
constexpr int FRAMES = 100;
constexpr int ROUNDS = 3;
constexpr double GOAL_MIB = 64.0;
constexpr double GOAL_RATIO = 1.1;

double resident()
{
    return Bench::memoryOf(static_cast<uint>(QCoreApplication::applicationPid())).resident;
}

struct Batch {
    QVector<QImage> images;
    double mebibytes = 0.0;
    std::vector<double> milliseconds;
};

Batch batchOf(const QSize &size, const std::function<QImage(const QImage &)> &keep)
{
    Batch batch;
    batch.images.reserve(FRAMES);
    const double before = resident();
    for (int page = 0; page < FRAMES; ++page) {
        const QImage screen = Bench::screen(size, page);
        batch.milliseconds.push_back(
            Bench::cpuMilliseconds([&] { batch.images.append(keep(screen)); }));
    }
    batch.mebibytes = resident() - before;
    return batch;
}

void compareMemory(const QSize &size)
{
    const QString name = QStringLiteral("%1 of %2 frames").arg(Bench::sizeText(size)).arg(FRAMES);
    // The packed one first: what the plain one leaves behind would be counted with it.
    const Batch packed = batchOf(size, [](const QImage &image) { return packedPicture(image); });
    const Batch plain = batchOf(size, [](const QImage &image) { return image; });
    Bench::print({QStringLiteral("open batch in memory, ") + name, packed.mebibytes,
                  QStringLiteral("MiB"), GOAL_MIB, plain.mebibytes,
                  QStringLiteral("the same unpacked")});
    Bench::print({QStringLiteral("packing a frame of it, CPU"), Bench::median(packed.milliseconds),
                  QStringLiteral("ms"), 0.0, 0.0, QString()});

    const QTemporaryDir directory;
    VideoComposer composer(nullptr);
    std::vector<double> ofPacked;
    std::vector<double> ofPlain;
    for (int round = 0; round < ROUNDS; ++round) {
        const auto encode = [&](const QVector<QImage> &images) {
            return Bench::cpuMilliseconds([&] {
                composer.convertImagesToVideo(images, directory.filePath(QStringLiteral("v.mp4")));
            });
        };
        ofPlain.push_back(encode(plain.images));
        ofPacked.push_back(encode(packed.images));
    }
    const double floor = Bench::median(ofPlain);
    Bench::print({QStringLiteral("video of it, CPU"), Bench::median(ofPacked), QStringLiteral("ms"),
                  GOAL_RATIO * floor, floor, QStringLiteral("of the same unpacked")});
}
} // namespace

int main(int argumentCount, char *arguments[])
{
    const QGuiApplication application(argumentCount, arguments);
    if (!PixelPages::ofProcess()->isServed()) {
        qWarning("userfaultfd is refused here: pictures stay unpacked");
    }
    compareMemory(Bench::screenSizes().at(0));
    return 0;
}
