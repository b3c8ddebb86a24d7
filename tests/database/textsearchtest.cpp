// The text search through the month databases and the look-ups of single frames.

#include "database/ocrscreenshotdatabase.h"

#include "storetest.h"
#include "support/fakeclock.h"
#include "support/logcapture.h"

#include <QDir>
#include <QTest>

#include <limits>

using TestStore::at;
using TestStore::frame;
using TestStore::query;
using TestStore::value;

namespace
{
const QString PREPARE_FAILED = QStringLiteral("Error preparing statement: ");
const QString SEARCHING = QStringLiteral("Searching ocr database: ");
constexpr char COUNT[] = "SELECT count(*) FROM screenshots;";

SearchQuery queryOf(const QString &text, quint32 limit = 0)
{
    SearchQuery query;
    query.text = text;
    query.limit = limit;
    return query;
}

QList<uint> indexes(const QVector<ScreenShotData> &found)
{
    QList<uint> result;
    for (const ScreenShotData &data : found) {
        result.append(data.frameIndexOfVideo);
    }
    return result;
}
} // namespace

class TextSearchTest : public StoreTest
{
    Q_OBJECT

private Q_SLOTS:
    void anEmptyQueryGivesEveryRowNewestFirstAndWarns();
    void aLimitCountsOverTheMonths();
    void aLimitThatIsMetLeavesOlderMonthsAlone();
    void everyMonthIsSearchedWhateverTheTimes();
    void aRowsFieldsAreGiven();
    void textsThatAreNotWantedAreLeftOut_data();
    void textsThatAreNotWantedAreLeftOut();
    void missingTextsReadAsEmpty();
    void timeIsReadWith32Bits();

    void textsAreFound_data();
    void textsAreFound();
    void timesBoundTheSearch_data();
    void timesBoundTheSearch();

    void anUnbalancedQuoteStopsTheSearch();
    void aQuoteKeepsItsMeaning();
    void whatFollowsASemicolonIsNotRun();
    void noQueryReachesTheLog_data();
    void noQueryReachesTheLog();
    void aFileThatIsNoMonthIsPassedOver();

    void aFrameOfAVideoIsLookedUp();
    void aFrameOfAVideoMustLieOnTheVideosDay();
    void aFrameOfADayIsLookedUpWithoutItsDate();
    void aDayIncludesItsFirstAndItsLastSecond_data();
    void aDayIncludesItsFirstAndItsLastSecond();
    void theFirstRowSavedIsTheFrameOfADay();
    void aFrameThatIsNotThereIsEmpty();
    void aMonthWithoutAFileHasNoFrames();
    void aMonthWithoutATableHasNoFrames();

private:
    QString march() const { return m_home->monthFile(QStringLiteral("2024-03")); }
};

void TextSearchTest::anEmptyQueryGivesEveryRowNewestFirstAndWarns()
{
    FakeClock::set(QDateTime(QDate(2024, 1, 1), QTime(12, 0)));
    OcrScreenshotDatabase store;
    QVERIFY(store.saveScreenshotData(frame("2024-01-20 10:00:00", 1)));
    QVERIFY(store.saveScreenshotData(frame("2024-01-10 10:00:00", 2)));
    QVERIFY(store.saveScreenshotData(frame("2024-02-10 10:00:00", 3)));
    QVERIFY(store.saveScreenshotData(frame("2024-03-10 10:00:00", 4)));
    QVERIFY(store.saveScreenshotData(frame("2024-03-12 10:00:00", 5)));
    m_log->clear();
    QCOMPARE(indexes(store.getOcrScreenshotData({})), (QList<uint>{5, 4, 3, 1, 2}));
    QCOMPARE(
        m_log->texts(QtWarningMsg),
        QStringList{QStringLiteral("request 0 result, will actually return all available data")});
    QCOMPARE(m_log->texts(QtDebugMsg), (QStringList{SEARCHING + QStringLiteral(" \"2024-03\""),
                                                    SEARCHING + QStringLiteral(" \"2024-02\""),
                                                    SEARCHING + QStringLiteral(" \"2024-01\"")}));
}

