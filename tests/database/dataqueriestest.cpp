// What the handler tells of a real history: its days, frames and applications, what is searched
// for, the tracker's news, and that the clock was set back.

#include "database/storedhistory.h"
#include "datahandlerfixture.h"
#include "support/fakeclock.h"
#include "support/logcapture.h"
#include "support/pictures.h"

#include <QDir>
#include <QSignalSpy>
#include <QTest>

using StoredHistory::store;

class DataQueriesTest : public DataHandlerFixture
{
    Q_OBJECT

private Q_SLOTS:
    void theTrackersNewsArePassedOn();
    void theFirstAndTheLastDay_data();
    void theFirstAndTheLastDay();
    void aHiddenFileFillsNoDay();
    void aMissingDirectoryHasNoDays();
    void theFormOfADay_data();
    void theFormOfADay();
    void aFrameIsReadByItsVideo();
    void aFrameIsReadByItsDay();
    void aFrameThatIsNotThereIsEmpty_data();
    void aFrameThatIsNotThereIsEmpty();
    void aFrameThatIsNotThereIsNoOther();
    void theApplicationsOfADay();
    void searchesReachTheDatabase();
    void anEmptyHistoryIsNoJumpBack();
    void theClockIsComparedWithTheNewestFrame_data();
    void theClockIsComparedWithTheNewestFrame();
};

void DataQueriesTest::theTrackersNewsArePassedOn()
{
    start();
    QSignalSpy numbers(m_handler.get(), &DataHandler::todayFrameNumberChanged);
    QSignalSpy applications(m_handler.get(), &DataHandler::activeAppChanged);
    Q_EMIT m_tracker->todayFrameNumberChanged(7);
    Q_EMIT m_tracker->activeAppChanged(QStringLiteral("/a.desktop"));
    QCOMPARE(numbers.count(), 1);
    QCOMPARE(numbers.first().first().toUInt(), 7U);
    QCOMPARE(applications.count(), 1);
    QCOMPARE(applications.first().first().toString(), QStringLiteral("/a.desktop"));
}

void DataQueriesTest::theFirstAndTheLastDay_data()
{
    QTest::addColumn<QStringList>("filled");
    QTest::addColumn<QStringList>("empty");
    QTest::addColumn<QStringList>("days");
    const QStringList none;
    const auto days = [](const char *first, const char *last) {
        return QStringList({QString::fromLatin1(first), QString::fromLatin1(last)});
    };
    QTest::newRow("no month") << none << none << QStringList({QString(), QString()});
    QTest::newRow("one day") << QStringList{"2024-03/2024-03-10"} << none
                             << days("2024-03-10", "2024-03-10");
    QTest::newRow("through months")
        << QStringList{"2024-03/2024-03-01", "2023-12/2023-12-31", "2024-03/2024-03-10"} << none
        << days("2023-12-31", "2024-03-10");
    QTest::newRow("empty days are passed over")
        << QStringList{"2024-03/2024-03-05", "2024-03/2024-03-06"}
        << QStringList{"2024-03/2024-03-01", "2024-03/2024-03-31", "2024-04"}
        << days("2024-03-05", "2024-03-06");
    QTest::newRow("hidden folders are none")
        << QStringList{".trash/2024-03-01", "2024-03/2024-03-05", "2024-03/.2024-03-09"} << none
        << days("2024-03-05", "2024-03-05");
    QTest::newRow("names are not looked at")
        << QStringList{"2024-03/2024-03-05", "z/notes"} << none << days("2024-03-05", "notes");
    QTest::newRow("up to the last dot")
        << QStringList{"2024-03/2024-03-05.1.old"} << none << days("2024-03-05.1", "2024-03-05.1");
}

void DataQueriesTest::theFirstAndTheLastDay()
{
    QFETCH(QStringList, filled);
    QFETCH(QStringList, empty);
    QFETCH(QStringList, days);
    QVERIFY(QDir().mkpath(StoredHistory::root()));
    for (const QString &folder : filled) {
        addBallast(folder, 1);
    }
    for (const QString &folder : empty) {
        QVERIFY(QDir(StoredHistory::root()).mkpath(folder));
    }
    start();
    const LogCapture log;
    QCOMPARE(m_handler->getFirstAndLastDay(), days);
    QCOMPARE(log.texts(), QStringList());
}

