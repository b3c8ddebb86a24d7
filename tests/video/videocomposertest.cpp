#include "video/videocomposer.h"
#include "libraryfaults.h"
#include "picturememory/packedpicture.h"
#include "support/logcapture.h"
#include "support/pictures.h"
#include "support/testfiles.h"
#include "video/avhandles.h"
#include "videofacts.h"

#include <QDir>
#include <QGuiApplication>
#include <QMetaMethod>
#include <QPainter>
#include <QScreen>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QtTest>

#include <cmath>

namespace
{
/// Four differently coloured quarters, so that a crop, a shift or swapped colours show.
QImage quarters(const QSize &size)
{
    QImage image(size, QImage::Format_RGB32);
    QPainter painter(&image);
    const int x = size.width() / 2;
    const int y = size.height() / 2;
    painter.fillRect(0, 0, x, y, QColor(200, 30, 30));
    painter.fillRect(x, 0, size.width() - x, y, QColor(30, 180, 40));
    painter.fillRect(0, y, x, size.height() - y, QColor(30, 40, 200));
    painter.fillRect(x, y, size.width() - x, size.height() - y, QColor(220, 210, 60));
    return image;
}

double psnr(const QImage &left, const QImage &right)
{
    double squares = 0.0;
    for (int y = 0; y < left.height(); ++y) {
        const uchar *a = left.constScanLine(y);
        const uchar *b = right.constScanLine(y);
        for (int x = 0; x < left.width() * 4; ++x) {
            const int difference = x % 4 == 3 ? 0 : a[x] - b[x];
            squares += difference * difference;
        }
    }
    const double mean = squares / (3.0 * left.width() * left.height());
    return mean == 0.0 ? 100.0 : 10.0 * std::log10(255.0 * 255.0 / mean);
}
} // namespace

class VideoComposerTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void signalsAndSlotAreTheOnlyMetaMembers();
    void constructorSetsTheLibraryLogLevelToError();
    void libraryMessagesReachTheQtLog();
    void fileHasOneH264StreamInMp4();
    void encoderIsSetUpForOneFrameASecond();
    void eachImageHasABicubicScalerOfItsOwn();
    void nothingTellsThatImagesAreReady();
    void frameStandsAtTheSecondOfItsIndex();
    void drainedPacketsLastASecond();
    void earlierPacketsKeepTheEncodersDuration();
    void everyTenthFrameIsAKeyFrame();
    void encoderKeepsItsDefaults();
    void pictureOfEachFrameIsThatOfTheBatch();
    void packedImagesGiveTheSameFile();
    void coloursAndEdgesSurvive();
    void alphaChannelIsIgnored();
    void emptyBatchGivesAFileWithoutFramesAndRemovesTheImages();
    void nullImageTakesNoIndex();
    void imageOfAnotherSizeIsScaledToTheScreen_data();
    void imageOfAnotherSizeIsScaledToTheScreen();
    void existingFileIsReplacedWithoutAWarning_data();
    void existingFileIsReplacedWithoutAWarning();
    void imageWithPaddedRowsIsReadByItsStride();
    void onlyImagesOfThisVideoAreRemoved();
    void removeFileIsSilentAboutAMissingFile();
    void frameMadeFromAnImageFitsTheEncoder();
    void descriptorsStayTheSameOverFiftyBatches();

private:
    QString path(const QString &name) const { return m_directory->filePath(name); }
    bool convert(const QVector<QImage> &images)
    {
        VideoComposer composer(nullptr);
        return composer.convertImagesToVideo(images, path(QStringLiteral("v.mp4")));
    }
    VideoFacts facts() const { return VideoFacts::of(path(QStringLiteral("v.mp4"))); }

    std::unique_ptr<QTemporaryDir> m_directory;
};

void VideoComposerTest::init()
{
    m_directory = std::make_unique<QTemporaryDir>();
    QVERIFY(m_directory->isValid());
}