void TextSearchTest::aLimitCountsOverTheMonths()
{
    FakeClock::set(QDateTime(QDate(2024, 2, 1), QTime(12, 0)));
    OcrScreenshotDatabase store;
    for (quint32 index = 1; index <= 5; ++index) {
        QVERIFY(store.saveScreenshotData(
            frame(QStringLiteral("2024-02-1%1 10:00:00").arg(index), index)));
    }
    QVERIFY(store.saveScreenshotData(frame("2024-03-10 10:00:00", 6)));
    QVERIFY(store.saveScreenshotData(frame("2024-03-11 10:00:00", 7)));
    m_log->clear();
    QCOMPARE(indexes(store.getOcrScreenshotData(queryOf({}, 3))), (QList<uint>{7, 6, 5}));
    QCOMPARE(m_log->texts(QtWarningMsg), QStringList());
}

void TextSearchTest::aLimitThatIsMetLeavesOlderMonthsAlone()
{
    FakeClock::set(QDateTime(QDate(2024, 2, 1), QTime(12, 0)));
    OcrScreenshotDatabase store;
    QVERIFY(store.saveScreenshotData(frame("2024-02-10 10:00:00", 1)));
    QVERIFY(store.saveScreenshotData(frame("2024-03-10 10:00:00", 2)));
    QVERIFY(store.saveScreenshotData(frame("2024-03-11 10:00:00", 3)));
    m_log->clear();
    QCOMPARE(indexes(store.getOcrScreenshotData(queryOf({}, 2))), (QList<uint>{3, 2}));
    QCOMPARE(m_log->count(QtDebugMsg, SEARCHING), 1);
}

void TextSearchTest::everyMonthIsSearchedWhateverTheTimes()
{
    FakeClock::set(QDateTime(QDate(2024, 2, 1), QTime(12, 0)));
    OcrScreenshotDatabase store;
    QVERIFY(store.saveScreenshotData(frame("2024-02-10 10:00:00", 1)));
    QVERIFY(store.saveScreenshotData(frame("2024-03-10 10:00:00", 2)));
    SearchQuery query;
    query.startTime = static_cast<quint64>(at("2024-03-01 00:00:00"));
    query.endTime = static_cast<quint64>(at("2024-03-31 00:00:00"));
    m_log->clear();
    QCOMPARE(indexes(store.getOcrScreenshotData(query)), QList<uint>{2});
    QCOMPARE(m_log->count(QtDebugMsg, SEARCHING), 2);
}

void TextSearchTest::aRowsFieldsAreGiven()
{
    OcrScreenshotDatabase store;
    ScreenShotData saved = frame("2024-03-10 23:59:59", 7, "/a.desktop", "a text");
    saved.frameIndexOfDay = 77;
    QVERIFY(store.saveScreenshotData(saved));
    const QVector<ScreenShotData> found = store.getOcrScreenshotData(queryOf("text"));
    QCOMPARE(found.size(), 1);
    QCOMPARE(found.first().videoName, QStringLiteral("2024-03-10_10-00-00.mp4"));
    QCOMPARE(found.first().ocrText, QStringLiteral("a text"));
    QCOMPARE(found.first().frameIndexOfVideo, 7U);
    QCOMPARE(found.first().frameIndexOfDay, 77U);
    QCOMPARE(found.first().realTime, saved.realTime);
    QCOMPARE(found.first().desktopFilePath, QStringLiteral("/a.desktop"));
    QCOMPARE(found.first().date, QStringLiteral("2024-03-10"));
}

void TextSearchTest::textsThatAreNotWantedAreLeftOut_data()
{
    QTest::addColumn<QString>("text");

    QTest::newRow("everything") << QString();
    QTest::newRow("a word") << QStringLiteral("text");
    QTest::newRow("a part of the texts") << QStringLiteral("text 3");
    QTest::newRow("a quote, which goes on as SQL")
        << QStringLiteral("3%' OR ocr_text LIKE '%text 1");
    QTest::newRow("SQL that counts on the columns")
        << QStringLiteral("3%' UNION SELECT * FROM screenshots WHERE ocr_text LIKE '%2");
    QTest::newRow("a quote too many") << QStringLiteral("it's");
    QTest::newRow("nothing") << QStringLiteral("none");
}

