// Lines in parts: what is cut, in which order it is told, and how its texts are joined again.

#include "coreai/engines/reading/partedlines.h"

#include <QtTest>

#include <opencv2/imgproc.hpp>

using namespace coreai;

namespace
{
// White, with a black bar at each of `bars`, four columns wide.
cv::Mat lineWith(int width, const std::vector<int> &bars)
{
    cv::Mat line(16, width, CV_8UC4, cv::Scalar(255, 255, 255, 255));
    for (const int left : bars) {
        cv::rectangle(line, cv::Rect(left, 2, 4, 12), cv::Scalar(0, 0, 0, 255), cv::FILLED);
    }
    return line;
}

// Bars from end to end, `gap` columns between every tenth and the next.
cv::Mat longLine(int width, int gap)
{
    std::vector<int> bars;
    for (int left = 2; left + 6 < width; left += bars.size() % 10 == 0 ? 4 + gap : 5) {
        bars.push_back(left);
    }
    return lineWith(width, bars);
}
} // namespace

class PartedLinesTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void partsAreToldFromTheWidest();
    void linesWithoutInkHaveNoPartAndNoText();
    void textsComeInTheOrderOfTheLines();
    void aLineOfWhichAPartIsMissingHasFailed();
    void partsAreJoinedAsTheyStood_data();
    void partsAreJoinedAsTheyStood();
    void theConfidenceIsTheMeanOverTheText();
};

void PartedLinesTest::partsAreToldFromTheWidest()
{
    const std::vector<cv::Mat> lines{longLine(60, 8), longLine(400, 8), longLine(120, 8)};
    const PartedLines parted(lines);
    QCOMPARE(parted.count(), std::size_t(3));
    QVERIFY(parted.part(0).cols > parted.part(1).cols);
    QVERIFY(parted.part(1).cols > parted.part(2).cols);
    // The line's own pixels, not a copy.
    QCOMPARE(parted.part(0).datastart, lines[1].datastart);
}

void PartedLinesTest::linesWithoutInkHaveNoPartAndNoText()
{
    PartedLines parted({cv::Mat(), lineWith(200, {}), lineWith(200, {20, 30}), cv::Mat()});
    QCOMPARE(parted.count(), std::size_t(1));
    parted.put(0, {"text", 0.5F});
    const auto texts = parted.texts();
    QCOMPARE(texts.size(), std::size_t(4));
    for (const std::size_t without : {0, 1, 3}) {
        QVERIFY(texts[without].has_value());
        QCOMPARE(texts[without]->text, std::string());
        QCOMPARE(texts[without]->confidence, 0.0F);
    }
    QCOMPARE(texts[2]->text, std::string("text"));
    QVERIFY(PartedLines(std::vector<cv::Mat>()).texts().empty());
}

void PartedLinesTest::textsComeInTheOrderOfTheLines()
{
    PartedLines parted({longLine(60, 8), longLine(300, 8), longLine(120, 8)});
    parted.put(0, {"widest", 1});
    parted.put(1, {"middle", 1});
    parted.put(2, {"narrowest", 1});
    const auto texts = parted.texts();
    QCOMPARE(texts[0]->text, std::string("narrowest"));
    QCOMPARE(texts[1]->text, std::string("widest"));
    QCOMPARE(texts[2]->text, std::string("middle"));
}

void PartedLinesTest::aLineOfWhichAPartIsMissingHasFailed()
{
    PartedLines parted({longLine(1200, 8), longLine(60, 8)});
    QVERIFY(parted.count() > 2);
    const std::size_t narrowest = parted.count() - 1;
    parted.put(0, {"a part", 1});
    parted.put(narrowest, {"whole", 1});
    const auto texts = parted.texts();
    QVERIFY(!texts[0].has_value());
    QCOMPARE(texts[1]->text, std::string("whole"));
}

void PartedLinesTest::partsAreJoinedAsTheyStood_data()
{
    QTest::addColumn<int>("gap");
    QTest::addColumn<QString>("part");
    QTest::addColumn<QString>("between");
    QTest::newRow("words") << 12 << QStringLiteral("word") << QStringLiteral(" ");
    QTest::newRow("letters of one word") << 1 << QStringLiteral("word") << QString();
    QTest::newRow("ideographs") << 12 << QStringLiteral("测试") << QString();
    QTest::newRow("accented ends") << 12 << QStringLiteral("élé") << QStringLiteral(" ");
    QTest::newRow("nothing was read") << 12 << QString() << QString();
}

void PartedLinesTest::partsAreJoinedAsTheyStood()
{
    QFETCH(int, gap);
    QFETCH(QString, part);
    QFETCH(QString, between);
    PartedLines parted(std::vector<cv::Mat>(1, longLine(1600, gap)));
    const int count = int(parted.count());
    QVERIFY(count >= 3);
    for (int number = 0; number < count; ++number) {
        parted.put(std::size_t(number), {part.toStdString(), 0.75F});
    }
    QStringList expected;
    for (int number = 0; number < count; ++number) {
        expected << part;
    }
    QCOMPARE(QString::fromStdString(parted.texts().front()->text), expected.join(between));
}

void PartedLinesTest::theConfidenceIsTheMeanOverTheText()
{
    PartedLines parted(std::vector<cv::Mat>(1, longLine(800, 12)));
    QCOMPARE(parted.count(), std::size_t(2));
    parted.put(0, {"abcdef", 1.0F});
    parted.put(1, {"gh", 0.5F});
    QCOMPARE(parted.texts().front()->confidence, 0.875F);
}

QTEST_APPLESS_MAIN(PartedLinesTest)
#include "partedlinestest.moc"