void VideoComposerTest::signalsAndSlotAreTheOnlyMetaMembers()
{
    const VideoComposer composer(nullptr); // registers the batch's type
    const QMetaObject &meta = VideoComposer::staticMetaObject;
    QList<QByteArray> signatures;
    for (int index = meta.methodOffset(); index < meta.methodCount(); ++index) {
        signatures += meta.method(index).methodSignature();
    }
    QCOMPARE(signatures, (QList<QByteArray>{"requestConvertImagesToVideo(QVector<QImage>,QString)",
                                            "imagesFromVideoReady(QVector<QImage>,QString)",
                                            "convertImagesToVideo(QVector<QImage>,QString)"}));
    QVERIFY(QMetaType::type("QVector<QImage>") != QMetaType::UnknownType);
}

void VideoComposerTest::constructorSetsTheLibraryLogLevelToError()
{
    av_log_set_level(AV_LOG_TRACE);
    const VideoComposer composer(nullptr);
    QCOMPARE(av_log_get_level(), 16);
}

void VideoComposerTest::libraryMessagesReachTheQtLog()
{
    const VideoComposer composer(nullptr);
    const QByteArray half =
        QByteArray::fromHex("0000001866747970") + QByteArray("isom\0\0\2\0isommp41", 16);
    QVERIFY(overwrite(path(QStringLiteral("half.mp4")), half));
    LogCapture log;
    VideoComposer::getFrameNumberFromVideo(path(QStringLiteral("half.mp4")));
    QVERIFY(log.contains(QtDebugMsg, QStringLiteral("moov atom not found")));
}

void VideoComposerTest::fileHasOneH264StreamInMp4()
{
    QVERIFY(convert(numberedBatch(12)));
    const VideoFacts video = facts();
    QVERIFY(video.isReadable);
    QVERIFY(video.container.split(QLatin1Char(',')).contains(QStringLiteral("mp4")));
    QCOMPARE(video.streams, 1);
    QCOMPARE(video.codec, 27);
    QCOMPARE(video.pixelFormat, static_cast<int>(AV_PIX_FMT_YUV420P));
    QCOMPARE(video.size, QGuiApplication::primaryScreen()->size());
    QCOMPARE(video.averageFrameRate, 1.0);
    QCOMPARE(video.declaredFrames, 12);
    QVERIFY(video.hasGlobalHeader);
    QCOMPARE(LibraryFaults::streamAtHeader(), QStringLiteral("time base 1/1, average rate 1/1"));
}

void VideoComposerTest::encoderIsSetUpForOneFrameASecond()
{
    QVERIFY(convert(numberedBatch(1)));
    const QSize size = QGuiApplication::primaryScreen()->size();
    QCOMPARE(LibraryFaults::encoderAtOpen(),
             QStringLiteral("%1x%2 yuv420p, time base 1/1, frame rate 1/1, group 10, global "
                            "header, tune , no options")
                 .arg(size.width())
                 .arg(size.height()));
}

void VideoComposerTest::eachImageHasABicubicScalerOfItsOwn()
{
    LibraryFaults::disarm();
    QVERIFY(convert({quarters({320, 240}), QImage(), quarters({320, 240}), quarters({64, 64})}));
    const QSize size = QGuiApplication::primaryScreen()->size();
    const QString scaling =
        QStringLiteral("%3 bgra to %1x%2 yuv420p, bicubic").arg(size.width()).arg(size.height());
    QCOMPARE(LibraryFaults::scalings(), QStringList({scaling.arg(QStringLiteral("320x240")),
                                                     scaling.arg(QStringLiteral("320x240")),
                                                     scaling.arg(QStringLiteral("64x64"))}));
}

void VideoComposerTest::nothingTellsThatImagesAreReady()
{
    VideoComposer composer(nullptr);
    const QSignalSpy ready(&composer, &VideoComposer::imagesFromVideoReady);
    QVERIFY(ready.isValid());
    const QString file = path(QStringLiteral("v.mp4"));
    Q_EMIT composer.requestConvertImagesToVideo(numberedBatch(4), file);
    QVERIFY(composer.deleteFramesToEndFromVideoFile(file, 2));
    QVERIFY(Pictures::numbered(1).save(path(QStringLiteral("w.mp4_001.png"))));
    composer.convertLocalImageFilesToVideo(m_directory->path());
    QVERIFY(QFile::exists(path(QStringLiteral("w.mp4"))));
    QCOMPARE(ready.count(), 0);
}

