// Every search equals the plainest one: all cosines in double precision, sorted.

#include "vectorworld.h"

#include "vectordb/matrix/rowcode.h"
#include "vectordb/matrix/scankernel.h"

#include <QTest>

#include <cmath>
#include <random>

using namespace VectorWorld;

namespace
{
constexpr std::size_t DIMENSION = 1024;
constexpr long COUNT = 5000;

QStringList ids(const Found &found)
{
    QStringList list;
    for (const std::string &id : found.ids) {
        list.append(QString::fromStdString(id));
    }
    return list;
}
} // namespace

class ExactSearchTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void tenThousandRandomVectorsAreRankedAsByBruteForce();
    void equalScoresComeInTheOrderOfInsertion();
    void crowdedScoresAreRankedAsByBruteForce();
    void vectorsOfManyShapesAreRankedAsByBruteForce_data();
    void vectorsOfManyShapesAreRankedAsByBruteForce();
    void deletedRowsLeaveTheRest();
    void noErrorExceedsItsBound_data();
    void noErrorExceedsItsBound();
    void eachErrorIsThatOfItsOwnCoding_data();
    void eachErrorIsThatOfItsOwnCoding();
    void everyKernelGivesTheSameNumber();

private:
    void compare(const std::vector<Row> &rows, const std::vector<float> &query, long count)
    {
        const QTemporaryDir directory;
        const std::shared_ptr<Database> database =
            open(directory.path(), rows.front().vector.size());
        QVERIFY(database);
        QVERIFY(insert(*database, rows).IsOk());
        same(search(*database, query, count), bruteForce(rows, query, count));
    }

    static void same(const Found &found, const Found &expected)
    {
        QVERIFY(!expected.ids.empty());
        QCOMPARE(ids(found), ids(expected));
        for (std::size_t i = 0; i < expected.scores.size(); ++i) {
            QVERIFY(std::abs(found.scores[i] - expected.scores[i]) < 1e-6F);
        }
    }
};

void ExactSearchTest::tenThousandRandomVectorsAreRankedAsByBruteForce()
{
    const QTemporaryDir directory;
    const std::shared_ptr<Database> database = open(directory.path());
    QVERIFY(database);
    std::vector<Row> rows;
    for (unsigned number = 1; number <= 10000; ++number) {
        rows.push_back(row(number, randomVector(DIMENSION, number)));
    }
    QVERIFY(insert(*database, rows).IsOk());
    for (unsigned seed : {20001U, 20002U, 20003U}) {
        const std::vector<float> query = randomVector(DIMENSION, seed);
        same(search(*database, query, COUNT), bruteForce(rows, query, COUNT));
        same(search(*database, query, 1), bruteForce(rows, query, 1));
        same(search(*database, query, 20000), bruteForce(rows, query, 20000));
    }
}

void ExactSearchTest::equalScoresComeInTheOrderOfInsertion()
{
    // Nine vectors, each many times over, some at twice their length: cosines tie by the hundred.
    std::vector<Row> rows;
    for (long number = 1; number <= 3000; ++number) {
        std::vector<float> vector = randomVector(64, static_cast<unsigned>(number * 7919 % 9));
        if (number % 3 == 0) {
            for (float &value : vector) {
                value *= 2.0F;
            }
        }
        rows.push_back(row(number, std::move(vector)));
    }
    const std::vector<float> query = randomVector(64, 100);
    for (long count : {1L, 300L, 1000L, 2999L, 3000L}) {
        compare(rows, query, count);
    }
}

void ExactSearchTest::crowdedScoresAreRankedAsByBruteForce()
{
    // Far closer together than 8 bits can tell apart.
    const std::vector<float> middle = randomVector(DIMENSION, 1);
    std::vector<Row> rows;
    for (unsigned number = 1; number <= 3000; ++number) {
        std::vector<float> vector = middle;
        const std::vector<float> noise = randomVector(DIMENSION, number + 1);
        for (std::size_t i = 0; i < DIMENSION; ++i) {
            vector[i] += noise[i] * 1e-3F;
        }
        rows.push_back(row(number, std::move(vector)));
    }
    compare(rows, middle, 500);
    compare(rows, randomVector(DIMENSION, 9999), 500);
}

void ExactSearchTest::vectorsOfManyShapesAreRankedAsByBruteForce_data()
{
    QTest::addColumn<int>("dimension");
    QTest::addColumn<int>("shape");
    for (int dimension : {2, 7, 63, 65, 1023, 1025}) {
        QTest::addRow("%d random", dimension) << dimension << 0;
        QTest::addRow("%d with one giant value", dimension) << dimension << 1;
        if (dimension > 16) { // fewer leave one value each: cosines that only rounding tells apart
            QTest::addRow("%d mostly zeros", dimension) << dimension << 2;
        }
        QTest::addRow("%d all zeros here and there", dimension) << dimension << 3;
        QTest::addRow("%d tiny and huge lengths", dimension) << dimension << 4;
    }
}

