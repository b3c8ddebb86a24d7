// Pixels of every format and every turn, against Qt's own transformations.

#include "desktopbridge/pipewire/videoframe.h"

#include <QImage>
#include <QTest>
#include <QTransform>

#include <spa/param/video/raw.h>

namespace
{
constexpr QSize UPRIGHT(5, 3);

QImage uprightPicture()
{
    QImage picture(UPRIGHT, QImage::Format_RGB32);
    for (int y = 0; y < picture.height(); ++y) {
        for (int x = 0; x < picture.width(); ++x) {
            picture.setPixel(x, y, qRgb(10 + x, 100 + y, 200 + x * y));
        }
    }
    return picture;
}

// Mirrored first, then turned counter-clockwise.
QImage asInTheBuffer(const QImage &picture, int transform)
{
    const QImage mirrored = transform >= 4 ? picture.mirrored(true, false) : picture;
    return mirrored.transformed(QTransform().rotate(-90.0 * (transform % 4)));
}

FrameMemory memoryOf(const QImage &image)
{
    return {image.constBits(), image.bytesPerLine()};
}

QImage copied(const FrameLayout &layout, const FrameMemory &memory, const QRect &area)
{
    QImage result(area.size(), QImage::Format_RGB32);
    copyUpright(layout, memory, area, reinterpret_cast<quint32 *>(result.bits()), area.width());
    for (int y = 0; y < result.height(); ++y) {
        for (int x = 0; x < result.width(); ++x) {
            result.setPixel(x, y, result.pixel(x, y) | 0xff000000);
        }
    }
    return result;
}
} // namespace

class VideoFrameTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void bytesOfEveryFormatGiveTheSameColour_data();
    void bytesOfEveryFormatGiveTheSameColour();
    void everyTurnIsUndone_data();
    void everyTurnIsUndone();
    void areasOfTheBufferAreTurnedToo_data();
    void areasOfTheBufferAreTurnedToo();
    void unknownFormatCopiesNothing();
};

void VideoFrameTest::bytesOfEveryFormatGiveTheSameColour_data()
{
    QTest::addColumn<quint32>("format");
    QTest::addColumn<QByteArray>("bytes");
    QTest::newRow("BGRx") << quint32(SPA_VIDEO_FORMAT_BGRx) << QByteArray("\x30\x20\x10\x77");
    QTest::newRow("BGRA") << quint32(SPA_VIDEO_FORMAT_BGRA) << QByteArray("\x30\x20\x10\x77");
    QTest::newRow("RGBx") << quint32(SPA_VIDEO_FORMAT_RGBx) << QByteArray("\x10\x20\x30\x77");
    QTest::newRow("RGBA") << quint32(SPA_VIDEO_FORMAT_RGBA) << QByteArray("\x10\x20\x30\x77");
    QTest::newRow("xRGB") << quint32(SPA_VIDEO_FORMAT_xRGB) << QByteArray("\x77\x10\x20\x30");
    QTest::newRow("ARGB") << quint32(SPA_VIDEO_FORMAT_ARGB) << QByteArray("\x77\x10\x20\x30");
    QTest::newRow("xBGR") << quint32(SPA_VIDEO_FORMAT_xBGR) << QByteArray("\x77\x30\x20\x10");
    QTest::newRow("ABGR") << quint32(SPA_VIDEO_FORMAT_ABGR) << QByteArray("\x77\x30\x20\x10");
}

void VideoFrameTest::bytesOfEveryFormatGiveTheSameColour()
{
    QFETCH(quint32, format);
    QFETCH(QByteArray, bytes);
    QVERIFY(readableFormats().contains(format));
    alignas(quint32) quint8 pixel[4];
    QCOMPARE(bytes.size(), int(sizeof pixel));
    std::copy_n(bytes.cbegin(), sizeof pixel, pixel);
    quint32 colour = 0;
    copyUpright({format, QSize(1, 1)}, {pixel, 4}, QRect(0, 0, 1, 1), &colour, 1);
    QCOMPARE(colour & 0xffffff, 0x102030U);
}

void VideoFrameTest::everyTurnIsUndone_data()
{
    QTest::addColumn<int>("transform");
    for (int transform = 0; transform < 8; ++transform) {
        QTest::addRow("%d", transform) << transform;
    }
}

void VideoFrameTest::everyTurnIsUndone()
{
    QFETCH(int, transform);
    const QImage upright = uprightPicture();
    const QImage buffer = asInTheBuffer(upright, transform).convertToFormat(QImage::Format_RGB32);
    for (const quint32 format : {SPA_VIDEO_FORMAT_BGRx, SPA_VIDEO_FORMAT_RGBx}) {
        const QImage bytes = format == SPA_VIDEO_FORMAT_RGBx ? buffer.rgbSwapped() : buffer;
        const FrameLayout layout{format, buffer.size(), FrameTransform(transform)};
        QCOMPARE(layout.uprightSize(), UPRIGHT);
        for (const QRect &area : {QRect(QPoint(), UPRIGHT), QRect(1, 1, 3, 2), QRect(4, 2, 1, 1)}) {
            QCOMPARE(copied(layout, memoryOf(bytes), area), upright.copy(area));
        }
    }
}

void VideoFrameTest::areasOfTheBufferAreTurnedToo_data()
{
    everyTurnIsUndone_data();
}

void VideoFrameTest::areasOfTheBufferAreTurnedToo()
{
    QFETCH(int, transform);
    const QRect drawn(1, 0, 2, 1);
    QImage upright(UPRIGHT, QImage::Format_RGB32);
    upright.fill(Qt::black);
    for (int x = drawn.left(); x <= drawn.right(); ++x) {
        upright.setPixel(x, 0, qRgb(255, 255, 255));
    }
    const QImage buffer = asInTheBuffer(upright, transform).convertToFormat(QImage::Format_RGB32);
    QRect inBuffer;
    for (int y = 0; y < buffer.height(); ++y) {
        for (int x = 0; x < buffer.width(); ++x) {
            if (buffer.pixel(x, y) == qRgb(255, 255, 255)) {
                inBuffer = inBuffer.united(QRect(x, y, 1, 1));
            }
        }
    }
    const FrameLayout layout{SPA_VIDEO_FORMAT_BGRx, buffer.size(), FrameTransform(transform)};
    QCOMPARE(layout.upright(inBuffer), drawn);
}

void VideoFrameTest::unknownFormatCopiesNothing()
{
    quint32 colour = 0xabcdef;
    const quint32 pixel = 0x123456;
    copyUpright({SPA_VIDEO_FORMAT_NV12, QSize(1, 1)}, {reinterpret_cast<const quint8 *>(&pixel), 4},
                QRect(0, 0, 1, 1), &colour, 1);
    QCOMPARE(colour, 0xabcdefU);
}

QTEST_GUILESS_MAIN(VideoFrameTest)
#include "videoframetest.moc"