void VideoComposerTest::frameStandsAtTheSecondOfItsIndex()
{
    QVERIFY(convert(numberedBatch(33)));
    const VideoFacts video = facts();
    QCOMPARE(video.seconds.size(), 33);
    QCOMPARE(video.duration, 33.0);
    for (int index = 0; index < video.seconds.size(); ++index) {
        QCOMPARE(video.seconds.at(index), static_cast<double>(index));
    }
}

void VideoComposerTest::drainedPacketsLastASecond()
{
    // So few frames are all in the encoder still when the batch ends.
    LibraryFaults::disarm();
    QVERIFY(convert(numberedBatch(3)));
    QCOMPARE(LibraryFaults::packetDurations(), (QVector<double>{1.0, 1.0, 1.0}));
}

void VideoComposerTest::earlierPacketsKeepTheEncodersDuration()
{
    constexpr int frames = 80;
    LibraryFaults::disarm();
    QVERIFY(convert(numberedBatch(frames)));
    const QVector<double> given = LibraryFaults::receivedDurations();
    const QVector<double> written = LibraryFaults::packetDurations();
    QCOMPARE(given.size(), frames);
    QCOMPARE(written.size(), frames);
    QVERIFY(given.first() != 1.0); // else the two kinds could not be told apart
    QCOMPARE(written.first(), given.first());
    QCOMPARE(written.last(), 1.0);
    for (int packet = 1; packet < frames; ++packet) {
        QVERIFY(written.at(packet) == given.at(packet) || written.at(packet) == 1.0);
    }
}

void VideoComposerTest::everyTenthFrameIsAKeyFrame()
{
    // A still picture gives the encoder no other reason for a key frame.
    QVERIFY(convert(QVector<QImage>(35, Pictures::numbered(5))));
    QCOMPARE(facts().keyFrames, (QVector<int>{0, 10, 20, 30}));
}

void VideoComposerTest::encoderKeepsItsDefaults()
{
    QVERIFY(convert(numberedBatch(3)));
    const QByteArray settings = facts().firstPacket;
    if (!settings.contains("x264 - core")) {
        QSKIP("the H.264 encoder of this machine says nothing about its settings");
    }
    for (const char *setting : {"rc=crf", "crf=23.0", "bframes=3", "subme=7", "me=hex", "ref=3",
                                "keyint=10 ", "cabac=1", "8x8dct=1"}) {
        QVERIFY2(settings.contains(setting), setting);
    }
}

void VideoComposerTest::pictureOfEachFrameIsThatOfTheBatch()
{
    QVERIFY(convert(numberedBatch(100)));
    QCOMPARE(facts().numbers(), numbersUpTo(100));
}

void VideoComposerTest::packedImagesGiveTheSameFile()
{
    const QVector<QImage> images = numberedBatch(12);
    QVector<QImage> packed;
    for (const QImage &image : images) {
        packed += packedPicture(image);
    }
    const QTemporaryDir directory;
    QVector<QByteArray> files;
    for (const QVector<QImage> &batch : {images, packed}) {
        const QString video = directory.filePath(QStringLiteral("video.mp4"));
        QVERIFY(VideoComposer(nullptr).convertImagesToVideo(batch, video));
        QFile file(video);
        QVERIFY(file.open(QIODevice::ReadOnly));
        files += file.readAll();
    }
    QVERIFY(files.at(0).size() > 1000);
    QVERIFY(files.at(0) == files.at(1));
}

