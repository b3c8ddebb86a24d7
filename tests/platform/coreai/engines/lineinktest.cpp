// Where a line holds ink, and how one that is too wide is parted: bars of ink at known columns.

#include "coreai/engines/reading/lineink.h"

#include <QtTest>

#include <opencv2/core.hpp>

using namespace coreai;

namespace
{
const cv::Scalar paper(255, 255, 255, 255);
const cv::Scalar ink(0, 0, 0, 255);

// A line of 20 rows with ink in rows 4 to 15 of the given columns.
cv::Mat lineWithInk(int columns, const std::vector<cv::Range> &bars)
{
    cv::Mat line(20, columns, CV_8UC4, paper);
    for (const cv::Range &bar : bars) {
        line(cv::Range(4, 16), bar).setTo(ink);
    }
    return line;
}
} // namespace

class LineInkTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void blankColumnsBelongToNoPart();
    void aWideLineIsCutAtTheWidestGapOfTheLastThird();
    void aGapBeforeTheLastThirdIsNoCut();
    void withoutAGapALineIsCutAtTheLeastContrast();
    void aNarrowGapAtACutIsNoNewWord();
    void everyPartFits();
    void faintNoiseIsNoInk();
    void theBackgroundIsTheBordersMedian();
    void aFrameIsMadeOfTheLineAlone();
};

void LineInkTest::blankColumnsBelongToNoPart()
{
    const auto parts = lineParts(lineWithInk(200, {{50, 60}, {90, 120}}), 1000);
    QCOMPARE(parts.size(), size_t(1));
    QCOMPARE(parts[0].left, 50);
    QCOMPARE(parts[0].left + parts[0].width, 121); // the step back to the paper belongs to it
    QVERIFY(!parts[0].newWord);
    QVERIFY(lineParts(lineWithInk(200, {}), 1000).empty());
}

void LineInkTest::aWideLineIsCutAtTheWidestGapOfTheLastThird()
{
    const cv::Mat line = lineWithInk(200, {{0, 70}, {74, 84}, {92, 95}, {98, 200}});
    const auto parts = lineParts(line, 100);
    QCOMPARE(parts.size(), size_t(3));
    QCOMPARE(parts[0].width, 85);
    QCOMPARE(parts[1].left, 92);
    QVERIFY(parts[1].newWord);
}

void LineInkTest::aGapBeforeTheLastThirdIsNoCut()
{
    const cv::Mat line = lineWithInk(200, {{0, 20}, {40, 80}, {84, 200}});
    QCOMPARE(lineParts(line, 100)[0].width, 81);
}

void LineInkTest::withoutAGapALineIsCutAtTheLeastContrast()
{
    cv::Mat line = lineWithInk(200, {{0, 200}});
    line(cv::Range(4, 16), cv::Range(88, 90)).setTo(cv::Scalar(150, 150, 150, 255));
    const auto parts = lineParts(line, 100);
    // Its second column: the first differs much from the one before it.
    QCOMPARE(parts[0].width, 89);
    QCOMPARE(parts[1].left, 89);
    QVERIFY(!parts[1].newWord);
}

void LineInkTest::aNarrowGapAtACutIsNoNewWord()
{
    // Two columns of paper, one of them the step: a gap of one.
    const auto parts = lineParts(lineWithInk(200, {{0, 90}, {92, 200}}), 100);
    QCOMPARE(parts[1].left, 92);
    QVERIFY(!parts[1].newWord);
}

void LineInkTest::everyPartFits()
{
    cv::Mat noise(20, 3000, CV_8UC4);
    cv::RNG random(3);
    random.fill(noise, cv::RNG::UNIFORM, 0, 256);
    for (const int widest : {1, 2, 50, 999}) {
        int end = 0;
        for (const LinePart &part : lineParts(noise, widest)) {
            QVERIFY(part.width >= 1 && part.width <= widest);
            QVERIFY(part.left >= end);
            end = part.left + part.width;
        }
        QCOMPARE(end, noise.cols);
    }
}

void LineInkTest::faintNoiseIsNoInk()
{
    cv::Mat noise(20, 300, CV_8UC4);
    cv::RNG random(3);
    random.fill(noise, cv::RNG::UNIFORM, 100, 110);
    QVERIFY(!hasInk(noise));
    QVERIFY(hasInk(lineWithInk(200, {{50, 60}})));
    QVERIFY(!hasInk(cv::Mat()));
    QVERIFY(!hasInk(cv::Mat(20, 20, CV_8UC1, cv::Scalar(0))));
}

void LineInkTest::theBackgroundIsTheBordersMedian()
{
    cv::Mat line(20, 100, CV_8UC4, cv::Scalar(30, 60, 90, 255));
    line.colRange(0, 40).setTo(ink);
    QCOMPARE(borderColour(line), cv::Scalar(30, 60, 90, 255));
}

void LineInkTest::aFrameIsMadeOfTheLineAlone()
{
    cv::Mat page(100, 300, CV_8UC4, cv::Scalar(1, 2, 3, 255));
    cv::Mat line = page(cv::Rect(50, 30, 200, 20));
    lineWithInk(200, {{10, 30}}).copyTo(line);
    const cv::Mat frame = framed(line, 5);
    QCOMPARE(frame.size(), cv::Size(210, 30));
    QCOMPARE(frame.at<cv::Vec4b>(0, 0), cv::Vec4b(255, 255, 255, 255));
    QCOMPARE(frame.at<cv::Vec4b>(29, 209), cv::Vec4b(255, 255, 255, 255));
}

QTEST_APPLESS_MAIN(LineInkTest)
#include "lineinktest.moc"