void DataQueriesTest::aHiddenFileFillsNoDay()
{
    const QString folder = StoredHistory::root() + QLatin1Char('/') + dayFolder(9);
    QVERIFY(QDir().mkpath(folder));
    QFile file(folder + QLatin1String("/.note"));
    QVERIFY(file.open(QIODevice::WriteOnly));
    addBallast(dayFolder(10), 1);
    start();
    QCOMPARE(m_handler->getFirstAndLastDay().first(), QStringLiteral("2024-03-10"));
}

void DataQueriesTest::aMissingDirectoryHasNoDays()
{
    start();
    const LogCapture log;
    QCOMPARE(m_handler->getFirstAndLastDay(), QStringList({QString(), QString()}));
    QCOMPARE(log.texts(),
             QStringList(quoted(StoredHistory::root()) + QLatin1String(" not exist !")));
}

void DataQueriesTest::theFormOfADay_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<bool>("isValid");
    QTest::newRow("a day") << QStringLiteral("2024-01-05") << true;
    QTest::newRow("none of the calendar") << QStringLiteral("2024-13-99") << true;
    QTest::newRow("short") << QStringLiteral("2024-1-5") << false;
    QTest::newRow("empty") << QString() << false;
    QTest::newRow("something behind") << QStringLiteral("2024-01-05x") << false;
    QTest::newRow("something before") << QStringLiteral(" 2024-01-05") << false;
    QTest::newRow("a line behind") << QStringLiteral("2024-01-05\n") << false;
    QTest::newRow("slashes") << QStringLiteral("2024/01/05") << false;
}

void DataQueriesTest::theFormOfADay()
{
    QFETCH(QString, text);
    QFETCH(bool, isValid);
    start();
    QCOMPARE(m_handler->isValidDayFormat(text), isValid);
}

void DataQueriesTest::aFrameIsReadByItsVideo()
{
    const QString video = store({m_now.addSecs(-600), 3});
    start();
    QCOMPARE(Pictures::numberOf(m_handler->getScreenShotImageFromVideo(video, 2)), 2);
    const LogCapture log;
    QVERIFY(m_handler->getScreenShotImageFromVideo(video, 0).isNull());
    QCOMPARE(log.texts(),
             QStringList(QStringLiteral("frameIndexOfVideo has to be greater than 0")));
}

void DataQueriesTest::aFrameIsReadByItsDay()
{
    store({m_now.addSecs(-1200), 3});
    store({m_now.addSecs(-600), 3, 60, 4, 4});
    start();
    const ScreenShotImage frame =
        m_handler->getScreenShotImageOfDay(QStringLiteral("2024-03-15"), 5);
    QCOMPARE(frame.realTime, m_now.addSecs(-540).toSecsSinceEpoch());
    QCOMPARE(frame.desktopFilePath, QStringLiteral("/usr/share/applications/lupine.desktop"));
    QCOMPARE(Pictures::numberOf(frame.image), 5);
}

void DataQueriesTest::aFrameThatIsNotThereIsEmpty_data()
{
    QTest::addColumn<QString>("day");
    QTest::addColumn<uint>("index");
    QTest::addColumn<QString>("warning");
    QTest::newRow("no day") << QStringLiteral("2024-3-15") << 1U << QString();
    QTest::newRow("none of the calendar")
        << QStringLiteral("2024-02-30") << 1U << QStringLiteral("Invalid date string:");
    QTest::newRow("a day without frames") << QStringLiteral("2024-03-14") << 1U << QString();
    QTest::newRow("beyond the last") << QStringLiteral("2024-03-15") << 4U << QString();
}