void TextSearchTest::textsThatAreNotWantedAreLeftOut()
{
    QFETCH(const QString, text);
    FakeClock::set(QDateTime(QDate(2024, 1, 1), QTime(12, 0)));
    OcrScreenshotDatabase store;
    for (quint32 index = 1; index <= 6; ++index) {
        QVERIFY(store.saveScreenshotData(frame(
            QStringLiteral("2024-0%1-10 10:00:00").arg(index / 3 + 1), index,
            QStringLiteral("/app%1.desktop").arg(index), QStringLiteral("text %1").arg(index))));
    }
    QVector<ScreenShotData> whole = store.getOcrScreenshotData(queryOf(text));
    const QVector<ScreenShotData> others =
        store.getOcrScreenshotData(queryOf(text), RowTexts::Left);
    QCOMPARE(others.size(), whole.size());
    for (int row = 0; row < whole.size(); ++row) {
        QVERIFY(!whole.at(row).ocrText.isEmpty());
        QCOMPARE(others.at(row).ocrText, QString());
        QCOMPARE(others.at(row).videoName, whole.at(row).videoName);
        QCOMPARE(others.at(row).frameIndexOfVideo, whole.at(row).frameIndexOfVideo);
        QCOMPARE(others.at(row).frameIndexOfDay, whole.at(row).frameIndexOfDay);
        QCOMPARE(others.at(row).realTime, whole.at(row).realTime);
        QCOMPARE(others.at(row).desktopFilePath, whole.at(row).desktopFilePath);
        QCOMPARE(others.at(row).date, whole.at(row).date);
    }
}

void TextSearchTest::missingTextsReadAsEmpty()
{
    OcrScreenshotDatabase store;
    query(march(), "INSERT INTO screenshots VALUES (1, 'v.mp4', NULL, 1, 1, 1710000000, NULL);");
    const QVector<ScreenShotData> found = store.getOcrScreenshotData({});
    QCOMPARE(found.size(), 1);
    QCOMPARE(found.first().ocrText, QString());
    QCOMPARE(found.first().desktopFilePath, QString());
    QVERIFY(store.getOcrScreenshotData(queryOf("%")).isEmpty()); // NULL is like nothing
}

void TextSearchTest::timeIsReadWith32Bits()
{
    OcrScreenshotDatabase store;
    query(march(), "INSERT INTO screenshots VALUES (1, 'v.mp4', '', 1, 1, 4294967301, '');");
    const QVector<ScreenShotData> found = store.getOcrScreenshotData({});
    QCOMPARE(found.size(), 1);
    QCOMPARE(found.first().realTime, 5LL);
    QCOMPARE(found.first().date, QStringLiteral("1970-01-01"));
    QCOMPARE(store.getLastScreenshotRealTime(), 4294967301L);
}

void TextSearchTest::textsAreFound_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QList<uint>>("found");
    QTest::newRow("word") << "board" << QList<uint>{1};
    QTest::newRow("other case") << "BOARD" << QList<uint>{1};
    QTest::newRow("over words") << "g at 9:" << QList<uint>{1};
    QTest::newRow("Chinese") << "\u5C4F\u5E55" << QList<uint>{2};
    QTest::newRow("beyond ASCII cases differ") << "\u00C9t\u00E9" << QList<uint>{3};
    QTest::newRow("the other case is another text") << "\u00E9t\u00E9" << QList<uint>();
    QTest::newRow("100% is anything with 100") << "100%" << QList<uint>{5, 4};
    QTest::newRow("_ is any character") << "b_ard" << QList<uint>{1};
    QTest::newRow("% within is anything") << "b%9:30" << QList<uint>{1};
    QTest::newRow("nothing like it") << "keyboards" << QList<uint>();
    QTest::newRow("two quotes are one") << "it''s" << QList<uint>{6};
}

