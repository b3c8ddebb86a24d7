// The neural engine that reads lines, on lines drawn here: what is read, that it is a function of
// the bitmap alone, and what becomes of bitmaps that hold no line.

#include "coreai/engines/modelfolders.h"
#include "coreai/engines/reading/loadlinerecognizer.h"
#include "drawnline.h"

#include <QtTest>

#include <opencv2/imgproc.hpp>

#include <memory>
#include <random>

using namespace coreai;

namespace
{
QString told(const std::optional<LineText> &line)
{
    return QString::fromStdString(line.value().text).simplified();
}

const QString english = QStringLiteral("The build is green again after the last commit");
const QString chinese = QStringLiteral("请把上周的测试报告发给我");

cv::Mat english16()
{
    return bitmapOf(drawn({english}));
}
} // namespace

class LineRecognizerTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void linesAreReadRight_data();
    void linesAreReadRight();
    void oneOfTheTwoArithmeticsIsTaken();
    void aSureLineSaysSo();
    void theSameBitmapGivesTheSameTextWhateverWasReadBetween();
    void linesReadSideBySideHaveTheTextOfEachAlone();
    void theSameLineSideBySideWithItselfHasItsText();
    void noLinesAreReadAsNone();
    void theIgnoredByteDoesNotChangeTheText();
    void aLineOfTheBitmapOfAnotherIsReadAsItsCopy();
    void blankColumnsAroundALineDoNotChangeTheText();
    void aLineWiderThanTheNetworkIsReadInParts();
    void whatHoldsNoLineGivesNoText_data();
    void whatHoldsNoLineGivesNoText();
    void whatIsNoTextIsSurvived_data();
    void whatIsNoTextIsSurvived();

private:
    std::unique_ptr<LineRecognizer> m_engine;
    std::unique_ptr<LineRecognizer> m_floats;
    std::unique_ptr<LineRecognizer> m_integers;
};

void LineRecognizerTest::initTestCase()
{
    m_engine = loadLineRecognizer(ModelFolders::standard());
    if (m_engine->name() != "PP-OCRv6 small") {
        QSKIP("the line model or OpenVINO is not there (scripts/setup brings both)");
    }
    m_floats = loadLineRecognizer(ModelFolders::standard(), LineEngine::OpenVinoFloats);
    m_integers = loadLineRecognizer(ModelFolders::standard(), LineEngine::OpenVinoIntegers);
}

void LineRecognizerTest::linesAreReadRight_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<int>("pixelSize");
    QTest::addColumn<QColor>("ink");
    QTest::addColumn<QColor>("paper");
    QTest::addColumn<QString>("family");

    const QString sans = QStringLiteral("DejaVu Sans");
    const QString mono = QStringLiteral("DejaVu Sans Mono");
    const QString serif = QStringLiteral("DejaVu Serif");
    for (const int size : {9, 10, 11, 13, 16, 24, 40}) {
        QTest::addRow("English %d px", size)
            << english << size << QColor(Qt::black) << QColor(Qt::white) << sans;
        QTest::addRow("Chinese %d px", size)
            << chinese << size << QColor(Qt::black) << QColor(Qt::white) << sans;
    }
    QTest::newRow("light on dark")
        << english << 14 << QColor(0xd4, 0xd4, 0xd4) << QColor(0x1e, 0x1e, 0x1e) << sans;
    QTest::newRow("Chinese light on dark")
        << chinese << 14 << QColor(0xd4, 0xd4, 0xd4) << QColor(0x1e, 0x1e, 0x1e) << sans;
    QTest::newRow("blue on yellow")
        << english << 14 << QColor(0x10, 0x30, 0xc0) << QColor(0xff, 0xf0, 0x80) << sans;
    QTest::newRow("red on white") << english << 14 << QColor(0xd0, 0x10, 0x10) << QColor(Qt::white)
                                  << sans;
    QTest::newRow("grey on white")
        << english << 14 << QColor(0x88, 0x88, 0x88) << QColor(Qt::white) << sans;
    QTest::newRow("monospaced") << QStringLiteral("return std::move(answer);") << 13
                                << QColor(Qt::black) << QColor(Qt::white) << mono;
    QTest::newRow("serif") << english << 18 << QColor(Qt::black) << QColor(Qt::white) << serif;
    QTest::newRow("mixed scripts") << QStringLiteral("打开 Settings 里的选项") << 16
                                   << QColor(Qt::black) << QColor(Qt::white) << sans;
    QTest::newRow("digits") << QStringLiteral("2026-11-21 10:45:07") << 13 << QColor(Qt::black)
                            << QColor(Qt::white) << sans;
    QTest::newRow("one word") << QStringLiteral("Help") << 13 << QColor(Qt::black)
                              << QColor(Qt::white) << sans;
    QTest::newRow("without ascenders") << QStringLiteral("more on a scene") << 14
                                       << QColor(Qt::black) << QColor(Qt::white) << sans;
}

