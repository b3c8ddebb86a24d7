// The four image utilities: the similarity gate, matrices, JPEG as text, names of videos.

#include "ai/imageutils.h"
#include "ai/imagematrix.h"
#include "support/logcapture.h"
#include "threadswitch.h"

#include <QBuffer>
#include <QGuiApplication>
#include <QPainter>
#include <QRandomGenerator>
#include <QTest>

#include <cmath>
#include <opencv2/features2d.hpp>
#include <opencv2/imgproc.hpp>

namespace
{
constexpr double keptUpTo = 0.8; // a frame above this is dropped

bool isKept(const QImage &last, const QImage &next)
{
    return !(calculateSimilar(last, next) > keptUpTo);
}

/// A page of text, one line for each of @p lines, the words drawn by the line's number. Painted in
/// its format, not converted: QImage converts large pictures in threads that the thread sanitizer
/// cannot follow.
QImage page(const QVector<int> &lines, QImage::Format format = QImage::Format_RGB32,
            const QSize &size = {1280, 720})
{
    static const QStringList words{QStringLiteral("window"),  QStringLiteral("frame"),
                                   QStringLiteral("history"), QStringLiteral("answer"),
                                   QStringLiteral("12:45"),   QStringLiteral("budget"),
                                   QStringLiteral("(draft)"), QStringLiteral("meeting")};
    QImage image(size, format);
    image.fill(Qt::white);
    QPainter painter(&image);
    painter.setFont(QFont(QStringLiteral("DejaVu Sans"), 11));
    int y = 30;
    for (const int line : lines) {
        QRandomGenerator random(static_cast<quint32>(line) + 1U);
        QString text;
        for (int word = 0; word < 14; ++word) {
            text += words.at(random.bounded(words.size())) + QLatin1Char(' ');
        }
        painter.drawText(20, y, text);
        y += 22;
    }
    return image;
}

QVector<int> numbers(int from, int count)
{
    QVector<int> result;
    for (int number = from; number < from + count; ++number) {
        result.append(number);
    }
    return result;
}

QImage blank(QImage::Format format = QImage::Format_RGB32)
{
    QImage image(640, 480, format);
    image.fill(Qt::white);
    return image;
}

void addFormats(bool supported)
{
    QTest::addColumn<int>("format");
    const QVector<int> known{QImage::Format_RGB32, QImage::Format_ARGB32,
                             QImage::Format_ARGB32_Premultiplied, QImage::Format_RGB888,
                             QImage::Format_Grayscale8};
    for (int format = QImage::Format_Invalid; format < QImage::NImageFormats; ++format) {
        if (known.contains(format) == supported) {
            QTest::addRow("format %d", format) << format;
        }
    }
}

QImage colours(QImage::Format format)
{
    QImage image(5, 4, QImage::Format_ARGB32);
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            image.setPixel(x, y, qRgba(x * 50, y * 60, 200 - x * y, 255 - 40 * x));
        }
    }
    return image.convertToFormat(format);
}
} // namespace

class ImageUtilsTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void cleanup() { ThreadSwitch::fail(ThreadSwitch::Failure::None); }

    void identicalScreensAreCloseToOneAndDropped();
    void twoBlankScreensAreNotANumberAndKept();
    void screenAfterBlankOneIsKept();
    void blankScreenAfterAnotherIsNotComparable();
    void unsupportedFormatIsIdenticalWithWarningAndError_data() { addFormats(false); }
    void unsupportedFormatIsIdenticalWithWarningAndError();
    void twoUnsupportedFormatsWarnTwice();
    void grayScreensAreIdenticalWithErrorOnly();
    void similarityIsTheSameInEveryColourFormat_data();
    void similarityIsTheSameInEveryColourFormat();
    void changesAndTheThreshold_data();
    void changesAndTheThreshold();
    void largerCountOfKeyPointsDivides();
    void valueIsThatOfTheStatedDetector_data();
    void valueIsThatOfTheStatedDetector();
    void otherExceptionsAreIdenticalWithTheirWords_data();
    void otherExceptionsAreIdenticalWithTheirWords();
    void oneThreadIsInForceAfterACall();

    void colourFormatsBecomeBlueGreenRed_data();
    void colourFormatsBecomeBlueGreenRed();
    void paddedRowsAreSteppedOver_data() { addFormats(true); }
    void paddedRowsAreSteppedOver();
    void colourMatrixOutlivesItsImage();
    void grayMatrixSharesTheImagesBits();
    void wrappingMakesNoCopyOfTheImage();
    void unsupportedFormatsGiveAnEmptyMatrix_data() { addFormats(false); }
    void unsupportedFormatsGiveAnEmptyMatrix();

    void base64HoldsAJpegOfTheSameSize();
    void base64OfNullImageIsEmpty();

    void videoNames_data();
    void videoNames();
};