void TextSearchTest::textsAreFound()
{
    QFETCH(QString, text);
    OcrScreenshotDatabase store;
    quint32 index = 0;
    for (const char *content : {"Keyboard meeting at 9:30", "\u8BB0\u5F55\u5C4F\u5E55",
                                "\u00C9t\u00E9", "1000 files", "100 % done", "it's"}) {
        ++index;
        QVERIFY(store.saveScreenshotData(frame(QStringLiteral("2024-03-10 10:00:0%1").arg(index),
                                               index, "/a.desktop", QString::fromUtf8(content))));
    }
    QTEST(indexes(store.getOcrScreenshotData(queryOf(text))), "found");
}

void TextSearchTest::timesBoundTheSearch_data()
{
    const auto noon = static_cast<quint64>(at("2024-03-10 12:00:00"));
    QTest::addColumn<quint64>("start");
    QTest::addColumn<quint64>("end");
    QTest::addColumn<QList<uint>>("found");
    QTest::newRow("both bounds are inclusive") << noon << noon + 1 << QList<uint>{3, 2};
    QTest::newRow("one second") << noon << noon << QList<uint>{2};
    QTest::newRow("from the beginning") << quint64{0} << noon << QList<uint>{2, 1};
    QTest::newRow("backwards") << noon << noon - 1 << QList<uint>();
    QTest::newRow("an end of 0 is no bound, and no start either")
        << noon + 1 << quint64{0} << QList<uint>{4, 3, 2, 1};
    QTest::newRow("to the greatest number")
        << noon << std::numeric_limits<quint64>::max() << QList<uint>{4, 3, 2};
}

void TextSearchTest::timesBoundTheSearch()
{
    QFETCH(quint64, start);
    QFETCH(quint64, end);
    OcrScreenshotDatabase store;
    quint32 index = 0;
    for (const char *time : {"2024-03-10 11:59:59", "2024-03-10 12:00:00", "2024-03-10 12:00:01",
                             "2024-03-10 12:00:02"}) {
        QVERIFY(store.saveScreenshotData(frame(QString::fromLatin1(time), ++index)));
    }
    SearchQuery query;
    query.startTime = start;
    query.endTime = end;
    QTEST(indexes(store.getOcrScreenshotData(query)), "found");
}

void TextSearchTest::anUnbalancedQuoteStopsTheSearch()
{
    FakeClock::set(QDateTime(QDate(2024, 2, 1), QTime(12, 0)));
    OcrScreenshotDatabase store;
    QVERIFY(store.saveScreenshotData(frame("2024-02-10 10:00:00", 1, {}, "it's")));
    QVERIFY(store.saveScreenshotData(frame("2024-03-10 10:00:00", 2, {}, "it's")));
    m_log->clear();
    QVERIFY(store.getOcrScreenshotData(queryOf("it's")).isEmpty());
    QCOMPARE(m_log->count(QtDebugMsg, PREPARE_FAILED), 1);
    QCOMPARE(m_log->count(QtDebugMsg, SEARCHING), 1); // older months are not tried
}

void TextSearchTest::aQuoteKeepsItsMeaning()
{
    OcrScreenshotDatabase store;
    QVERIFY(store.saveScreenshotData(frame("2024-03-10 10:00:00", 1, {}, "one")));
    QVERIFY(store.saveScreenshotData(frame("2024-03-10 10:00:01", 2, {}, "two")));
    QCOMPARE(indexes(store.getOcrScreenshotData(queryOf("three%' OR ocr_text LIKE '%on"))),
             QList<uint>{1});
}

void TextSearchTest::whatFollowsASemicolonIsNotRun()
{
    OcrScreenshotDatabase store;
    QVERIFY(store.saveScreenshotData(frame("2024-03-10 10:00:00", 1, {}, "one")));
    QCOMPARE(
        indexes(store.getOcrScreenshotData(queryOf("one%'; DELETE FROM screenshots; SELECT '"))),
        QList<uint>{1});
    QCOMPARE(value(march(), COUNT), QStringLiteral("1"));
}

void TextSearchTest::noQueryReachesTheLog_data()
{
    QTest::addColumn<QString>("text");
    QTest::newRow("found") << "secretword";
    QTest::newRow("not found") << "secretwords";
    QTest::newRow("after a quote") << "it'secretword";
    QTest::newRow("before a quote") << "secretword'";
    QTest::newRow("as a column") << "' OR secretword = '";
    QTest::newRow("as a function") << "' OR secretword('";
    QTest::newRow("as a fault of a row") << "' OR json_extract('{}', 'secretword') OR '";
}