void DataQueriesTest::aFrameThatIsNotThereIsEmpty()
{
    QFETCH(QString, day);
    QFETCH(uint, index);
    QFETCH(QString, warning);
    store({m_now.addSecs(-600), 3});
    start();
    const LogCapture log;
    const ScreenShotImage frame = m_handler->getScreenShotImageOfDay(day, index);
    QVERIFY(frame.image.isNull());
    QCOMPARE(frame.realTime, qint64{0});
    QCOMPARE(frame.desktopFilePath, QString());
    QCOMPARE(log.texts(QtWarningMsg).size(), warning.isEmpty() ? 0 : 1);
    QVERIFY(warning.isEmpty() || log.contains(QtWarningMsg, warning));
}

void DataQueriesTest::aFrameThatIsNotThereIsNoOther()
{
    store({m_now.addSecs(-600), 3});
    start();
    const QString day = QStringLiteral("2024-03-15");
    QCOMPARE(Pictures::numberOf(m_handler->getScreenShotImageOfDay(day, 2).image), 2);
    QVERIFY(m_handler->getScreenShotImageOfDay(day, 9).image.isNull());
    QVERIFY(m_handler->getScreenShotImageOfDay(day, 9).image.isNull());
    QCOMPARE(Pictures::numberOf(m_handler->getScreenShotImageOfDay(day, 2).image), 2);
}

void DataQueriesTest::theApplicationsOfADay()
{
    store({m_now.addSecs(-1200), 3});
    store({m_now.addSecs(-600), 2, 60, 4, 4, QStringLiteral("/other.desktop")});
    start();
    const QList<ActiveAppInfo> runs = m_handler->getAppListOfDay(QStringLiteral("2024-03-15"));
    QCOMPARE(runs.size(), 2);
    QCOMPARE(runs.first().frameCount, 3U);
    QCOMPARE(runs.last().desktopFilePath, QStringLiteral("/other.desktop"));
    const LogCapture log;
    QVERIFY(m_handler->getAppListOfDay(QStringLiteral("15.3.2024")).isEmpty());
    QCOMPARE(log.texts(), QStringList());
}

void DataQueriesTest::searchesReachTheDatabase()
{
    const QString video = store({m_now.addSecs(-600), 3});
    start();
    SearchQuery query;
    query.text = QStringLiteral("picture 2");
    const QVector<ScreenShotData> found = m_handler->getOcrScreenShotData(query);
    QCOMPARE(found.size(), 1);
    QCOMPARE(found.first().videoName, video);
    QCOMPARE(found.first().frameIndexOfVideo, 2U);
}

void DataQueriesTest::anEmptyHistoryIsNoJumpBack()
{
    start();
    const LogCapture log;
    QVERIFY(!m_handler->backInTimeDetected());
    QCOMPARE(log.texts(QtWarningMsg), QStringList());
}

void DataQueriesTest::theClockIsComparedWithTheNewestFrame_data()
{
    QTest::addColumn<QDateTime>("now");
    QTest::addColumn<bool>("isBack");
    const auto at = [](int hour, int minute, int second) {
        return QDateTime(QDate(2024, 3, 15), QTime(hour, minute, second));
    };
    QTest::newRow("later") << at(12, 0, 0) << false;
    QTest::newRow("the same second") << at(10, 0, 0) << false;
    QTest::newRow("a second before") << at(9, 59, 59) << true;
    QTest::newRow("an hour before") << at(9, 0, 0) << true;
    QTest::newRow("a day before") << at(10, 0, 0).addDays(-1) << true;
    QTest::newRow("a month before") << QDateTime(QDate(2024, 2, 15), QTime(12, 0)) << true;
    QTest::newRow("a year before") << at(10, 0, 0).addYears(-1) << true;
}

void DataQueriesTest::theClockIsComparedWithTheNewestFrame()
{
    QFETCH(QDateTime, now);
    QFETCH(bool, isBack);
    store({QDateTime(QDate(2024, 3, 15), QTime(10, 0)), 1});
    start();
    FakeClock::freeze(now);
    const LogCapture log;
    QCOMPARE(m_handler->backInTimeDetected(), isBack);
    QCOMPARE(log.texts(QtWarningMsg),
             isBack ? QStringList{QStringLiteral("back in time detected")} : QStringList());
}

QTEST_MAIN(DataQueriesTest)
#include "dataqueriestest.moc"
