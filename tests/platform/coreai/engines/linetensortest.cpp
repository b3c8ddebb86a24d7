// The size at which the network sees a line.

#include "coreai/engines/reading/linetensor.h"

#include <QtTest>

#include <vector>

using namespace coreai;

class LineTensorTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void linesAreEnlargedAsTheirHeightAsks_data();
    void linesAreEnlargedAsTheirHeightAsks();
    void theWidestPartFits_data();
    void theWidestPartFits();
    void whatALineDoesNotFillIsGrey();
};

void LineTensorTest::linesAreEnlargedAsTheirHeightAsks_data()
{
    QTest::addColumn<int>("rows");
    QTest::addColumn<double>("enlarged");
    // A margin of 0.3 on both sides, 48 rows, 15 % wider than it is.
    QTest::newRow("40 rows") << 40 << 1.15 * 48 / 64;
    QTest::newRow("20 rows") << 20 << 1.15 * 48 / 32;
    QTest::newRow("16 rows") << 16 << 1.15 * 48 / 26;
    QTest::newRow("14 rows") << 14 << 2.4;
    QTest::newRow("12 rows") << 12 << 2.4;
    QTest::newRow("9 rows") << 9 << 2.4;
    QTest::newRow("3 rows") << 3 << 2.4;
}

void LineTensorTest::linesAreEnlargedAsTheirHeightAsks()
{
    QFETCH(int, rows);
    QFETCH(double, enlarged);
    const int widened = scaledWidth({400, rows}) - scaledWidth({100, rows});
    QVERIFY2(qAbs(widened - 300 * enlarged) <= 1.0, qPrintable(QString::number(widened)));
}

void LineTensorTest::theWidestPartFits_data()
{
    QTest::addColumn<int>("rows");
    for (const int rows : {3, 9, 12, 13, 20, 40, 200}) {
        QTest::addRow("%d rows", rows) << rows;
    }
}

void LineTensorTest::theWidestPartFits()
{
    QFETCH(int, rows);
    const int widest = widestPart(rows);
    QVERIFY(scaledWidth({widest, rows}) <= widestTensor);
    QCOMPARE(scaledWidth({widest + 4, rows}), widestTensor);
}

void LineTensorTest::whatALineDoesNotFillIsGrey()
{
    constexpr int width = 320;
    const cv::Mat black(12, 60, CV_8UC4, cv::Scalar(0, 0, 0, 255));
    const int filled = scaledWidth(black.size());
    std::vector<float> tensor(std::size_t(3) * tensorRows * width, 7.0F);
    fillTensor(black, width, tensor.data());
    QVERIFY(filled > 100 && filled < width);
    for (std::size_t at = 0; at < tensor.size(); ++at) {
        QCOMPARE(tensor[at], int(at % width) < filled ? -1.0F : 0.0F);
    }
}

QTEST_APPLESS_MAIN(LineTensorTest)
#include "linetensortest.moc"
