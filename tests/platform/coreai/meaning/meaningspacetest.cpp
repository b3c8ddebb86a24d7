// The space of queries and frames, with vectors made by hand.

#include "coreai/meaning/meaningspace.h"
#include "coreai/engines/picturemeaning.h"
#include "coreai/engines/textmeaning.h"

#include <QtTest>

#include <cmath>
#include <limits>
#include <numeric>

using coreai::MeaningSpace;

namespace
{
using Vector = std::vector<float>;

// The program's cut-off.
constexpr double floorScore = 0.46;
constexpr double narrowBand = 0.026;

double product(const Vector &a, const Vector &b)
{
    return std::inner_product(a.begin(), a.end(), b.begin(), 0.0);
}

/// A unit vector of @p size whose cosine with the first axis is @p cosine.
Vector at(double cosine, int size, int other = 1)
{
    Vector vector(size_t(size), 0.0F);
    vector[0] = float(cosine);
    vector[size_t(other)] = float(std::sqrt(1 - cosine * cosine));
    return vector;
}

Vector text(double cosine, int other = 1)
{
    return at(cosine, coreai::TextMeaning::dimensions, other);
}

Vector picture(double cosine)
{
    return at(cosine, coreai::PictureMeaning::dimensions);
}

double score(const Vector &query, const Vector &line)
{
    return product(MeaningSpace::forQuery(query, {}), MeaningSpace::forFrame({{&line, 1}}, {}));
}
} // namespace

class MeaningSpaceTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void vectorsHaveLengthOne();
    void scoreGrowsWithTheCosine();
    void cutOffsFallWhereHitsBegin();
    void frameWithoutLinesIsNoHit();
    void queryWithoutMeaningHasNoHit();
    void frameWithPictureOnly();
    void pictureScoreGrowsWithTheCosine();
    void pictureOfOnlyOneSideChangesNothing();
    void largeLinesCountMore();
    void linesWithoutVectorsAreLeftOut();
    void orderOfLinesDoesNotMatter();
    void brokenNumbersMeanNothing();
    void constantPartSurvivesEightBits();
    void weighsLines_data();
    void weighsLines();
};

void MeaningSpaceTest::vectorsHaveLengthOne()
{
    const Vector line = text(0.3);
    const Vector seen = picture(0.2);
    for (const Vector &vector :
         {MeaningSpace::forFrame({}, {}), MeaningSpace::forFrame({{&line, 2}}, {}),
          MeaningSpace::forFrame({}, seen), MeaningSpace::forFrame({{&line, 2}}, seen),
          MeaningSpace::forQuery({}, {}), MeaningSpace::forQuery(line, {}),
          MeaningSpace::forQuery({}, seen), MeaningSpace::forQuery(line, seen)}) {
        QCOMPARE(vector.size(), size_t(MeaningSpace::dimensions));
        QVERIFY(qAbs(product(vector, vector) - 1) < 1e-5);
    }
}

void MeaningSpaceTest::scoreGrowsWithTheCosine()
{
    double before = -1;
    for (int step = -20; step <= 20; ++step) {
        const double now = score(text(1), text(step / 20.0));
        QVERIFY(now > before);
        before = now;
    }
}

void MeaningSpaceTest::cutOffsFallWhereHitsBegin()
{
    QVERIFY(score(text(1), text(0.25)) > floorScore);
    QVERIFY(score(text(1), text(0.23)) < floorScore);
    QVERIFY(score(text(1), text(0.50)) - score(text(1), text(0.32)) < narrowBand);
    QVERIFY(score(text(1), text(0.50)) - score(text(1), text(0.30)) > narrowBand);
}

void MeaningSpaceTest::frameWithoutLinesIsNoHit()
{
    const Vector frame = MeaningSpace::forFrame({}, {});
    QVERIFY(product(MeaningSpace::forQuery(text(1), {}), frame) < floorScore);
    QVERIFY(product(MeaningSpace::forQuery(text(1), picture(1)), frame) < floorScore);
    QVERIFY(product(MeaningSpace::forQuery({}, {}), frame) < floorScore);
}

void MeaningSpaceTest::queryWithoutMeaningHasNoHit()
{
    const Vector line = text(1);
    const Vector query = MeaningSpace::forQuery({}, {});
    QVERIFY(product(query, MeaningSpace::forFrame({{&line, 1}}, {})) < floorScore);
    QVERIFY(product(query, MeaningSpace::forFrame({{&line, 1}}, picture(1))) < floorScore);
}

void MeaningSpaceTest::frameWithPictureOnly()
{
    const Vector query = MeaningSpace::forQuery(text(1), picture(1));
    QVERIFY(product(query, MeaningSpace::forFrame({}, picture(0.30))) > floorScore);
    QVERIFY(product(query, MeaningSpace::forFrame({}, picture(0.20))) < floorScore);
}

void MeaningSpaceTest::pictureScoreGrowsWithTheCosine()
{
    const Vector line = text(0.3);
    const Vector query = MeaningSpace::forQuery(text(1), picture(1));
    double before = -1;
    for (int step = -10; step <= 10; ++step) {
        const double now =
            product(query, MeaningSpace::forFrame({{&line, 1}}, picture(step / 10.0)));
        QVERIFY(now > before);
        before = now;
    }
}

