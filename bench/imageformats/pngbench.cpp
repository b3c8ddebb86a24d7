// What a safety copy costs: QImage::save as the recorder calls it, with Qt's own writer and with
// the plug-in, in time and in bytes. An argument names a folder of PNG pictures to take the
// figures of as well.

#include "support/figure.h"
#include "support/screens.h"

#include <QDir>
#include <QFileInfo>
#include <QGuiApplication>
#include <QImage>
#include <QTemporaryDir>

#include <isa-l/igzip_lib.h>

#include <algorithm>
#include <cstdio>
#include <memory>

namespace
{
constexpr int rounds = 15;
constexpr int pages = 4;
constexpr double goalMilliseconds = 15.0;
constexpr double goalRatio = 1.2;

struct Saving {
    double milliseconds = 0.0; ///< median over all rounds of all pictures
    std::vector<double> bytes; ///< of each picture
};

Saving save(const std::vector<QImage> &images, const QString &path)
{
    Saving saving;
    std::vector<double> times;
    for (const QImage &image : images) {
        image.save(path);
        for (int round = 0; round < rounds; ++round) {
            times.push_back(Bench::milliseconds([&] { image.save(path); }));
        }
        saving.bytes.push_back(static_cast<double>(QFileInfo(path).size()));
    }
    saving.milliseconds = Bench::median(times);
    return saving;
}

/// The least that makes a PNG's data of the pixels: igzip's fastest level over the plain rows, into
/// memory, with neither filter nor file.
double floorMilliseconds(const std::vector<QImage> &images)
{
    std::vector<double> times;
    std::vector<uchar> out;
    const auto stream = std::make_unique<isal_zstream>();
    for (const QImage &image : images) {
        const QImage rgb = image.convertToFormat(QImage::Format_RGB888);
        out.resize(static_cast<size_t>(rgb.sizeInBytes()) * 2);
        times.push_back(Bench::medianMilliseconds(rounds, [&] {
            isal_deflate_init(stream.get());
            stream->gzip_flag = IGZIP_ZLIB;
            stream->end_of_stream = 1;
            stream->next_in = const_cast<uchar *>(rgb.constBits());
            stream->avail_in = static_cast<uint32_t>(rgb.sizeInBytes());
            stream->next_out = out.data();
            stream->avail_out = static_cast<uint32_t>(out.size());
            isal_deflate(stream.get());
        }));
    }
    return Bench::median(times);
}

struct Pictures {
    QString name;
    std::vector<QImage> images;
    bool withGoals = false;
    Saving byQt = {};
};

std::vector<Pictures> allPictures(const QString &folder)
{
    std::vector<Pictures> all;
    for (const QSize &size : Bench::screenSizes()) {
        Pictures pictures{Bench::sizeText(size), {}, size == Bench::screenSizes().front()};
        for (int page = 0; page < pages; ++page) {
            pictures.images.push_back(Bench::screen(size, page));
        }
        all.push_back(pictures);
    }
    const QDir dir(folder);
    const QStringList names =
        folder.isEmpty() ? QStringList() : dir.entryList({QStringLiteral("*.png")}, QDir::Files);
    for (const QString &name : names) {
        const QImage image(dir.filePath(name));
        all.push_back({name, {image.convertToFormat(QImage::Format_RGB32)}, true});
    }
    return all;
}

double largestRatio(const Saving &ours, const Saving &qts)
{
    double largest = 0.0;
    for (size_t i = 0; i < ours.bytes.size(); ++i) {
        largest = std::max(largest, ours.bytes[i] / qts.bytes[i]);
    }
    return largest;
}
} // namespace

int main(int argc, char **argv)
{
    const QGuiApplication application(argc, argv);
    QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("video.mp4_001.png"));
    std::vector<Pictures> all = allPictures(argc > 1 ? QString::fromLocal8Bit(argv[1]) : QString());
    for (Pictures &pictures : all) {
        pictures.byQt = save(pictures.images, path);
    }
    const QDir here(QCoreApplication::applicationDirPath());
    QCoreApplication::addLibraryPath(
        QDir::cleanPath(here.filePath(QStringLiteral(YESTERMARK_PLUGIN_FOLDER))));
    for (const Pictures &pictures : all) {
        const Saving ours = save(pictures.images, path);
        if (ours.bytes == pictures.byQt.bytes) {
            std::fprintf(stderr, "pngbench: the plug-in was not used\n");
            return 1;
        }
        Bench::print({QStringLiteral("safety copy %1").arg(pictures.name), ours.milliseconds,
                      QStringLiteral("ms"), pictures.withGoals ? goalMilliseconds : 0.0,
                      floorMilliseconds(pictures.images),
                      QStringLiteral("igzip level 0 in memory")});
        Bench::print({QStringLiteral("safety copy %1 by Qt's own writer").arg(pictures.name),
                      pictures.byQt.milliseconds, QStringLiteral("ms"), 0.0, 0.0, QString()});
        Bench::print({QStringLiteral("safety copy %1 file size ratio to Qt's").arg(pictures.name),
                      largestRatio(ours, pictures.byQt), QStringLiteral("ratio"),
                      pictures.withGoals ? goalRatio : 0.0, 0.0, QString()});
    }
    return 0;
}
