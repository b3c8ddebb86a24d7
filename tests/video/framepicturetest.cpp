// The picture that a request gives: the frame that an index means, its rows and columns, and the
// pixel format that it came through.

#include "extractorfixture.h"
#include "libraryfaults.h"
#include "plainreader.h"
#include "productionline.h"
#include "samplevideos.h"
#include "support/logcapture.h"
#include "support/pictures.h"
#include "video/frameextractor.h"
#include "video/nv12frame.h"

#include <QtTest>

#include <algorithm>

using namespace ExtractorWorld;

class FramePictureTest : public ExtractorFixture
{
    Q_OBJECT

private Q_SLOTS:
    void indexZeroIsTheFirstFrame();
    void lastFramesComeAtTheEndOneRowTaller();
    void rowTooManyIsBlack_data();
    void rowTooManyIsBlack();
    void everyColumnIsFilled_data();
    void everyColumnIsFilled();
    void indexBeyondTheEndIsNull_data();
    void indexBeyondTheEndIsNull();
    void negativeIndexIsTheFirstFrame();
    void productOfTheIndexWrapsAroundAt32Bits();
    void pictureOutlivesTheExtractorAndLaterRequests();

    void scalerIsMadeForTheLinesFormatOnce_data();
    void scalerIsMadeForTheLinesFormatOnce();
    void productionLineIsReadOnceInTheConstructor();
    void productionLineChoosesTheFormat_data();
    void productionLineChoosesTheFormat();
    void wovenFrameHoldsTheSameValues();
};

void FramePictureTest::indexZeroIsTheFirstFrame()
{
    FrameExtractor extractor(nullptr);
    extractor.setAbsoluteVideoName(m_full);
    const QImage picture = extractor.requestGetFrame(0);
    QCOMPARE(Pictures::numberOf(picture), 1);
    QCOMPARE(picture.format(), QImage::Format_RGB32);
}

/// The encoder's B-frames make the decoder hold the last frames back until it is drained; what the
/// caller asked for before must not show.
void FramePictureTest::lastFramesComeAtTheEndOneRowTaller()
{
    FrameExtractor extractor(nullptr);
    extractor.setAbsoluteVideoName(m_full);
    const int height = extractor.requestGetFrame(0).height();
    int firstTaller = BATCH;
    PlainReader reader(m_full);
    for (int index = 0; index < BATCH; ++index) {
        const bool isTaller = reader.read(index).place == PlainReader::Place::AtEnd;
        firstTaller = isTaller ? std::min(firstTaller, index) : firstTaller;
        for (int again = 0; again < 2; ++again) {
            QCOMPARE(extractor.requestGetFrame(index).height(), height + (isTaller ? 1 : 0));
        }
    }
    QVERIFY(firstTaller < BATCH);
    QVERIFY(firstTaller > BATCH - 10);
    for (int index = BATCH - 1; index >= 0; --index) {
        QCOMPARE(extractor.requestGetFrame(index).height(),
                 height + (index >= firstTaller ? 1 : 0));
    }
}

void FramePictureTest::rowTooManyIsBlack_data()
{
    QTest::addColumn<int>("width");
    for (const int width : {320, 326, 328}) {
        QTest::addRow("%d", width) << width;
    }
}

/// Also where the library's scaler writes beyond the last row.
void FramePictureTest::rowTooManyIsBlack()
{
    QFETCH(int, width);
    const QString file = path(QStringLiteral("tall%1.mp4").arg(width));
    SampleVideo video;
    video.bFrames = 2;
    video.size = {width, 180};
    QVERIFY(video.write(file));
    FrameExtractor extractor(nullptr);
    extractor.setAbsoluteVideoName(file);
    const QImage picture = extractor.requestGetFrame(video.frames - 1);
    QCOMPARE(picture.size(), QSize(width, 181));
    for (int column = 0; column < picture.width(); ++column) {
        QCOMPARE(picture.pixel(column, picture.height() - 1), qRgb(0, 0, 0));
    }
}