void ExactSearchTest::vectorsOfManyShapesAreRankedAsByBruteForce()
{
    QFETCH(int, dimension);
    QFETCH(int, shape);
    const auto size = static_cast<std::size_t>(dimension);
    std::vector<Row> rows;
    for (unsigned number = 1; number <= 400; ++number) {
        std::vector<float> vector = randomVector(size, number);
        for (std::size_t i = 0; i < size; ++i) {
            if (shape == 1 && i == number % size) {
                vector[i] = 1e6F;
            } else if ((shape == 2 && (i + number) % 16 != 0) || (shape == 3 && number % 10 == 0)) {
                vector[i] = 0.0F;
            } else if (shape == 4) {
                vector[i] *= number % 2 == 0 ? 1e-30F : 1e30F;
            }
        }
        rows.push_back(row(number, std::move(vector)));
    }
    compare(rows, randomVector(size, 5000), 50);
}

void ExactSearchTest::deletedRowsLeaveTheRest()
{
    const QTemporaryDir directory;
    const std::shared_ptr<Database> database = open(directory.path(), 64);
    QVERIFY(database);
    std::vector<Row> rows;
    for (unsigned number = 1; number <= 5000; ++number) {
        rows.push_back(row(number, randomVector(64, number)));
    }
    QVERIFY(insert(*database, rows).IsOk());
    QCOMPARE(erase(*database, 500, 3499), 3000);
    rows.erase(rows.begin() + 499, rows.begin() + 3499);
    const std::vector<float> query = randomVector(64, 9000);
    same(search(*database, query, 5000), bruteForce(rows, query, 5000));
    same(search(*database, query, 100), bruteForce(rows, query, 100));
}

void ExactSearchTest::noErrorExceedsItsBound_data()
{
    QTest::addColumn<int>("dimension");
    for (int dimension : {1, 3, 64, 384, 1024, 4096, 16384}) {
        QTest::addRow("%d", dimension) << dimension;
    }
}

void ExactSearchTest::noErrorExceedsItsBound()
{
    QFETCH(int, dimension);
    const auto size = static_cast<std::size_t>(dimension);
    for (unsigned seed = 1; seed <= 300; ++seed) {
        std::vector<float> vector = randomVector(size, seed);
        if (seed % 3 == 0) {
            vector[seed % size] *= 1000.0F;
        }
        std::vector<std::int8_t> codes(size);
        const VectorDB::RowScale row = VectorDB::encodeRow(vector.data(), size, codes.data());
        // Now and then the row itself, where the whole error points one way.
        const VectorDB::QueryCode query =
            VectorDB::encodeQuery(seed % 5 == 0 ? vector : randomVector(size, seed + 1000));
        const double coded =
            double{row.scale} * query.scale * VectorDB::portableScanKernel()(codes.data(), query);
        const double exact = VectorDB::exactScore(vector.data(), query);
        QVERIFY2(std::abs(coded - exact) <= VectorDB::errorBound(row, query),
                 qPrintable(QString::number(coded - exact)));
    }
}

void ExactSearchTest::eachErrorIsThatOfItsOwnCoding_data()
{
    noErrorExceedsItsBound_data();
}

// The bound of the two together is far above what random vectors reach, and would hide one that is
// wrong.
void ExactSearchTest::eachErrorIsThatOfItsOwnCoding()
{
    QFETCH(int, dimension);
    const auto size = static_cast<std::size_t>(dimension);
    for (unsigned seed = 1; seed <= 20; ++seed) {
        const std::vector<float> vector = randomVector(size, seed);
        std::vector<std::int8_t> codes(size);
        const VectorDB::RowScale row = VectorDB::encodeRow(vector.data(), size, codes.data());
        const VectorDB::QueryCode query = VectorDB::encodeQuery(vector);
        double leftOfRow = 0.0;
        double leftOfQuery = 0.0;
        for (std::size_t i = 0; i < size; ++i) {
            leftOfRow += std::pow(query.unit[i] - double{row.scale} * codes[i], 2);
            leftOfQuery += std::pow(query.unit[i] - query.scale * query.codes[i], 2);
        }
        const double half = 0.5001 * std::sqrt(double(dimension)); // of a step, for each number
        QVERIFY(std::sqrt(leftOfRow) <= half * double{row.scale});
        QVERIFY(std::sqrt(leftOfQuery) <= half * query.scale);
        QVERIFY(row.error >= std::sqrt(leftOfRow));
        QVERIFY(row.error <= std::sqrt(leftOfRow) * 1.00001 + 1e-12);
        QVERIFY(query.error >= std::sqrt(leftOfQuery));
        QVERIFY(query.error <= std::sqrt(leftOfQuery) * 1.00001 + 1e-12);
    }
}

void ExactSearchTest::everyKernelGivesTheSameNumber()
{
    for (std::size_t size : {1U, 31U, 64U, 100U, 1024U, 5000U}) {
        for (unsigned seed = 1; seed <= 50; ++seed) {
            std::vector<std::int8_t> codes(size);
            VectorDB::encodeRow(randomVector(size, seed).data(), size, codes.data());
            const VectorDB::QueryCode query = VectorDB::encodeQuery(randomVector(size, seed + 99));
            std::int64_t sum = 0;
            for (std::size_t i = 0; i < size; ++i) {
                sum += std::int64_t{codes[i]} * query.codes[i];
            }
            QCOMPARE(std::int64_t{VectorDB::portableScanKernel()(codes.data(), query)}, sum);
            QCOMPARE(std::int64_t{VectorDB::scanKernel()(codes.data(), query)}, sum);
        }
    }
}

QTEST_GUILESS_MAIN(ExactSearchTest)
#include "exactsearchtest.moc"