void LineRecognizerTest::linesAreReadRight()
{
    QFETCH(QString, text);
    QFETCH(int, pixelSize);
    QFETCH(QColor, ink);
    QFETCH(QColor, paper);
    QFETCH(QString, family);
    const cv::Mat line = bitmapOf(drawn({text, pixelSize, ink, paper, family}));
    QCOMPARE(told(m_floats->read(line)), text);
    QCOMPARE(told(m_integers->read(line)), text);
}

void LineRecognizerTest::oneOfTheTwoArithmeticsIsTaken()
{
    const float taken = m_engine->read(english16())->confidence;
    const float floats = m_floats->read(english16())->confidence;
    const float integers = m_integers->read(english16())->confidence;
    QVERIFY(floats != integers);
    QVERIFY(taken == floats || taken == integers);
}

void LineRecognizerTest::aSureLineSaysSo()
{
    const LineText sure = m_engine->read(english16()).value();
    QVERIFY2(sure.confidence > 0.9F && sure.confidence <= 1.0F,
             qPrintable(QString::number(double(sure.confidence))));
}

void LineRecognizerTest::theSameBitmapGivesTheSameTextWhateverWasReadBetween()
{
    std::mt19937 random(7);
    const LineText first = m_engine->read(english16()).value();
    for (int round = 0; round < 10; ++round) {
        // Other widths make the engine shape its network anew.
        const int letters = int(1 + random() % 40);
        m_engine->read(bitmapOf(drawn({english.left(letters), int(10 + random() % 20)})));
        const LineText again = m_engine->read(english16()).value();
        QCOMPARE(again.text, first.text);
        QCOMPARE(again.confidence, first.confidence);
    }
    // Nor does it matter which line a freshly loaded engine reads first.
    const auto fresh = loadLineRecognizer(ModelFolders::standard());
    QCOMPARE(fresh->read(english16())->confidence, first.confidence);
}

void LineRecognizerTest::linesReadSideBySideHaveTheTextOfEachAlone()
{
    std::vector<cv::Mat> lines;
    for (const int size : {11, 14, 19}) {
        for (const QString &text : {english, chinese, english.left(9)}) {
            lines.push_back(bitmapOf(drawn({text, size})));
        }
    }
    lines.push_back(bitmapOf(drawn({english.repeated(4), 14})));         // in parts
    lines.emplace_back();                                                // no line
    lines.emplace_back(20, 300, CV_8UC4, cv::Scalar(20, 120, 220, 255)); // no ink
    std::vector<LineText> alone;
    alone.reserve(lines.size());
    for (const cv::Mat &line : lines) {
        alone.push_back(m_engine->read(line).value());
    }
    std::mt19937 random(3);
    for (int round = 0; round < 3; ++round) {
        const auto together = m_engine->readAll(lines);
        QCOMPARE(together.size(), lines.size());
        for (std::size_t index = 0; index < lines.size(); ++index) {
            QCOMPARE(together[index]->text, alone[index].text);
            QCOMPARE(together[index]->confidence, alone[index].confidence);
        }
        // Others beside each, and in another order.
        for (std::size_t index = lines.size() - 1; index > 0; --index) {
            const std::size_t other = random() % (index + 1);
            std::swap(lines[index], lines[other]);
            std::swap(alone[index], alone[other]);
        }
    }
}

void LineRecognizerTest::theSameLineSideBySideWithItselfHasItsText()
{
    const LineText alone = m_engine->read(english16()).value();
    for (const auto &line : m_engine->readAll(std::vector<cv::Mat>(12, english16()))) {
        QCOMPARE(line->text, alone.text);
        QCOMPARE(line->confidence, alone.confidence);
    }
}

void LineRecognizerTest::noLinesAreReadAsNone()
{
    QVERIFY(m_engine->readAll({}).empty());
}

