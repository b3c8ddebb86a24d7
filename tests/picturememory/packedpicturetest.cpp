#include "picturememory/packedpicture.h"
#include "picturememory/packedpixels.h"
#include "picturememory/pixelpages.h"
#include "support/pictures.h"

#include <QFile>
#include <QPainter>
#include <QtTest>

#include <algorithm>
#include <random>
#include <sys/mman.h>
#include <thread>
#include <unistd.h>

namespace
{
const QSize fullHd(1920, 1080);
constexpr qint64 pictureBytes = 1920LL * 1080 * 4;
constexpr int screens = 40;
constexpr qint64 littleMemory = screens / 4 * pictureBytes;

QImage noise(const QSize &size, QImage::Format format, quint32 seed = 1)
{
    QImage image(size, format);
    std::mt19937 random(seed);
    auto *pixels = reinterpret_cast<quint32 *>(image.bits());
    std::generate(pixels, pixels + image.sizeInBytes() / 4, random);
    return image;
}

/// Every byte, the unused fourth of a pixel included.
bool areSame(const QImage &left, const QImage &right)
{
    return left.size() == right.size() && left.format() == right.format() &&
           left.bytesPerLine() == right.bytesPerLine() &&
           std::equal(left.constBits(), left.constBits() + left.sizeInBytes(), right.constBits());
}

qint64 residentBytes()
{
    QFile file(QStringLiteral("/proc/self/statm"));
    if (!file.open(QIODevice::ReadOnly)) {
        return 0;
    }
    return file.readAll().split(' ').value(1).toLongLong() * ::sysconf(_SC_PAGESIZE);
}

bool isPlain(const QImage &image)
{
    // The kernel reads on the process's behalf, which it can do of plain memory only.
    const int file = ::memfd_create("picture", MFD_CLOEXEC);
    const bool written =
        ::write(file, image.constBits(), static_cast<size_t>(image.sizeInBytes())) > 0;
    ::close(file);
    return written;
}
} // namespace

class PackedPictureTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();

    void everyPixelIsEqual_data();
    void everyPixelIsEqual();
    void pixelsThatAreReadTwiceAreEqualBothTimes();
    void devicePixelRatioStays();
    void packedAgainIsEqual();

    void manyScreensTakeLittleMemory();
    void readingManyScreensTakesLittleMemory();
    void memoryIsFreeWhenThePicturesHaveGone();

    void manyThreadsReadTheSamePicturesAtOnce();
    void picturesComeAndGoWhileOthersAreRead();

    void aChangedCopyLeavesThePictureAlone();
    void aCopyOfItsOwnCanBeGivenToTheKernel();
    void picturesOutliveTheirPagesOwner();

    void whatCannotBePackedStaysAsItIs_data();
    void whatCannotBePackedStaysAsItIs();
    void withoutTheKernelPicturesStayAsTheyAre();
    void withoutTheKernelOnePictureIsNotCopied();
    void packedPicturesAreKnownFromOthers();

private:
    std::shared_ptr<PixelPages> m_pages = std::make_shared<PixelPages>(PixelPages::openFaults());
};

void PackedPictureTest::init()
{
    const bool needsKernel = !QByteArray(QTest::currentTestFunction()).startsWith("without");
    if (needsKernel && !m_pages->isServed()) {
        QSKIP("userfaultfd is refused here (Linux before 5.11, or a container)");
    }
#ifdef __SANITIZE_THREAD__
    if (QByteArray(QTest::currentTestFunction()).toLower().contains("memory")) {
        QSKIP("the thread sanitizer's own memory would be counted");
    }
#endif
}

void PackedPictureTest::everyPixelIsEqual_data()
{
    QTest::addColumn<QImage>("picture");
    QTest::newRow("screen-like") << Pictures::numbered(7, fullHd);
    QTest::newRow("noise, which does not get smaller") << noise(fullHd, QImage::Format_RGB32);
    QTest::newRow("with alpha") << noise({640, 480}, QImage::Format_ARGB32);
    QTest::newRow("with alpha, premultiplied")
        << noise({640, 480}, QImage::Format_ARGB32_Premultiplied);
    QTest::newRow("one pixel") << noise({1, 1}, QImage::Format_RGB32);
    QTest::newRow("one page exactly") << noise({1024, 1}, QImage::Format_RGB32);
    QTest::newRow("one pixel more than a page") << noise({1025, 1}, QImage::Format_RGB32);
    QTest::newRow("one piece exactly") << noise({1024, 512}, QImage::Format_RGB32);
    QTest::newRow("one row more than a piece") << noise({1024, 513}, QImage::Format_RGB32);
    QTest::newRow("odd sizes") << noise({1367, 769}, QImage::Format_RGB32);
    QTest::newRow("larger than the pieces that stay") << noise({3840, 2160}, QImage::Format_RGB32);
}

