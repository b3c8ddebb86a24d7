// The payloads of answers, whole and damaged.

#include "coreai/protocol/answers.h"

#include <QTest>

#include <random>

using namespace coreai;

class AnswersTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void linesComeBack();
    void linesCutAnywhereGiveNothing();
    void countsBeyondTheBytesGiveNothing();
    void tooManyBytesOfLinesGiveNothing();
    void randomBytesNeverCrash();
    void vectorsAndTextsComeBack();
    void bitmapsMustFitTheirSize_data();
    void bitmapsMustFitTheirSize();
};

namespace
{
const std::vector<ReadLine> lines{
    {"first", {{1, 2}, {3, 4}, {5, 6}, {7, 8}}}, {"", {}}, {"第三行 \xff", {{-1, 2147483647}}}};
}

void AnswersTest::linesComeBack()
{
    const auto decoded = decodeLines(encodeLines(lines));
    QVERIFY(decoded.has_value());
    QCOMPARE(decoded->size(), lines.size());
    for (std::size_t index = 0; index < lines.size(); ++index) {
        QCOMPARE(QByteArray::fromStdString(decoded->at(index).text),
                 QByteArray::fromStdString(lines[index].text));
        QCOMPARE(decoded->at(index).corners.size(), lines[index].corners.size());
    }
    QCOMPARE(decoded->at(2).corners.at(0).y, 2147483647);
    QVERIFY(decodeLines({}).value().empty());
}

void AnswersTest::linesCutAnywhereGiveNothing()
{
    const std::string bytes = encodeLines({lines[0]});
    for (std::size_t length = 1; length < bytes.size(); ++length) {
        QVERIFY(!decodeLines(bytes.substr(0, length)).has_value());
    }
}

void AnswersTest::countsBeyondTheBytesGiveNothing()
{
    std::string bytes = encodeLines({{"a", {}}});
    bytes.replace(0, 4, "\xff\xff\xff\xff");
    QVERIFY(!decodeLines(bytes).has_value());
    bytes = encodeLines({{"a", {}}});
    bytes.replace(5, 4, "\xff\xff\xff\xff");
    QVERIFY(!decodeLines(bytes).has_value());
}

void AnswersTest::tooManyBytesOfLinesGiveNothing()
{
    QVERIFY(!decodeLines(std::string(mostLinesBytes + 8, '\0')).has_value());
}

void AnswersTest::randomBytesNeverCrash()
{
    std::mt19937 random(3);
    for (int round = 0; round < 20000; ++round) {
        std::string bytes = encodeLines(lines);
        for (unsigned change = 0; change <= random() % 4; ++change) {
            bytes[random() % bytes.size()] = char(random());
        }
        bytes.resize(random() % (bytes.size() + 1));
        decodeLines(bytes);
        decodeFloats(bytes);
        decodeVectors(bytes);
        decodeTexts(bytes);
        decodeBitmap(bytes);
        std::string text;
        float confidence = 0;
        decodeLine(bytes, text, confidence);
    }
}

void AnswersTest::vectorsAndTextsComeBack()
{
    const std::vector<std::vector<float>> vectors{{1, 2, 3}, {}, {0.5F}};
    QCOMPARE(decodeVectors(encodeVectors(vectors)).value(), vectors);
    const std::vector<std::string> texts{"", "a", std::string("\0b", 2)};
    QCOMPARE(decodeTexts(encodeTexts(texts)).value(), texts);
    QCOMPARE(decodeFloats(encodeFloats({})).value().size(), std::size_t(0));
    QVERIFY(!decodeFloats("12345").has_value());
    std::string text;
    float confidence = 0;
    QVERIFY(decodeLine(encodeLine("text", 0.5F), text, confidence));
    QCOMPARE(QByteArray::fromStdString(text), QByteArray("text"));
    QCOMPARE(confidence, 0.5F);
    QVERIFY(!decodeLine("abc", text, confidence)); // too short to hold one
}

void AnswersTest::bitmapsMustFitTheirSize_data()
{
    QTest::addColumn<int>("width");
    QTest::addColumn<int>("height");
    QTest::addColumn<int>("bytes");
    QTest::addColumn<bool>("fits");
    QTest::newRow("fits") << 3 << 2 << 24 << true;
    QTest::newRow("one pixel") << 1 << 1 << 4 << true;
    QTest::newRow("too few pixels") << 3 << 2 << 23 << false;
    QTest::newRow("too many pixels") << 3 << 2 << 25 << false;
    QTest::newRow("no width") << 0 << 2 << 0 << false;
    QTest::newRow("no height") << 2 << 0 << 0 << false;
    QTest::newRow("negative") << -1 << -1 << 4 << false;
    QTest::newRow("product overflows 32 bits") << 65536 << 65536 << 0 << false;
    QTest::newRow("largest") << 2147483647 << 2147483647 << 4 << false;
}

void AnswersTest::bitmapsMustFitTheirSize()
{
    QFETCH(int, width);
    QFETCH(int, height);
    QFETCH(int, bytes);
    QFETCH(bool, fits);
    const std::string pixels(std::size_t(bytes), 'x');
    const std::string sent = encodeBitmap({width, height, pixels});
    const std::optional<BitmapView> bitmap = decodeBitmap(sent);
    QCOMPARE(bitmap.has_value(), fits);
    if (bitmap) {
        QCOMPARE(bitmap->width, width);
        QCOMPARE(bitmap->height, height);
        QVERIFY(bitmap->pixels == pixels);
    }
}

QTEST_GUILESS_MAIN(AnswersTest)
#include "answerstest.moc"