void ImageUtilsTest::identicalScreensAreCloseToOneAndDropped()
{
    const QImage screen = page(numbers(0, 25));
    const double similarity = calculateSimilar(screen, screen.copy());
    QVERIFY2(similarity > 0.9 && similarity <= 1.0, qPrintable(QString::number(similarity)));
    QVERIFY(!isKept(screen, screen));
}

void ImageUtilsTest::twoBlankScreensAreNotANumberAndKept()
{
    LogCapture log;
    QVERIFY(std::isnan(calculateSimilar(blank(), blank())));
    QVERIFY(isKept(blank(), blank()));
    QCOMPARE(log.texts(), QStringList());
}

void ImageUtilsTest::screenAfterBlankOneIsKept()
{
    LogCapture log;
    QCOMPARE(calculateSimilar(blank(), page(numbers(0, 25))), 0.0);
    QCOMPARE(log.texts(), QStringList());
}

void ImageUtilsTest::blankScreenAfterAnotherIsNotComparable()
{
    // The matcher refuses to match against no descriptors at all, though not to match none.
    LogCapture log;
    QCOMPARE(calculateSimilar(page(numbers(0, 25)), blank()), 1.0);
    QCOMPARE(log.count(QtDebugMsg, QStringLiteral("Opencv error:")), 1);
}

void ImageUtilsTest::unsupportedFormatIsIdenticalWithWarningAndError()
{
    QFETCH(int, format);
    const QImage known = page(numbers(0, 25));
    const QImage unknown =
        format == QImage::Format_Invalid ? QImage() : colours(static_cast<QImage::Format>(format));
    QCOMPARE(static_cast<int>(unknown.format()), format);
    for (const bool unknownFirst : {true, false}) {
        LogCapture log;
        QCOMPARE(calculateSimilar(unknownFirst ? unknown : known, unknownFirst ? known : unknown),
                 1.0);
        QCOMPARE(log.texts(QtWarningMsg), QStringList{QStringLiteral("Unsupported image format")});
        QCOMPARE(log.texts(QtDebugMsg).size(), 1);
        QVERIFY(log.texts(QtDebugMsg).first().startsWith(QLatin1String("Opencv error: ")));
    }
    LogCapture log;
    QVERIFY(!isKept(known, unknown));
}

void ImageUtilsTest::twoUnsupportedFormatsWarnTwice()
{
    LogCapture log;
    QCOMPARE(calculateSimilar(QImage(), blank(QImage::Format_RGB16)), 1.0);
    QCOMPARE(log.count(QtWarningMsg, QStringLiteral("Unsupported image format")), 2);
    QCOMPARE(log.count(QtDebugMsg, QStringLiteral("Opencv error:")), 1);
}

void ImageUtilsTest::grayScreensAreIdenticalWithErrorOnly()
{
    const QImage first = page(numbers(0, 25), QImage::Format_Grayscale8);
    const QImage second = page(numbers(50, 25), QImage::Format_Grayscale8);
    LogCapture log;
    QCOMPARE(calculateSimilar(first, second), 1.0);
    QCOMPARE(log.texts(QtWarningMsg), QStringList());
    QCOMPARE(log.count(QtDebugMsg, QStringLiteral("Opencv error:")), 1);
}

void ImageUtilsTest::similarityIsTheSameInEveryColourFormat_data()
{
    QTest::addColumn<int>("format");
    QTest::newRow("ARGB32") << int(QImage::Format_ARGB32);
    QTest::newRow("ARGB32_Premultiplied") << int(QImage::Format_ARGB32_Premultiplied);
    QTest::newRow("RGB888") << int(QImage::Format_RGB888);
}