void PackedPictureTest::everyPixelIsEqual()
{
    QFETCH(QImage, picture);
    const QImage packed = packedPicture(picture, m_pages);
    QVERIFY(packed.constBits() != picture.constBits());
    QVERIFY(areSame(packed, picture));
}

void PackedPictureTest::pixelsThatAreReadTwiceAreEqualBothTimes()
{
    const QImage first = noise(fullHd, QImage::Format_RGB32, 1);
    const QImage second = noise(fullHd, QImage::Format_RGB32, 2);
    const QImage packedFirst = packedPicture(first, m_pages);
    const QImage packedSecond = packedPicture(second, m_pages);
    for (int round = 0; round < 3; ++round) { // each reading drives the other picture out
        QVERIFY(areSame(packedFirst, first));
        QVERIFY(areSame(packedSecond, second));
    }
}

void PackedPictureTest::devicePixelRatioStays()
{
    QImage picture = Pictures::numbered(3);
    picture.setDevicePixelRatio(1.5);
    const QImage packed = packedPicture(picture, m_pages);
    QVERIFY(packed.constBits() != picture.constBits());
    QCOMPARE(packed.devicePixelRatio(), 1.5);
    QCOMPARE(packed.copy().devicePixelRatio(), 1.5);
    QVERIFY(areSame(packed, picture));
    QVERIFY(!isPlain(packedPicture(picture, m_pages))); // the ratio did not make it a copy
}

void PackedPictureTest::packedAgainIsEqual()
{
    const QImage picture = noise({800, 600}, QImage::Format_RGB32);
    QVERIFY(areSame(packedPicture(packedPicture(picture, m_pages), m_pages), picture));
}

void PackedPictureTest::manyScreensTakeLittleMemory()
{
    QVector<QImage> batch;
    const qint64 before = residentBytes();
    for (int number = 0; number < screens; ++number) {
        batch += packedPicture(Pictures::numbered(number, fullHd), m_pages);
    }
    const qint64 taken = residentBytes() - before;
    QVERIFY2(taken < littleMemory, qPrintable(QString::number(taken)));
}

void PackedPictureTest::readingManyScreensTakesLittleMemory()
{
    QVector<QImage> batch;
    for (int number = 0; number < screens; ++number) {
        batch += packedPicture(Pictures::numbered(number, fullHd), m_pages);
    }
    const qint64 before = residentBytes();
    qint64 most = 0;
    for (int number = 0; number < screens; ++number) {
        QCOMPARE(Pictures::numberOf(batch.at(number).copy()), number); // reads all of it
        most = std::max(most, residentBytes() - before);
    }
    QVERIFY2(most < littleMemory, qPrintable(QString::number(most)));
}

void PackedPictureTest::memoryIsFreeWhenThePicturesHaveGone()
{
    constexpr int rounds = 30;
    const QImage picture = noise(fullHd, QImage::Format_RGB32); // packed as large as plain
    const qint64 before = residentBytes();
    for (int round = 0; round < rounds; ++round) {
        QVERIFY(areSame(packedPicture(picture, m_pages), picture));
    }
    const qint64 left = residentBytes() - before;
    QVERIFY2(left < rounds / 2 * pictureBytes, qPrintable(QString::number(left)));
}

void PackedPictureTest::manyThreadsReadTheSamePicturesAtOnce()
{
    constexpr int readers = 6; // more than pieces stay
    const QImage picture = noise(fullHd, QImage::Format_RGB32);
    const QImage packed = packedPicture(picture, m_pages);
    std::vector<int> equal(readers, 0);
    std::vector<std::thread> threads;
    threads.reserve(readers);
    for (int reader = 0; reader < readers; ++reader) {
        threads.emplace_back([&, reader] {
            for (int round = 0; round < 3; ++round) {
                equal[static_cast<size_t>(reader)] += areSame(packed, picture) ? 1 : 0;
            }
        });
    }
    for (std::thread &thread : threads) {
        thread.join();
    }
    QCOMPARE(std::count(equal.begin(), equal.end(), 3), readers);
}