void LineRecognizerTest::theIgnoredByteDoesNotChangeTheText()
{
    const cv::Mat line = english16();
    cv::Mat other = line.clone();
    for (int y = 0; y < other.rows; ++y) {
        for (int x = 0; x < other.cols; ++x) {
            other.at<cv::Vec4b>(y, x)[3] = uchar(x * y);
        }
    }
    QCOMPARE(m_engine->read(other)->confidence, m_engine->read(line)->confidence);
}

void LineRecognizerTest::aLineOfTheBitmapOfAnotherIsReadAsItsCopy()
{
    // Rows of a part of a picture do not follow each other in memory.
    const cv::Mat line = english16();
    cv::Mat page(200, line.cols + 100, CV_8UC4, cv::Scalar(40, 90, 140, 255));
    cv::Mat place = page(cv::Rect(37, 61, line.cols, line.rows));
    line.copyTo(place);
    QCOMPARE(m_engine->read(place)->confidence, m_engine->read(line)->confidence);
}

void LineRecognizerTest::blankColumnsAroundALineDoNotChangeTheText()
{
    const cv::Mat line = english16();
    cv::Mat wide;
    cv::copyMakeBorder(line, wide, 0, 0, 300, 500, cv::BORDER_CONSTANT,
                       cv::Scalar(255, 255, 255, 255));
    QCOMPARE(m_engine->read(wide)->confidence, m_engine->read(line)->confidence);
}

void LineRecognizerTest::aLineWiderThanTheNetworkIsReadInParts()
{
    QStringList words;
    for (int sentence = 0; sentence < 12; ++sentence) {
        words << english.split(QLatin1Char(' '));
    }
    const QString text = words.join(QLatin1Char(' '));
    const cv::Mat line = bitmapOf(drawn({text, 14}));
    QVERIFY(line.cols > 3000);
    // Cut between words, joined with what stood there.
    QCOMPARE(told(m_engine->read(line)), text);

    const QString han = chinese.repeated(12);
    QCOMPARE(told(m_engine->read(bitmapOf(drawn({han, 16})))).remove(QLatin1Char(' ')), han);
}

void LineRecognizerTest::whatHoldsNoLineGivesNoText_data()
{
    QTest::addColumn<QSize>("size");
    QTest::addColumn<bool>("empty");
    QTest::newRow("an empty picture") << QSize(1, 1) << true;
    QTest::newRow("one pixel") << QSize(1, 1) << false;
    QTest::newRow("one column") << QSize(1, 40) << false;
    QTest::newRow("two rows") << QSize(40, 2) << false;
    QTest::newRow("one colour") << QSize(300, 20) << false;
    QTest::newRow("one colour, 10000 pixels wide") << QSize(10000, 20) << false;
}

void LineRecognizerTest::whatHoldsNoLineGivesNoText()
{
    QFETCH(QSize, size);
    QFETCH(bool, empty);
    const cv::Mat line =
        empty ? cv::Mat()
              : cv::Mat(size.height(), size.width(), CV_8UC4, cv::Scalar(20, 120, 220, 255));
    const LineText read = m_engine->read(line).value();
    QCOMPARE(read.text, std::string());
    QCOMPARE(read.confidence, 0.0F);
}

void LineRecognizerTest::whatIsNoTextIsSurvived_data()
{
    QTest::addColumn<QSize>("size");
    QTest::newRow("smallest") << QSize(2, 3);
    QTest::newRow("narrow and tall") << QSize(3, 900);
    QTest::newRow("wide and low") << QSize(10000, 4);
    QTest::newRow("line") << QSize(640, 20);
    QTest::newRow("10000 pixels wide") << QSize(10000, 24);
    QTest::newRow("page") << QSize(1200, 800);
}

void LineRecognizerTest::whatIsNoTextIsSurvived()
{
    QFETCH(QSize, size);
    cv::Mat noise(size.height(), size.width(), CV_8UC4);
    cv::RNG random(11);
    random.fill(noise, cv::RNG::UNIFORM, 0, 256);
    const LineText read = m_engine->read(noise).value();
    QVERIFY(read.confidence >= 0.0F && read.confidence <= 1.0F);
    QCOMPARE(m_engine->read(noise)->text, read.text);

    // Right-to-left text has no letters in the model: whatever is read, the next line is read
    // right.
    m_engine->read(bitmapOf(drawn({QStringLiteral("مرحبا بالعالم שלום עולם"), 16})));
    QCOMPARE(told(m_engine->read(english16())), english);
}

QTEST_MAIN(LineRecognizerTest)
#include "linerecognizertest.moc"