void ImageUtilsTest::similarityIsTheSameInEveryColourFormat()
{
    QFETCH(int, format);
    const QImage first = page(numbers(0, 25));
    const QImage second = page(numbers(3, 25));
    const auto other = static_cast<QImage::Format>(format);
    const double expected = calculateSimilar(first, second);
    const QImage firstOther = page(numbers(0, 25), other);
    QCOMPARE(calculateSimilar(firstOther, page(numbers(3, 25), other)), expected);
    QCOMPARE(calculateSimilar(firstOther, second), expected);
}

void ImageUtilsTest::changesAndTheThreshold_data()
{
    QTest::addColumn<QVector<int>>("lines");
    QTest::addColumn<bool>("kept");
    QTest::newRow("nothing") << numbers(0, 30) << false;
    QTest::newRow("one line more") << numbers(0, 31) << false;
    QTest::newRow("half of the lines") << numbers(0, 15) + numbers(100, 15) << true;
    QTest::newRow("another page") << numbers(100, 30) << true;
}

void ImageUtilsTest::changesAndTheThreshold()
{
    QFETCH(QVector<int>, lines);
    QFETCH(bool, kept);
    const QImage last = page(numbers(0, 30));
    const double similarity = calculateSimilar(last, page(lines));
    QVERIFY2(isKept(last, page(lines)) == kept, qPrintable(QString::number(similarity)));
}

void ImageUtilsTest::largerCountOfKeyPointsDivides()
{
    // A single small mark has a few dozen key points, a page all 500: whatever matches, the
    // similarity stays below the quotient of the counts.
    QImage mark = blank();
    QPainter painter(&mark);
    painter.fillRect(200, 200, 60, 40, Qt::black);
    painter.end();
    std::vector<cv::KeyPoint> points;
    cv::ORB::create()->detect(convertQImageToMat(mark), points);
    QVERIFY(!points.empty());
    QVERIFY(points.size() < 250);
    const double most = static_cast<double>(points.size()) / 500.0;
    const QImage full = page(numbers(0, 30));
    for (const double similarity : {calculateSimilar(mark, full), calculateSimilar(full, mark)}) {
        QVERIFY(similarity > 0.0);
        QVERIFY(similarity <= most);
    }
}

void ImageUtilsTest::valueIsThatOfTheStatedDetector_data()
{
    QTest::addColumn<QVector<int>>("lines");
    QTest::newRow("same page") << numbers(0, 30);
    QTest::newRow("scrolled") << numbers(4, 30);
    QTest::newRow("half of the lines") << numbers(0, 15) + numbers(100, 15);
    QTest::newRow("two lines") << numbers(0, 2);
}

void ImageUtilsTest::valueIsThatOfTheStatedDetector()
{
    QFETCH(QVector<int>, lines);
    const QImage images[2] = {page(numbers(0, 30)), page(lines)};
    std::vector<cv::KeyPoint> points[2];
    cv::Mat descriptors[2];
    for (int i = 0; i < 2; ++i) {
        cv::Mat bgr(images[i].height(), images[i].width(), CV_8UC3);
        for (int y = 0; y < bgr.rows; ++y) {
            for (int x = 0; x < bgr.cols; ++x) {
                const QRgb pixel = images[i].pixel(x, y);
                bgr.at<cv::Vec3b>(y, x) =
                    cv::Vec3b(static_cast<uchar>(qBlue(pixel)), static_cast<uchar>(qGreen(pixel)),
                              static_cast<uchar>(qRed(pixel)));
            }
        }
        cv::Mat gray;
        cv::cvtColor(bgr, gray, cv::COLOR_BGR2GRAY);
        cv::ORB::create(500, 1.2F, 8, 31, 0, 2, cv::ORB::HARRIS_SCORE, 31, 20)
            ->detectAndCompute(gray, cv::noArray(), points[i], descriptors[i]);
    }
    std::vector<cv::DMatch> matches;
    cv::BFMatcher(cv::NORM_HAMMING, true).match(descriptors[0], descriptors[1], matches);
    const auto most = static_cast<double>(std::max(points[0].size(), points[1].size()));
    QCOMPARE(calculateSimilar(images[0], images[1]), static_cast<double>(matches.size()) / most);
}

void ImageUtilsTest::otherExceptionsAreIdenticalWithTheirWords_data()
{
    QTest::addColumn<int>("failure");
    QTest::addColumn<QString>("text");
    QTest::newRow("standard") << int(ThreadSwitch::Failure::Standard)
                              << "Standard library error: out of luck";
    QTest::newRow("anything else") << int(ThreadSwitch::Failure::Unknown) << "Unknown error!";
}

