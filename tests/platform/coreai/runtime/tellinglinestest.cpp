// Which lines of a frame get a vector.

#include "coreai/runtime/tellinglines.h"

#include <QTest>

using namespace coreai;

namespace
{
const std::string sentence = "the harbour crane lifts timber";
const std::string longSentence = "the harbour crane lifts timber from the quay at noon";
const std::string fragment = "Edit View";

FrameReader::Line line(const std::string &text, int height = 20)
{
    return {{0, 0, 400, height}, {}, LineText{text, 1}, {}};
}
} // namespace

class TellingLinesTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void longSentencesInLargeTypeComeFirst();
    void fragmentsAreLeftOutBesideASentence();
    void aFrameOfFragmentsHasThem();
    void chineseSentencesAreSentences();
    void unreadAndEmptyLinesTellNothing();
    void noMoreThanTheMost_data();
    void noMoreThanTheMost();
};

void TellingLinesTest::longSentencesInLargeTypeComeFirst()
{
    const std::vector<std::size_t> expected{2, 1, 0};
    QCOMPARE(tellingLines({line(sentence), line(longSentence), line(sentence, 60)}), expected);
}

void TellingLinesTest::fragmentsAreLeftOutBesideASentence()
{
    const std::vector<std::size_t> expected{1};
    QCOMPARE(tellingLines({line(fragment, 90), line(sentence, 9), line(fragment)}), expected);
}

void TellingLinesTest::aFrameOfFragmentsHasThem()
{
    const std::vector<std::size_t> expected{1, 0, 2};
    QCOMPARE(tellingLines({line(fragment), line(fragment, 30), line(fragment)}), expected);
}

void TellingLinesTest::chineseSentencesAreSentences()
{
    const std::vector<std::size_t> expected{1};
    QCOMPARE(tellingLines({line("文件"), line("请把上周的测试报告发给我")}), expected);
}

void TellingLinesTest::unreadAndEmptyLinesTellNothing()
{
    const FrameReader::Line unread{{0, 0, 400, 20}, {}, std::nullopt, {}};
    QVERIFY(tellingLines({unread, line("")}).empty());
    QVERIFY(tellingLines({}).empty());
}

void TellingLinesTest::noMoreThanTheMost_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::newRow("sentences") << QByteArray::fromStdString(sentence);
    QTest::newRow("fragments") << QByteArray::fromStdString(fragment);
}

void TellingLinesTest::noMoreThanTheMost()
{
    QFETCH(QByteArray, text);
    const std::vector<FrameReader::Line> lines(300, line(text.toStdString()));
    QCOMPARE(tellingLines(lines).size(), mostTellingLines);
    QCOMPARE(tellingLines({lines.begin(), lines.begin() + 7}).size(), std::size_t(7));
}

QTEST_APPLESS_MAIN(TellingLinesTest)
#include "tellinglinestest.moc"