void FramePictureTest::everyColumnIsFilled_data()
{
    QTest::addColumn<int>("width");
    QTest::addColumn<int>("codec");
    for (const int width : {320, 322, 324, 326, 328}) {
        QTest::addRow("%d", width) << width << 0;
    }
    // Other recorders' codecs, which take any width.
    for (const int width : {5, 18, 321, 323, 326}) {
        QTest::addRow("%d, MPEG-4", width) << width << int(AV_CODEC_ID_MPEG4);
        QTest::addRow("%d, Motion JPEG", width) << width << int(AV_CODEC_ID_MJPEG);
    }
}

/// The library's scaler leaves out the last columns of widths such as 1366.
void FramePictureTest::everyColumnIsFilled()
{
    QFETCH(int, width);
    QFETCH(int, codec);
    const QString file = path(QStringLiteral("wide%1.mp4").arg(width));
    SampleVideo video;
    video.frames = 3;
    video.size = {width, 180};
    video.codec = codec;
    QVERIFY(video.write(file));
    FrameExtractor extractor(nullptr);
    extractor.setAbsoluteVideoName(file);
    const QImage drawn = likePicture(2, video.size);
    const QImage picture = extractor.requestGetFrame(1);
    for (int column = std::max(0, width - 12); column < width; ++column) {
        int difference = 0;
        for (int row = 0; row < video.size.height(); ++row) {
            difference +=
                std::abs(qGray(picture.pixel(column, row)) - qGray(drawn.pixel(column, row)));
        }
        QVERIFY2(difference / video.size.height() < 24, qPrintable(QString::number(column)));
    }
}

void FramePictureTest::indexBeyondTheEndIsNull_data()
{
    QTest::addColumn<int>("index");
    QTest::newRow("just beyond") << BATCH;
    QTest::newRow("far beyond") << 2000;
    QTest::newRow("last index that doesn't wrap around") << 2147;
}

void FramePictureTest::indexBeyondTheEndIsNull()
{
    QFETCH(int, index);
    FrameExtractor extractor(nullptr);
    extractor.setAbsoluteVideoName(m_full);
    LogCapture log;
    QVERIFY(extractor.requestGetFrame(index).isNull());
    QVERIFY(extractor.requestGetFrame(index).isNull());
    QCOMPARE(log.texts(), QStringList());
    QCOMPARE(Pictures::numberOf(extractor.requestGetFrame(BATCH - 1)), BATCH);
}

void FramePictureTest::negativeIndexIsTheFirstFrame()
{
    FrameExtractor extractor(nullptr);
    extractor.setAbsoluteVideoName(m_full);
    QCOMPARE(Pictures::numberOf(extractor.requestGetFrame(-1)), 1);
}

void FramePictureTest::productOfTheIndexWrapsAroundAt32Bits()
{
    FrameExtractor extractor(nullptr);
    extractor.setAbsoluteVideoName(m_full);
    // 2148 million lies beyond 32 bits and becomes a time before the first frame.
    QCOMPARE(Pictures::numberOf(extractor.requestGetFrame(2148)), 1);
    // 4295 million becomes 32,704, a little behind the first frame.
    QCOMPARE(Pictures::numberOf(extractor.requestGetFrame(4295)), 2);
}

void FramePictureTest::pictureOutlivesTheExtractorAndLaterRequests()
{
    QImage first;
    QImage last;
    {
        FrameExtractor extractor(nullptr);
        extractor.setAbsoluteVideoName(m_full);
        first = extractor.requestGetFrame(3);
        last = extractor.requestGetFrame(BATCH - 1);
        extractor.requestGetFrame(4);
        first.fill(Qt::red); // the caller's own: the extractor's next answer knows nothing of it
        QCOMPARE(Pictures::numberOf(extractor.requestGetFrame(3)), 4);
    }
    QCOMPARE(first.pixel(5, 5), qRgb(255, 0, 0));
    QCOMPARE(Pictures::numberOf(last), BATCH);
}

void FramePictureTest::scalerIsMadeForTheLinesFormatOnce_data()
{
    QTest::addColumn<QByteArray>("line");
    QTest::addColumn<QString>("scaling");
    QTest::newRow("Wayland") << QByteArray("Wayland") << "320x240 nv12 to 320x240 bgra, bicubic";
    QTest::newRow("another") << QByteArray("X11") << "320x240 yuv420p to 320x240 bgra, bicubic";
}

