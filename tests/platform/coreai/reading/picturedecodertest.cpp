// What the decoder makes of pictures, and of what is none.

#include "coreai/reading/picturedecoder.h"

#include <QBuffer>
#include <QImage>
#include <QTest>

#include <random>

using namespace coreai;

namespace
{
QByteArray encoded(const QImage &image, const char *format = "PNG")
{
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, format);
    return bytes;
}

QImage pattern(const QSize &size, QImage::Format format = QImage::Format_RGB32)
{
    QImage image(size, QImage::Format_RGB32);
    for (int y = 0; y < size.height(); ++y) {
        for (int x = 0; x < size.width(); ++x) {
            image.setPixel(x, y, qRgb(x * 7 % 256, y * 11 % 256, (x + y) % 256));
        }
    }
    return image.convertToFormat(format);
}

std::string_view view(const QByteArray &bytes)
{
    return {bytes.constData(), std::size_t(bytes.size())};
}

// A PNG of so many pixels without having them: the decoder must look at the header first.
QByteArray hugePng(int width, int height)
{
    QByteArray bytes = encoded(QImage(1, 1, QImage::Format_Grayscale8));
    for (int index = 0; index < 4; ++index) {
        bytes[16 + index] = char(width >> (24 - 8 * index));
        bytes[20 + index] = char(height >> (24 - 8 * index));
    }
    return bytes;
}
} // namespace

class PictureDecoderTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void givesEveryPixelOfAPng_data();
    void givesEveryPixelOfAPng();
    void giveNothing_data();
    void giveNothing();
    void transparentPixelsLieOnBlack();
    void readsJpeg();
    void decodesSmaller();
    void damagedFilesNeverCrash();
};

void PictureDecoderTest::givesEveryPixelOfAPng_data()
{
    QTest::addColumn<QImage>("image");
    QTest::newRow("colours") << pattern({123, 45});
    QTest::newRow("one pixel") << pattern({1, 1});
    QTest::newRow("one row") << pattern({3000, 1});
    QTest::newRow("grey") << pattern({60, 40}, QImage::Format_Grayscale8);
    QTest::newRow("palette") << pattern({60, 40}, QImage::Format_Indexed8);
    QTest::newRow("two colours") << pattern({61, 40}, QImage::Format_Mono);
    QTest::newRow("16 bits") << pattern({60, 40}, QImage::Format_RGBX64);
    QTest::newRow("opaque with alpha") << pattern({60, 40}, QImage::Format_ARGB32);
}

void PictureDecoderTest::givesEveryPixelOfAPng()
{
    QFETCH(QImage, image);
    const QByteArray bytes = encoded(image);
    const cv::Mat picture = decodePicture(view(bytes));
    QCOMPARE(picture.type(), CV_8UC4);
    QCOMPARE(QSize(picture.cols, picture.rows), image.size());
    QVERIFY(pictureSize(view(bytes)) == picture.size());
    const QImage expected = image.convertToFormat(QImage::Format_RGB32);
    for (int y = 0; y < picture.rows; ++y) {
        for (int x = 0; x < picture.cols; ++x) {
            const auto &pixel = picture.at<cv::Vec4b>(y, x);
            QCOMPARE(qRgb(pixel[2], pixel[1], pixel[0]), expected.pixel(x, y));
            QCOMPARE(int(pixel[3]), 255);
        }
    }
}

void PictureDecoderTest::giveNothing_data()
{
    QTest::addColumn<QByteArray>("bytes");
    const QByteArray png = encoded(pattern({200, 200}));
    QTest::newRow("nothing") << QByteArray();
    QTest::newRow("text") << QByteArray("this is no picture");
    QTest::newRow("signature alone") << png.left(8);
    QTest::newRow("header alone") << png.left(33);
    QTest::newRow("16384x16384") << hugePng(16384, 16384);
    QTest::newRow("most that a header can tell") << hugePng(0x7fffffff, 0x7fffffff);
    QTest::newRow("no width") << hugePng(0, 10);
    QTest::newRow("other format") << encoded(pattern({20, 20}), "BMP");
    QTest::newRow("JPEG signature alone") << QByteArray("\xff\xd8\xff");
}

void PictureDecoderTest::giveNothing()
{
    QFETCH(QByteArray, bytes);
    QVERIFY(decodePicture(view(bytes)).empty());
    QVERIFY(decodeSmaller(view(bytes), 4).empty());
}

void PictureDecoderTest::transparentPixelsLieOnBlack()
{
    QImage image(1, 1, QImage::Format_ARGB32);
    image.setPixel(0, 0, qRgba(200, 100, 50, 0));
    const QByteArray bytes = encoded(image);
    QCOMPARE(decodePicture(view(bytes)).at<cv::Vec4b>(0, 0), cv::Vec4b(0, 0, 0, 255));
}

void PictureDecoderTest::readsJpeg()
{
    QImage image(64, 48, QImage::Format_RGB32);
    image.fill(QColor(30, 60, 90));
    const QByteArray bytes = encoded(image, "JPEG");
    const cv::Mat picture = decodePicture(view(bytes));
    QVERIFY(picture.size() == cv::Size(64, 48));
    const auto pixel = picture.at<cv::Vec4b>(20, 20);
    QVERIFY(std::abs(pixel[0] - 90) < 4 && std::abs(pixel[2] - 30) < 4);
}

void PictureDecoderTest::decodesSmaller()
{
    const QByteArray jpeg = encoded(pattern({1920, 1080}), "JPEG");
    QVERIFY(decodeSmaller(view(jpeg), 4).size() == cv::Size(480, 270));
    const QByteArray tiny = encoded(pattern({2, 3}));
    QVERIFY(!decodeSmaller(view(tiny), 4).empty());
}

void PictureDecoderTest::damagedFilesNeverCrash()
{
    std::mt19937 random(4);
    for (const char *format : {"PNG", "JPEG"}) {
        const QByteArray whole = encoded(pattern({64, 64}), format);
        for (int round = 0; round < 300; ++round) {
            QByteArray bytes = whole;
            for (unsigned change = 0; change <= random() % 8; ++change) {
                bytes[int(random() % unsigned(bytes.size()))] = char(random());
            }
            bytes.truncate(int(random() % unsigned(bytes.size() + 1)));
            const cv::Mat picture = decodePicture(view(bytes));
            QVERIFY(picture.empty() || picture.type() == CV_8UC4);
        }
    }
}

QTEST_GUILESS_MAIN(PictureDecoderTest)
#include "picturedecodertest.moc"