void TextSearchTest::noQueryReachesTheLog()
{
    QFETCH(QString, text);
    OcrScreenshotDatabase store;
    QVERIFY(store.saveScreenshotData(frame("2024-03-10 10:00:00", 1, {}, "the secretword")));
    store.getOcrScreenshotData(queryOf(text));
    const QStringList lines = m_log->texts();
    QVERIFY(!lines.isEmpty());
    for (const QString &line : lines) {
        QVERIFY2(!line.contains(QStringLiteral("secret")), qPrintable(line));
    }
}

void TextSearchTest::aFileThatIsNoMonthIsPassedOver()
{
    m_home->writeFile(QStringLiteral("notes.db"), QByteArray("notes"));
    OcrScreenshotDatabase store;
    QVERIFY(store.saveScreenshotData(frame("2024-03-10 10:00:00", 1)));
    m_log->clear();
    QCOMPARE(indexes(store.getOcrScreenshotData({})), QList<uint>{1});
    QCOMPARE(m_log->count(QtDebugMsg, QStringLiteral("Open database failed:  \"notes.d\"")), 1);
}

void TextSearchTest::aFrameOfAVideoIsLookedUp()
{
    OcrScreenshotDatabase store;
    QVERIFY(store.saveScreenshotData(frame("2024-03-10 10:00:00", 1, "/a.desktop", "one")));
    QVERIFY(store.saveScreenshotData(frame("2024-03-10 10:00:05", 2, "/b.desktop", "two")));
    const QString video = QStringLiteral("2024-03-10_10-00-00.mp4");
    const ScreenShotData found = store.getScreenShotDataOfVideo(video, 2);
    QCOMPARE(found.videoName, video);
    QCOMPARE(found.ocrText, QStringLiteral("two"));
    QCOMPARE(found.frameIndexOfVideo, 2U);
    QCOMPARE(found.frameIndexOfDay, 2U);
    QCOMPARE(found.realTime, at("2024-03-10 10:00:05"));
    QCOMPARE(found.desktopFilePath, QStringLiteral("/b.desktop"));
    QCOMPARE(found.date, QStringLiteral("2024-03-10"));
}

void TextSearchTest::aFrameOfAVideoMustLieOnTheVideosDay()
{
    OcrScreenshotDatabase store;
    ScreenShotData data = frame("2024-03-10 23:59:59", 1);
    QVERIFY(store.saveScreenshotData(data));
    data.frameIndexOfVideo = 2;
    data.realTime += 1;
    QVERIFY(store.saveScreenshotData(data));
    QCOMPARE(store.getScreenShotDataOfVideo(data.videoName, 1).realTime, data.realTime - 1);
    QCOMPARE(store.getScreenShotDataOfVideo(data.videoName, 2).videoName, QString());
}

void TextSearchTest::aFrameOfADayIsLookedUpWithoutItsDate()
{
    OcrScreenshotDatabase store;
    ScreenShotData data = frame("2024-03-10 10:00:05", 2, "/b.desktop", "two");
    data.frameIndexOfDay = 102;
    QVERIFY(store.saveScreenshotData(data));
    data.realTime += 24LL * 3600; // the same number on another day
    QVERIFY(store.saveScreenshotData(data));
    const ScreenShotData found = store.getScreenShotDataOfDay(QStringLiteral("2024-03-10"), 102);
    QCOMPARE(found.videoName, data.videoName);
    QCOMPARE(found.ocrText, QStringLiteral("two"));
    QCOMPARE(found.frameIndexOfVideo, 2U);
    QCOMPARE(found.frameIndexOfDay, 102U);
    QCOMPARE(found.realTime, at("2024-03-10 10:00:05"));
    QCOMPARE(found.desktopFilePath, QStringLiteral("/b.desktop"));
    QCOMPARE(found.date, QString());
}