void PackedPictureTest::picturesComeAndGoWhileOthersAreRead()
{
    constexpr int workers = 3;
    std::vector<int> equal(workers, 0);
    std::vector<std::thread> threads;
    threads.reserve(workers);
    for (int worker = 0; worker < workers; ++worker) {
        threads.emplace_back([this, worker, &equal] {
            for (int round = 0; round < 20; ++round) {
                const auto seed = static_cast<quint32>(100 * worker + round);
                const QImage picture = noise({700, 900 + round}, QImage::Format_RGB32, seed);
                const QImage packed = packedPicture(picture, m_pages);
                equal[static_cast<size_t>(worker)] += areSame(packed, picture) ? 1 : 0;
            }
        });
    }
    for (std::thread &thread : threads) {
        thread.join();
    }
    QCOMPARE(std::count(equal.begin(), equal.end(), 20), workers);
}

void PackedPictureTest::aChangedCopyLeavesThePictureAlone()
{
    const QImage picture = noise({800, 600}, QImage::Format_RGB32);
    const QImage packed = packedPicture(picture, m_pages);
    QImage changed = packed;
    changed.fill(Qt::red);
    QVERIFY(areSame(packed, picture));
    QCOMPARE(changed.pixelColor(5, 5), QColor(Qt::red));
}

void PackedPictureTest::aCopyOfItsOwnCanBeGivenToTheKernel()
{
    const QImage packed = packedPicture(noise({800, 600}, QImage::Format_RGB32), m_pages);
    QVERIFY(!isPlain(packed));
    QVERIFY(isPlain(packed.copy()));
}

void PackedPictureTest::picturesOutliveTheirPagesOwner()
{
    auto pages = std::make_shared<PixelPages>(PixelPages::openFaults());
    const QImage picture = noise(fullHd, QImage::Format_RGB32);
    const QImage packed = packedPicture(picture, pages);
    pages.reset();
    QVERIFY(areSame(packed, picture));
}

void PackedPictureTest::whatCannotBePackedStaysAsItIs_data()
{
    QTest::addColumn<QImage>("picture");
    QTest::newRow("null") << QImage();
    QTest::newRow("three bytes a pixel") << QImage(64, 64, QImage::Format_RGB888);
    QTest::newRow("gray") << QImage(64, 64, QImage::Format_Grayscale8);
    QTest::newRow("with a palette") << QImage(64, 64, QImage::Format_Indexed8);
}

void PackedPictureTest::whatCannotBePackedStaysAsItIs()
{
    QFETCH(QImage, picture);
    const QImage packed = packedPicture(picture, m_pages);
    QCOMPARE(packed.cacheKey(), picture.cacheKey());
}

void PackedPictureTest::withoutTheKernelPicturesStayAsTheyAre()
{
    const auto none = std::make_shared<PixelPages>(-1);
    QVERIFY(!none->isServed());
    QVERIFY(!none->add(*PackedPixels::of(reinterpret_cast<const uchar *>("1234"), 4)));
    const QImage picture = noise({800, 600}, QImage::Format_RGB32);
    QVERIFY(areSame(packedPicture(picture, none), picture));
}

void PackedPictureTest::withoutTheKernelOnePictureIsNotCopied()
{
    const QImage picture = noise({800, 600}, QImage::Format_RGB32);
    QCOMPARE(packedPicture(picture, std::make_shared<PixelPages>(-1)).cacheKey(),
             picture.cacheKey());
}

void PackedPictureTest::packedPicturesAreKnownFromOthers()
{
    const QImage picture = noise({800, 600}, QImage::Format_RGB32);
    const QImage packed = packedPicture(picture);
    QVERIFY(!isPacked(picture));
    QVERIFY(!isPacked(QImage()));
    QVERIFY(isPacked(packed));
    QVERIFY(isPacked(QImage(packed)));
    QVERIFY(!isPacked(packed.copy()));
}

QTEST_MAIN(PackedPictureTest)
#include "packedpicturetest.moc"