void ImageUtilsTest::otherExceptionsAreIdenticalWithTheirWords()
{
    QFETCH(int, failure);
    QFETCH(QString, text);
    const QImage first = page(numbers(0, 30));
    const QImage second = page(numbers(100, 30));
    ThreadSwitch::fail(static_cast<ThreadSwitch::Failure>(failure));
    LogCapture log;
    QCOMPARE(calculateSimilar(first, second), 1.0);
    QCOMPARE(log.texts(QtDebugMsg), QStringList{text});
    QCOMPARE(log.texts(QtWarningMsg), QStringList());
}

void ImageUtilsTest::oneThreadIsInForceAfterACall()
{
    cv::setNumThreads(2);
    QCOMPARE(cv::getNumThreads(), 2);
    calculateSimilar(blank(), blank());
    QCOMPARE(ThreadSwitch::calls().last(), 1);
    QCOMPARE(cv::getNumThreads(), 1);
    cv::setNumThreads(2);
    LogCapture log;
    calculateSimilar(QImage(), QImage());
    QCOMPARE(cv::getNumThreads(), 1);
}

void ImageUtilsTest::colourFormatsBecomeBlueGreenRed_data()
{
    QTest::addColumn<int>("format");
    QTest::newRow("RGB32") << int(QImage::Format_RGB32);
    QTest::newRow("ARGB32") << int(QImage::Format_ARGB32);
    QTest::newRow("ARGB32_Premultiplied") << int(QImage::Format_ARGB32_Premultiplied);
    QTest::newRow("RGB888") << int(QImage::Format_RGB888);
}

void ImageUtilsTest::colourFormatsBecomeBlueGreenRed()
{
    QFETCH(int, format);
    const QImage image = colours(static_cast<QImage::Format>(format));
    const cv::Mat matrix = convertQImageToMat(image);
    QCOMPARE(matrix.type(), CV_8UC3);
    QCOMPARE(QSize(matrix.cols, matrix.rows), image.size());
    for (int y = 0; y < image.height(); ++y) {
        const uchar *row = image.constScanLine(y);
        for (int x = 0; x < image.width(); ++x) {
            // As the bits lie there: a premultiplied colour stays premultiplied.
            const bool packed = format == QImage::Format_RGB888;
            const uchar *pixel = row + static_cast<ptrdiff_t>(x) * (packed ? 3 : 4);
            const auto &stored = matrix.at<cv::Vec3b>(y, x);
            QCOMPARE(stored[0], pixel[packed ? 2 : 0]);
            QCOMPARE(stored[1], pixel[1]);
            QCOMPARE(stored[2], pixel[packed ? 0 : 2]);
        }
    }
}

void ImageUtilsTest::paddedRowsAreSteppedOver()
{
    QFETCH(int, format);
    const QImage image = colours(static_cast<QImage::Format>(format));
    const int stride = image.bytesPerLine() + 24;
    QByteArray memory(stride * image.height(), '\x7e');
    for (int y = 0; y < image.height(); ++y) {
        std::copy_n(image.constScanLine(y), image.bytesPerLine(),
                    memory.data() + static_cast<ptrdiff_t>(y) * stride);
    }
    const QImage padded(reinterpret_cast<const uchar *>(memory.constData()), image.width(),
                        image.height(), stride, image.format());
    const cv::Mat expected = convertQImageToMat(image);
    const cv::Mat matrix = convertQImageToMat(padded);
    QCOMPARE(matrix.type(), expected.type());
    QCOMPARE(cv::norm(matrix, expected, cv::NORM_INF), 0.0);
}

void ImageUtilsTest::colourMatrixOutlivesItsImage()
{
    QImage image = colours(QImage::Format_RGB32);
    const uchar *bits = image.constBits();
    const cv::Mat matrix = convertQImageToMat(image);
    const cv::Mat copy = matrix.clone();
    QVERIFY(matrix.data != bits);
    image.fill(Qt::red);
    QCOMPARE(cv::norm(matrix, copy, cv::NORM_INF), 0.0);
}