void TextSearchTest::aDayIncludesItsFirstAndItsLastSecond_data()
{
    QTest::addColumn<QString>("time");
    QTest::addColumn<bool>("isOfTheDay");
    QTest::newRow("before") << "2024-03-09 23:59:59" << false;
    QTest::newRow("first") << "2024-03-10 00:00:00" << true;
    QTest::newRow("last") << "2024-03-10 23:59:59" << true;
    QTest::newRow("behind") << "2024-03-11 00:00:00" << false;
}

void TextSearchTest::aDayIncludesItsFirstAndItsLastSecond()
{
    QFETCH(QString, time);
    QFETCH(bool, isOfTheDay);
    OcrScreenshotDatabase store;
    ScreenShotData data = frame("2024-03-10 00:00:00", 4);
    data.realTime = at(time);
    QVERIFY(store.saveScreenshotData(data));
    QCOMPARE(store.getScreenShotDataOfDay(QStringLiteral("2024-03-10"), 4).videoName.isEmpty(),
             !isOfTheDay);
    QCOMPARE(store.getScreenShotDataOfVideo(data.videoName, 4).videoName.isEmpty(), !isOfTheDay);
}

// A clock that was set back leaves numbers twice.
void TextSearchTest::theFirstRowSavedIsTheFrameOfADay()
{
    OcrScreenshotDatabase store;
    QVERIFY(store.saveScreenshotData(frame("2024-03-10 11:00:00", 3, {}, "second in time")));
    QVERIFY(store.saveScreenshotData(frame("2024-03-10 10:00:00", 3, {}, "first in time")));
    QCOMPARE(store.getScreenShotDataOfDay(QStringLiteral("2024-03-10"), 3).ocrText,
             QStringLiteral("second in time"));
}

void TextSearchTest::aFrameThatIsNotThereIsEmpty()
{
    OcrScreenshotDatabase store;
    QVERIFY(store.saveScreenshotData(frame("2024-03-10 10:00:00", 1, "/a.desktop", "one")));
    m_log->clear();
    const QString video = QStringLiteral("2024-03-10_10-00-00.mp4");
    for (const ScreenShotData &found :
         {store.getScreenShotDataOfVideo(video, 2),
          store.getScreenShotDataOfVideo(QStringLiteral("2024-03-10_11-00-00.mp4"), 1),
          store.getScreenShotDataOfDay(QStringLiteral("2024-03-10"), 2),
          store.getScreenShotDataOfDay(QStringLiteral("2024-03-11"), 1)}) {
        QCOMPARE(found.videoName, QString());
        QCOMPARE(found.frameIndexOfVideo, 0U);
        QCOMPARE(found.realTime, 0LL);
        QCOMPARE(found.date, QString());
    }
    QCOMPARE(m_log->texts(), QStringList());
}

void TextSearchTest::aMonthWithoutAFileHasNoFrames()
{
    OcrScreenshotDatabase store;
    m_log->clear();
    QCOMPARE(store.getScreenShotDataOfVideo(QStringLiteral("2023-07-01_10-00-00.mp4"), 1).videoName,
             QString());
    QCOMPARE(store.getScreenShotDataOfDay(QStringLiteral("2023-07-01"), 1).videoName, QString());
    QCOMPARE(m_log->count(QtDebugMsg, QStringLiteral("Database file does not exist: ")), 2);
    QCOMPARE(m_log->count(QtDebugMsg, QStringLiteral("Database not initialized!")), 2);
    QVERIFY(!QFile::exists(m_home->monthFile(QStringLiteral("2023-07"))));
}

void TextSearchTest::aMonthWithoutATableHasNoFrames()
{
    m_home->writeFile(QStringLiteral("2023-07.db"), QByteArray());
    OcrScreenshotDatabase store;
    m_log->clear();
    QCOMPARE(store.getScreenShotDataOfVideo(QStringLiteral("2023-07-01_10-00-00.mp4"), 1).videoName,
             QString());
    QCOMPARE(store.getScreenShotDataOfDay(QStringLiteral("2023-07-01"), 1).videoName, QString());
    QCOMPARE(
        m_log->count(QtDebugMsg, PREPARE_FAILED + QStringLiteral(" no such table: screenshots")),
        2);
}

QTEST_GUILESS_MAIN(TextSearchTest)
#include "textsearchtest.moc"