void MeaningSpaceTest::pictureOfOnlyOneSideChangesNothing()
{
    const Vector line = text(0.4);
    const double plain = score(text(1), line);
    const Vector frame = MeaningSpace::forFrame({{&line, 1}}, {});
    const Vector seen = MeaningSpace::forFrame({{&line, 1}}, picture(0.5));
    QVERIFY(qAbs(product(MeaningSpace::forQuery(text(1), picture(1)), frame) - plain) < 1e-6);
    QVERIFY(qAbs(product(MeaningSpace::forQuery(text(1), {}), seen) - plain) < 1e-6);
}

void MeaningSpaceTest::largeLinesCountMore()
{
    const Vector asked = text(1);
    const Vector other = text(0, 2);
    const auto frame = [&](float askedWeight) {
        return product(MeaningSpace::forQuery(asked, {}),
                       MeaningSpace::forFrame({{&asked, askedWeight}, {&other, 1}}, {}));
    };
    QVERIFY(frame(0.5F) < frame(1));
    QVERIFY(frame(1) < frame(4));
}

void MeaningSpaceTest::linesWithoutVectorsAreLeftOut()
{
    const Vector line = text(0.6);
    const Vector none;
    const Vector shorter(100, 0.1F);
    const Vector expected = MeaningSpace::forFrame({{&line, 3}}, {});
    QVERIFY(
        MeaningSpace::forFrame({{nullptr, 5}, {&none, 5}, {&shorter, 5}, {&line, 3}, {&shorter, 0}},
                               {}) == expected);
    const Vector away = text(0, 5);
    QVERIFY(MeaningSpace::forFrame({{&line, 3}, {&away, 0}, {&away, -1}}, {}) == expected);
}

void MeaningSpaceTest::orderOfLinesDoesNotMatter()
{
    const Vector a = text(0.6);
    const Vector b = text(0.1, 7);
    const Vector one = MeaningSpace::forFrame({{&a, 3}, {&b, 2}}, {});
    const Vector two = MeaningSpace::forFrame({{&b, 2}, {&a, 3}}, {});
    QVERIFY(qAbs(product(one, two) - 1) < 1e-6);
}

void MeaningSpaceTest::brokenNumbersMeanNothing()
{
    Vector broken = text(0.5);
    broken[7] = std::numeric_limits<float>::quiet_NaN();
    const Vector nothing = MeaningSpace::forFrame({}, {});
    QVERIFY(MeaningSpace::forFrame({{&broken, 1}}, {}) == nothing);
    QVERIFY(MeaningSpace::forQuery(broken, {}) == MeaningSpace::forQuery({}, {}));
    const Vector zeros(coreai::TextMeaning::dimensions, 0.0F);
    QVERIFY(MeaningSpace::forFrame({{&zeros, 1}}, {}) == nothing);
}

void MeaningSpaceTest::constantPartSurvivesEightBits()
{
    // A store of eight bits a value rounds to multiples of 1/127.
    const auto rounded = [](Vector vector) {
        for (float &value : vector) {
            value = std::round(value * 127) / 127;
        }
        return vector;
    };
    for (int step = 0; step <= 10; ++step) {
        Vector query(coreai::TextMeaning::dimensions);
        Vector line(coreai::TextMeaning::dimensions);
        for (size_t i = 0; i < query.size(); ++i) {
            query[i] = std::sin(float(i) * 1.7F);
            line[i] = float(step) / 10 * query[i] + std::cos(float(i) * 0.9F);
        }
        const Vector a = MeaningSpace::forQuery(query, {});
        const Vector b = MeaningSpace::forFrame({{&line, 1}}, {});
        const double exact = product(a, b);
        const double stored = product(rounded(a), rounded(b));
        QVERIFY2(qAbs(exact - stored) < 0.2 * narrowBand,
                 qPrintable(QString::number(exact - stored)));
    }
}

void MeaningSpaceTest::weighsLines_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<int>("height");
    QTest::addColumn<float>("expected");

    QTest::newRow("line of a page") << "brown bread with walnuts" << 20 << 80.0F;
    QTest::newRow("headline") << "brown bread with walnuts" << 40 << 160.0F;
    QTest::newRow("words of two letters count for nothing")
        << "to do: brown bread with 12 walnuts" << 20 << 80.0F;
    QTest::newRow("two ideographs are a word") << QStringLiteral("在家做面包的方法") << 20 << 80.0F;
    QTest::newRow("marks belong to their letter")
        << QStringLiteral("मिलेंगे बाज़ार दुकान किताब") << 20 << 80.0F;
    QTest::newRow("fragment") << "drwxr-xr-x 2 root" << 20 << 0.8F;
    QTest::newRow("menu") << "File Edit View" << 10 << 0.6F;
    QTest::newRow("no words") << "12:45 3 %" << 20 << 0.0F;
    QTest::newRow("empty") << "" << 20 << 0.0F;
    QTest::newRow("not a size") << "brown bread with walnuts" << -5 << 0.0F;
}

void MeaningSpaceTest::weighsLines()
{
    QFETCH(QString, text);
    QFETCH(int, height);
    QTEST(MeaningSpace::weightOf(text.toStdString(), height), "expected");
}

QTEST_APPLESS_MAIN(MeaningSpaceTest)
#include "meaningspacetest.moc"
