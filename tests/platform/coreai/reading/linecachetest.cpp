// What the cache of read lines remembers, and for how long.

#include "coreai/reading/linecache.h"

#include <QTest>

#include <cmath>

using namespace coreai;

namespace
{
using Moment = std::chrono::steady_clock::time_point;

LineKey keyOf(std::uint64_t number)
{
    return {number, ~number, 100, 20};
}

std::vector<float> unitVector(float first)
{
    return {first, std::sqrt(1 - first * first)};
}
} // namespace

class LineCacheTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void givesWhatWasStored();
    void keysTellPixelsAndSizesApart();
    void keysDependOnPixelsAlone();
    void remembersVectorsCloselyEnough();
    void tellsAnUnknownVectorFromAnEmptyOne();
    void forgetsWhatWasNotSeenForAnHour();
    void staysWithinItsBound();
    void dropsWhatWasSeenLongestAgo();
    void aBoundBelowOneLineKeepsNothing();
};

void LineCacheTest::givesWhatWasStored()
{
    LineCache cache;
    QVERIFY(!cache.find(keyOf(1)).has_value());
    cache.store(keyOf(1), {"text", 0.75F});
    cache.store(keyOf(2), {"", 0});
    QCOMPARE(QByteArray::fromStdString(cache.find(keyOf(1))->text), QByteArray("text"));
    QCOMPARE(cache.find(keyOf(1))->confidence, 0.75F);
    QVERIFY(cache.find(keyOf(2))->text.empty());
    cache.store(keyOf(1), {"other", 1});
    QCOMPARE(QByteArray::fromStdString(cache.find(keyOf(1))->text), QByteArray("other"));
    QCOMPARE(cache.count(), std::size_t(2));
}

void LineCacheTest::keysTellPixelsAndSizesApart()
{
    const cv::Mat line(20, 100, CV_8UC4, cv::Scalar(1, 2, 3, 255));
    cv::Mat other = line.clone();
    other.at<cv::Vec4b>(19, 99)[0] ^= 1;
    const cv::Mat turned(100, 20, CV_8UC4, cv::Scalar(1, 2, 3, 255));
    QVERIFY(LineKey::of(line) == LineKey::of(line.clone()));
    QVERIFY(!(LineKey::of(line) == LineKey::of(other)));
    QVERIFY(!(LineKey::of(line) == LineKey::of(turned)));
}

void LineCacheTest::keysDependOnPixelsAlone()
{
    cv::Mat picture(50, 200, CV_8UC4, cv::Scalar(9, 9, 9, 255));
    const cv::Mat part = picture(cv::Rect(10, 10, 100, 20));
    QVERIFY(!part.isContinuous());
    QVERIFY(LineKey::of(part) == LineKey::of(part.clone()));
}

void LineCacheTest::remembersVectorsCloselyEnough()
{
    LineCache cache;
    cache.store(keyOf(1), {"text", 1});
    for (const float first : {-1.0F, -0.3F, 0.0F, 0.1234567F, 1.0F}) {
        const std::vector<float> vector = unitVector(first);
        cache.storeVector(keyOf(1), vector);
        const std::vector<float> found = *cache.findVector(keyOf(1));
        QVERIFY(std::abs(found[0] - vector[0]) < 1e-4 && std::abs(found[1] - vector[1]) < 1e-4);
    }
}

void LineCacheTest::tellsAnUnknownVectorFromAnEmptyOne()
{
    LineCache cache;
    cache.store(keyOf(1), {"12:45", 1});
    QVERIFY(!cache.findVector(keyOf(1)).has_value());
    cache.storeVector(keyOf(1), {});
    QVERIFY(cache.findVector(keyOf(1)).has_value());
    QVERIFY(cache.findVector(keyOf(1))->empty());
    cache.storeVector(keyOf(2), unitVector(1));
    QVERIFY(!cache.findVector(keyOf(2)).has_value());
}

void LineCacheTest::forgetsWhatWasNotSeenForAnHour()
{
    Moment now;
    LineCache cache(LineCache::usualBytes, [&now] { return now; });
    cache.store(keyOf(1), {"left alone", 1});
    cache.store(keyOf(2), {"seen again", 1});
    now += std::chrono::minutes(59);
    QVERIFY(cache.find(keyOf(2)).has_value());
    now += std::chrono::minutes(2);
    QVERIFY(!cache.find(keyOf(1)).has_value());
    QVERIFY(cache.find(keyOf(2)).has_value());
    now += std::chrono::minutes(61);
    cache.dropOld();
    QCOMPARE(cache.count(), std::size_t(0));
    QCOMPARE(cache.bytes(), std::size_t(0));
}

void LineCacheTest::staysWithinItsBound()
{
    LineCache cache;
    const std::vector<float> vector(384, 0.05F);
    std::size_t most = 0;
    for (std::uint64_t number = 0; number < 30000; ++number) {
        cache.store(keyOf(number), {std::string(40, 'x'), 1});
        cache.storeVector(keyOf(number), vector);
        most = std::max(most, cache.bytes());
    }
    QVERIFY(most <= LineCache::usualBytes);
    QVERIFY2(cache.count() > 12000, qPrintable(QString::number(cache.count())));
}

void LineCacheTest::dropsWhatWasSeenLongestAgo()
{
    LineCache cache(3000);
    cache.store(keyOf(0), {"kept by looking", 1});
    for (std::uint64_t number = 1; number < 100; ++number) {
        cache.store(keyOf(number), {"line", 1});
        QVERIFY(cache.find(keyOf(0)).has_value());
    }
    QVERIFY(!cache.find(keyOf(1)).has_value());
    QVERIFY(cache.find(keyOf(99)).has_value());
}

void LineCacheTest::aBoundBelowOneLineKeepsNothing()
{
    LineCache cache(10);
    cache.store(keyOf(1), {"text", 1});
    QCOMPARE(cache.count(), std::size_t(0));
    cache.storeVector(keyOf(1), unitVector(1));
}

QTEST_GUILESS_MAIN(LineCacheTest)
#include "linecachetest.moc"