void VideoComposerTest::coloursAndEdgesSurvive()
{
    const QSize size = QGuiApplication::primaryScreen()->size();
    const QVector<QImage> batch{quarters(size), Pictures::numbered(1, size).mirrored()};
    QVERIFY(convert(batch));
    const VideoFacts video = facts();
    QCOMPARE(video.pictures.size(), 2);
    QVERIFY2(psnr(video.pictures.at(0), batch.at(0)) > 38.0,
             qPrintable(QString::number(psnr(video.pictures.at(0), batch.at(0)))));
    // Saturated shapes of a few pixels lose half of their colour samples.
    QVERIFY2(psnr(video.pictures.at(1), batch.at(1)) > 25.0,
             qPrintable(QString::number(psnr(video.pictures.at(1), batch.at(1)))));
}

void VideoComposerTest::alphaChannelIsIgnored()
{
    QImage image = quarters(QGuiApplication::primaryScreen()->size());
    QImage transparent = image.convertToFormat(QImage::Format_ARGB32);
    for (int y = 0; y < transparent.height(); ++y) {
        auto *line = reinterpret_cast<QRgb *>(transparent.scanLine(y));
        for (int x = 0; x < transparent.width(); ++x) {
            line[x] &= 0x00ffffff;
        }
    }
    QVERIFY(convert({transparent}));
    QVERIFY(psnr(facts().pictures.value(0), image) > 38.0);
}

void VideoComposerTest::emptyBatchGivesAFileWithoutFramesAndRemovesTheImages()
{
    QVERIFY(overwrite(path(QStringLiteral("v.mp4_001.png")), {}));
    QVERIFY(convert({}));
    const VideoFacts video = facts();
    QVERIFY(video.isReadable);
    QCOMPARE(video.declaredFrames, 0);
    QVERIFY(video.seconds.isEmpty());
    QVERIFY(!QFile::exists(path(QStringLiteral("v.mp4_001.png"))));
}

void VideoComposerTest::nullImageTakesNoIndex()
{
    const QVector<QImage> batch{QImage(), Pictures::numbered(2), Pictures::numbered(3), QImage(),
                                Pictures::numbered(5)};
    QVERIFY(convert(batch));
    const VideoFacts video = facts();
    QCOMPARE(video.declaredFrames, 3);
    QCOMPARE(video.seconds, (QVector<double>{0.0, 1.0, 2.0}));
    QCOMPARE(video.numbers(), (QVector<int>{2, 3, 5}));
}

void VideoComposerTest::imageOfAnotherSizeIsScaledToTheScreen_data()
{
    QTest::addColumn<QSize>("size");
    QTest::newRow("smaller") << QSize(320, 240);
    QTest::newRow("larger") << QSize(1920, 1080);
    QTest::newRow("odd") << QSize(801, 799);
    QTest::newRow("narrow") << QSize(33, 1200);
    QTest::newRow("one pixel") << QSize(1, 1);
}

void VideoComposerTest::imageOfAnotherSizeIsScaledToTheScreen()
{
    QFETCH(QSize, size);
    QVERIFY(convert({quarters(size)}));
    const QImage picture = facts().pictures.value(0);
    const QSize screen = QGuiApplication::primaryScreen()->size();
    QCOMPARE(picture.size(), screen);
    // All four quarters are there: nothing was cropped or left empty.
    if (size.width() > 1) {
        QVERIFY(psnr(picture, quarters(screen)) > 20.0);
        QVERIFY(qRed(picture.pixel(2, 2)) > 150);
        QVERIFY(qGreen(picture.pixel(screen.width() - 3, 2)) > 130);
        QVERIFY(qBlue(picture.pixel(2, screen.height() - 3)) > 150);
    }
}

void VideoComposerTest::existingFileIsReplacedWithoutAWarning_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::newRow("empty") << QByteArray();
    QTest::newRow("longer junk") << QByteArray(3'000'000, 'j');
}

void VideoComposerTest::existingFileIsReplacedWithoutAWarning()
{
    QFETCH(QByteArray, content);
    QVERIFY(overwrite(path(QStringLiteral("v.mp4")), content));
    LogCapture log;
    QVERIFY(convert(numberedBatch(4)));
    QCOMPARE(log.texts(), QStringList());
    QVERIFY(QFileInfo(path(QStringLiteral("v.mp4"))).size() < 2'000'000);
    QCOMPARE(facts().numbers(), numbersUpTo(4));

    QVERIFY(convert({Pictures::numbered(9)}));
    QCOMPARE(facts().numbers(), QVector<int>{9});
}