void ImageUtilsTest::grayMatrixSharesTheImagesBits()
{
    const QImage image = colours(QImage::Format_Grayscale8);
    const cv::Mat matrix = convertQImageToMat(image);
    QCOMPARE(matrix.type(), CV_8UC1);
    QCOMPARE(static_cast<const void *>(matrix.data), static_cast<const void *>(image.constBits()));
    QCOMPARE(static_cast<int>(matrix.step[0]), image.bytesPerLine());
    QCOMPARE(QSize(matrix.cols, matrix.rows), image.size());
}

void ImageUtilsTest::wrappingMakesNoCopyOfTheImage()
{
    const QImage image = colours(QImage::Format_Grayscale8);
    const QVector<QImage> batch{image};
    const cv::Mat matrix = convertQImageToMat(batch.first());
    QCOMPARE(static_cast<const void *>(matrix.data), static_cast<const void *>(image.constBits()));
    QCOMPARE(static_cast<const void *>(batch.first().constBits()),
             static_cast<const void *>(image.constBits()));
}

void ImageUtilsTest::unsupportedFormatsGiveAnEmptyMatrix()
{
    QFETCH(int, format);
    const QImage image =
        format == QImage::Format_Invalid ? QImage() : colours(static_cast<QImage::Format>(format));
    LogCapture log;
    QVERIFY(convertQImageToMat(image).empty());
    QCOMPARE(log.texts(), QStringList{QStringLiteral("Unsupported image format")});
    QCOMPARE(log.texts(QtWarningMsg).size(), 1);
}

void ImageUtilsTest::base64HoldsAJpegOfTheSameSize()
{
    const QImage image = page(numbers(0, 5), QImage::Format_RGB32, {321, 123});
    const QString text = imageToBase64(image);
    const auto decoded =
        QByteArray::fromBase64Encoding(text.toLatin1(), QByteArray::AbortOnBase64DecodingErrors);
    QVERIFY(decoded);
    const QImage read = QImage::fromData(*decoded, "JPEG");
    QCOMPARE(read.size(), image.size());
    QByteArray atDefaultQuality;
    QBuffer buffer(&atDefaultQuality);
    buffer.open(QIODevice::WriteOnly);
    QVERIFY(image.save(&buffer, "JPEG", -1));
    QCOMPARE(*decoded, atDefaultQuality);
}

void ImageUtilsTest::base64OfNullImageIsEmpty()
{
    QCOMPARE(imageToBase64(QImage()), QString());
}

void ImageUtilsTest::videoNames_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<bool>("valid");
    const QString name = QStringLiteral("2024-03-05_14-07-31.mp4");
    QTest::newRow("exact") << name << true;
    QTest::newRow("no real date") << "9999-99-99_99-99-99.mp4" << true;
    QTest::newRow("zeros") << "0000-00-00_00-00-00.mp4" << true;
    QTest::newRow("backup behind") << name + ".bak" << false;
    QTest::newRow("pending work file") << name + ".pending.mp4" << false;
    QTest::newRow("safety copy") << name + "_007.png" << false;
    QTest::newRow("one-digit month") << "2024-3-05_14-07-31.mp4" << false;
    QTest::newRow("one-digit month and day") << "2024-3-5_14-07-31.mp4" << false;
    QTest::newRow("five-digit year") << "12024-03-05_14-07-31.mp4" << false;
    QTest::newRow("with its folder") << "2024-03-05/" + name << false;
    QTest::newRow("suffix in upper case") << "2024-03-05_14-07-31.MP4" << false;
    QTest::newRow("another suffix") << "2024-03-05_14-07-31_mp4" << false;
    QTest::newRow("without suffix") << "2024-03-05_14-07-31" << false;
    QTest::newRow("space instead of underline") << "2024-03-05 14-07-31.mp4" << false;
    QTest::newRow("space before") << " " + name << false;
    QTest::newRow("line break behind") << name + "\n" << false;
    QTest::newRow("digits of another script")
        << QStringLiteral("２０２４-03-05_14-07-31.mp4") << false;
    QTest::newRow("empty") << "" << false;
}

void ImageUtilsTest::videoNames()
{
    QFETCH(QString, name);
    QFETCH(bool, valid);
    QCOMPARE(isValidVideoNameFormat(name), valid);
}

QTEST_MAIN(ImageUtilsTest)
#include "imageutilstest.moc"
