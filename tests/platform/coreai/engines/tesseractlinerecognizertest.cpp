// The engine that reads lines where no model is there, on lines drawn here.

#include "coreai/engines/modelfolders.h"
#include "coreai/engines/reading/loadlinerecognizer.h"
#include "drawnline.h"

#include <QtTest>

#include <memory>

using namespace coreai;

namespace
{
// It puts blanks between Chinese characters.
QString withoutBlanks(const QString &text)
{
    return QString(text).remove(QLatin1Char(' '));
}

QString told(const std::optional<LineText> &line)
{
    return withoutBlanks(QString::fromStdString(line.value().text).simplified());
}
} // namespace

class TesseractLineRecognizerTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void linesAreReadWhateverWasReadBefore_data();
    void linesAreReadWhateverWasReadBefore();
    void whatHoldsNoLineGivesNoText_data();
    void whatHoldsNoLineGivesNoText();
    void noiseIsSurvived();
    void severalLinesAreReadAsEachAlone();

private:
    std::unique_ptr<LineRecognizer> m_engine;
};

void TesseractLineRecognizerTest::initTestCase()
{
    m_engine = loadLineRecognizer(ModelFolders(QStringList()), LineEngine::Tesseract);
    if (m_engine->name().rfind("Tesseract", 0) != 0) {
        QSKIP("Tesseract's language data is not there (packages tesseract-ocr-eng, -chi-sim)");
    }
}

void TesseractLineRecognizerTest::linesAreReadWhateverWasReadBefore_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QColor>("ink");
    QTest::addColumn<QColor>("paper");
    const QString english = QStringLiteral("The build is green again after the last commit");
    QTest::newRow("English") << english << QColor(Qt::black) << QColor(Qt::white);
    QTest::newRow("light on dark") << english << QColor(Qt::white) << QColor(0x20, 0x20, 0x20);
    QTest::newRow("Chinese") << QStringLiteral("请把上周的测试报告发给我") << QColor(Qt::black)
                             << QColor(Qt::white);
}

void TesseractLineRecognizerTest::linesAreReadWhateverWasReadBefore()
{
    QFETCH(QString, text);
    QFETCH(QColor, ink);
    QFETCH(QColor, paper);
    const cv::Mat line = bitmapOf(drawn({text, 18, ink, paper}));
    const LineText first = m_engine->read(line).value();
    QCOMPARE(told(first), withoutBlanks(text));
    m_engine->read(bitmapOf(drawn({QStringLiteral("屏幕截图的存储空间"), 30})));
    const LineText again = m_engine->read(line).value();
    QCOMPARE(again.text, first.text);
    QCOMPARE(again.confidence, first.confidence);
}

void TesseractLineRecognizerTest::whatHoldsNoLineGivesNoText_data()
{
    QTest::addColumn<QSize>("size");
    QTest::newRow("an empty picture") << QSize(0, 0);
    QTest::newRow("one pixel") << QSize(1, 1);
    QTest::newRow("one colour") << QSize(300, 20);
}

void TesseractLineRecognizerTest::whatHoldsNoLineGivesNoText()
{
    QFETCH(QSize, size);
    const cv::Mat line(size.height(), size.width(), CV_8UC4, cv::Scalar(20, 120, 220, 255));
    const LineText read = m_engine->read(line).value();
    QCOMPARE(read.text, std::string());
    QCOMPARE(read.confidence, 0.0F);
}

void TesseractLineRecognizerTest::noiseIsSurvived()
{
    cv::RNG random(11);
    for (const cv::Size size :
         {cv::Size(2, 3), cv::Size(3, 200), cv::Size(4000, 4), cv::Size(640, 20)}) {
        cv::Mat noise(size, CV_8UC4);
        random.fill(noise, cv::RNG::UNIFORM, 0, 256);
        const LineText read = m_engine->read(noise).value();
        QVERIFY(read.confidence >= 0.0F && read.confidence <= 1.0F);
    }
}

void TesseractLineRecognizerTest::severalLinesAreReadAsEachAlone()
{
    const std::vector<cv::Mat> lines{bitmapOf(drawn({QStringLiteral("The first line"), 20})),
                                     cv::Mat(),
                                     bitmapOf(drawn({QStringLiteral("and another one"), 14}))};
    const auto texts = m_engine->readAll(lines);
    QCOMPARE(texts.size(), lines.size());
    QVERIFY(!texts[0]->text.empty());
    for (std::size_t index = 0; index < lines.size(); ++index) {
        QCOMPARE(texts[index]->text, m_engine->read(lines[index])->text);
    }
}

QTEST_MAIN(TesseractLineRecognizerTest)
#include "tesseractlinerecognizertest.moc"