void FramePictureTest::scalerIsMadeForTheLinesFormatOnce()
{
    QFETCH(QByteArray, line);
    QFETCH(QString, scaling);
    ProductionLine::set(line.constData());
    FrameExtractor extractor(nullptr);
    LibraryFaults::disarm();
    extractor.setAbsoluteVideoName(m_full);
    for (const int index : {0, 55, 54, BATCH - 1}) {
        QVERIFY(!extractor.requestGetFrame(index).isNull());
    }
    QCOMPARE(LibraryFaults::scalings(), QStringList(scaling));
}

void FramePictureTest::productionLineIsReadOnceInTheConstructor()
{
    ProductionLine::set("Wayland");
    FrameExtractor extractor(nullptr);
    ProductionLine::set("X11");
    LibraryFaults::disarm();
    extractor.setAbsoluteVideoName(m_full);
    QVERIFY(LibraryFaults::scalings().value(0).startsWith(QLatin1String("320x240 nv12 ")));
}

void FramePictureTest::productionLineChoosesTheFormat_data()
{
    QTest::addColumn<QByteArray>("line");
    QTest::addColumn<bool>("isWoven");
    QTest::newRow("Wayland") << QByteArray("Wayland") << true;
    QTest::newRow("other case") << QByteArray("wayland") << false;
    QTest::newRow("with a blank") << QByteArray("Wayland ") << false;
    QTest::newRow("another") << QByteArray("X11") << false;
    QTest::newRow("empty") << QByteArray("") << false;
    QTest::newRow("not known") << QByteArray() << false;
}

void FramePictureTest::productionLineChoosesTheFormat()
{
    QFETCH(QByteArray, line);
    QFETCH(bool, isWoven);
    ProductionLine::set(line.isNull() ? nullptr : line.constData());
    FrameExtractor extractor(nullptr);
    extractor.setAbsoluteVideoName(m_full);
    const QImage plain = PlainReader(m_full).read(5).picture;
    const QImage picture = extractor.requestGetFrame(5);
    QCOMPARE(Pictures::numberOf(picture), 6);
    QCOMPARE(picture.size(), plain.size());
    // The two ways of the scaler round differently, so that a picture tells which it came.
    QCOMPARE(picture != plain, isWoven);
    for (int row = 0; row < plain.height(); ++row) {
        for (int column = 0; column < plain.width(); ++column) {
            const QRgb left = plain.pixel(column, row);
            const QRgb right = picture.pixel(column, row);
            QVERIFY(std::abs(qGreen(left) - qGreen(right)) < 96);
        }
    }
}

void FramePictureTest::wovenFrameHoldsTheSameValues()
{
    const AvFramePtr frame(av_frame_alloc());
    frame->format = AV_PIX_FMT_YUV420P;
    frame->width = 7; // odd, so the colour planes are rounded up
    frame->height = 5;
    QCOMPARE(av_frame_get_buffer(frame.get(), 0), 0);
    const auto value = [](int plane, int column, int row) {
        return static_cast<uint8_t>(plane * 80 + row * 10 + column);
    };
    for (int plane = 0; plane < 3; ++plane) {
        for (int row = 0; row < (plane == 0 ? 5 : 3); ++row) {
            for (int column = 0; column < (plane == 0 ? 7 : 4); ++column) {
                frame->data[plane][row * frame->linesize[plane] + column] =
                    value(plane, column, row);
            }
        }
    }
    const AvFramePtr woven = nv12FrameOf(frame.get());
    QVERIFY(woven);
    QCOMPARE(woven->format, static_cast<int>(AV_PIX_FMT_NV12));
    for (int row = 0; row < 5; ++row) {
        for (int column = 0; column < 7; ++column) {
            QCOMPARE(woven->data[0][row * woven->linesize[0] + column], value(0, column, row));
        }
    }
    for (int row = 0; row < 3; ++row) {
        for (int column = 0; column < 4; ++column) {
            const int place = row * woven->linesize[1] + 2 * column;
            QCOMPARE(woven->data[1][place], value(1, column, row));
            QCOMPARE(woven->data[1][place + 1], value(2, column, row));
        }
    }
    frame->format = AV_PIX_FMT_YUV444P;
    QVERIFY(!nv12FrameOf(frame.get()));
}

QTEST_MAIN(FramePictureTest)
#include "framepicturetest.moc"