void VideoComposerTest::imageWithPaddedRowsIsReadByItsStride()
{
    // A picture inside a wider buffer, as the compositor may hand it over.
    const QImage whole = Pictures::numbered(77, QSize(320, 240));
    const QImage wide(whole.constBits(), 300, 240, whole.bytesPerLine(), QImage::Format_RGB32);
    QVERIFY(wide.bytesPerLine() > wide.width() * 4);
    QVERIFY(convert({wide}));
    const QImage expected = wide.copy().scaled(QGuiApplication::primaryScreen()->size(),
                                               Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
    QVERIFY(psnr(facts().pictures.value(0), expected) > 20.0);
}

void VideoComposerTest::onlyImagesOfThisVideoAreRemoved()
{
    const QStringList gone{QStringLiteral("v.mp4_001.png"), QStringLiteral("v.mp4_100.png"),
                           QStringLiteral("v.mp4.png"), QStringLiteral("v.mp4 copy.png")};
    const QStringList kept{QStringLiteral("v.mp4_001.PNG"),   QStringLiteral("V.mp4_001.png"),
                           QStringLiteral("v.MP4_001.png"),   QStringLiteral("av.mp4_001.png"),
                           QStringLiteral("v.mp4_001.png.x"), QStringLiteral("v.mp4_001.jpg"),
                           QStringLiteral("w.mp4_001.png"),   QStringLiteral("v.mp4.bak"),
                           QStringLiteral("v_001.png")};
    for (const QString &name : gone + kept) {
        QVERIFY(overwrite(path(name), {}));
    }
    QVERIFY(QDir(m_directory->path()).mkdir(QStringLiteral("v.mp4_002.png")));
    QVERIFY(convert(numberedBatch(1)));
    for (const QString &name : gone) {
        QVERIFY2(!QFile::exists(path(name)), qPrintable(name));
    }
    for (const QString &name : kept) {
        QVERIFY2(QFile::exists(path(name)), qPrintable(name));
    }
    QVERIFY(QFileInfo(path(QStringLiteral("v.mp4_002.png"))).isDir());
    QVERIFY(QFile::exists(path(QStringLiteral("v.mp4"))));
}

void VideoComposerTest::removeFileIsSilentAboutAMissingFile()
{
    VideoComposer composer(nullptr);
    QVERIFY(overwrite(path(QStringLiteral("one")), {}));
    LogCapture log;
    composer.removeFile(path(QStringLiteral("one")));
    QVERIFY(!QFile::exists(path(QStringLiteral("one"))));
    composer.removeFile(path(QStringLiteral("one")));
    QCOMPARE(log.texts(), QStringList());
}

void VideoComposerTest::frameMadeFromAnImageFitsTheEncoder()
{
    const AvCodecContextPtr encoder(avcodec_alloc_context3(avcodec_find_encoder(AV_CODEC_ID_H264)));
    encoder->width = 642;
    encoder->height = 480;
    encoder->pix_fmt = AV_PIX_FMT_YUV420P;
    VideoComposer composer(nullptr);
    const AvFramePtr frame(composer.createFrameFromQImage(Pictures::numbered(1), encoder.get()));
    QVERIFY(frame);
    QCOMPARE(frame->width, 642);
    QCOMPARE(frame->height, 480);
    QCOMPARE(frame->format, static_cast<int>(AV_PIX_FMT_YUV420P));
}

void VideoComposerTest::descriptorsStayTheSameOverFiftyBatches()
{
    QVERIFY(convert(numberedBatch(2)));
    const int before = openDescriptors();
    for (int batch = 0; batch < 50; ++batch) {
        QVERIFY(convert(numberedBatch(2)));
    }
    QCOMPARE(openDescriptors(), before);
}

QTEST_MAIN(VideoComposerTest)
#include "videocomposertest.moc"
