// The reading half of the month databases: a day's runs and count, the newest time, the months of a
// span.

#include "database/ocrscreenshotdatabase.h"

#include "storetest.h"
#include "support/fakeclock.h"
#include "support/logcapture.h"

#include <QDir>
#include <QTest>

#include <memory>

using TestStore::at;
using TestStore::frame;

namespace
{
const QString DAY = QStringLiteral("2024-03-15");
const QString MARCH_FILE = QStringLiteral("2024-03.db");
const QString NOT_INITIALIZED = QStringLiteral("Database not initialized!");

QStringList texts(const QList<ActiveAppInfo> &runs)
{
    QStringList result;
    for (const ActiveAppInfo &run : runs) {
        result.append(QStringLiteral("%1*%2").arg(run.desktopFilePath).arg(run.frameCount));
    }
    return result;
}
} // namespace

class ScreenshotQueriesTest : public StoreTest
{
    Q_OBJECT

private Q_SLOTS:
    void cleanup() { cleanupWithoutWarnings(); }

    void runsFollowTheOrderOfCapture_data();
    void runsFollowTheOrderOfCapture();
    void runsFollowInsertionNotTime();
    void aDaysReadsKeepToItsBounds();
    void aDayInAMonthWithoutAFileIsEmpty();
    void aDayInAMonthWithoutATableIsEmpty();
    void frameNumberIsThatOfTheNewestFrame();
    void frameNumberOfAnEmptyDayIsZero();

    void monthsOfARange_data();
    void monthsOfARange();
    void monthsOfARangeAreLocal();
    void monthsOfARangeAreLogged();

    void lastTimeIsThatOfTheRowInsertedLast();
    void lastTimeWithoutAnyFileIsZero();
    void lastTimeOfAnEmptyNewestFileIsZero();
    void lastTimeOfAFileWithoutATableIsZero();
    void lastTimeOfAFileThatIsNoMonthIsZero();

private:
};

void ScreenshotQueriesTest::runsFollowTheOrderOfCapture_data()
{
    QTest::addColumn<QStringList>("apps");
    QTest::addColumn<QStringList>("runs");
    QTest::newRow("no frame") << QStringList() << QStringList();
    QTest::newRow("one") << QStringList{"a"} << QStringList{"a*1"};
    QTest::newRow("back and forth")
        << QStringList{"a", "a", "b", "a"} << QStringList{"a*2", "b*1", "a*1"};
    QTest::newRow("leading frames without an application count into the first run")
        << QStringList{"", "", "a"} << QStringList{"a*3"};
    QTest::newRow("without an application only") << QStringList{"", ""} << QStringList();
    QTest::newRow("a gap counts into the run after it")
        << QStringList{"a", "", "", "a", "b"} << QStringList{"a*1", "a*3", "b*1"};
    QTest::newRow("trailing frames without an application are left out")
        << QStringList{"a", "", ""} << QStringList{"a*1"};
}

void ScreenshotQueriesTest::runsFollowTheOrderOfCapture()
{
    QFETCH(QStringList, apps);
    OcrScreenshotDatabase store;
    quint32 index = 0;
    for (const QString &app : qAsConst(apps)) {
        ++index;
        const QString time = DAY + QStringLiteral(" 10:00:%1").arg(index, 2, 10, QLatin1Char('0'));
        QVERIFY(store.saveScreenshotData(frame(time, index, app)));
    }
    QTEST(texts(store.getAppListOfDay(DAY)), "runs");
}

void ScreenshotQueriesTest::runsFollowInsertionNotTime()
{
    OcrScreenshotDatabase store;
    QVERIFY(store.saveScreenshotData(frame("2024-03-15 11:00:00", 1, "c")));
    QVERIFY(store.saveScreenshotData(frame("2024-03-15 10:00:00", 2, "b")));
    QVERIFY(store.saveScreenshotData(frame("2024-03-15 11:00:05", 3, "a")));
    QCOMPARE(texts(store.getAppListOfDay(DAY)), (QStringList{"c*1", "b*1", "a*1"}));
}

void ScreenshotQueriesTest::aDaysReadsKeepToItsBounds()
{
    OcrScreenshotDatabase store;
    QVERIFY(store.saveScreenshotData(frame("2024-03-14 23:59:59", 9, "before")));
    QVERIFY(store.saveScreenshotData(frame("2024-03-15 00:00:00", 1, "first")));
    QVERIFY(store.saveScreenshotData(frame("2024-03-15 23:59:59", 2, "last")));
    QVERIFY(store.saveScreenshotData(frame("2024-03-16 00:00:00", 1, "after")));
    QCOMPARE(texts(store.getAppListOfDay(DAY)), (QStringList{"first*1", "last*1"}));
    QCOMPARE(store.getFrameNumOfDay(DAY), 2U);
}

void ScreenshotQueriesTest::aDayInAMonthWithoutAFileIsEmpty()
{
    OcrScreenshotDatabase store;
    m_log->clear();
    QVERIFY(store.getAppListOfDay(QStringLiteral("2023-07-01")).isEmpty());
    QCOMPARE(store.getFrameNumOfDay(QStringLiteral("2023-07-01")), 0U);
    QCOMPARE(m_log->count(QtDebugMsg, QStringLiteral("Database file does not exist: ")), 2);
    QCOMPARE(m_log->count(QtDebugMsg, NOT_INITIALIZED), 2);
    QVERIFY(!QFile::exists(m_home->monthFile(QStringLiteral("2023-07"))));
}

void ScreenshotQueriesTest::aDayInAMonthWithoutATableIsEmpty()
{
    m_home->writeFile(QStringLiteral("2023-07.db"), QByteArray());
    OcrScreenshotDatabase store;
    m_log->clear();
    QVERIFY(store.getAppListOfDay(QStringLiteral("2023-07-01")).isEmpty());
    QCOMPARE(store.getFrameNumOfDay(QStringLiteral("2023-07-01")), 0U);
    QCOMPARE(m_log->count(QtDebugMsg, QStringLiteral("Error preparing statement: ")), 2);
}

void ScreenshotQueriesTest::frameNumberIsThatOfTheNewestFrame()
{
    OcrScreenshotDatabase store;
    QVERIFY(store.saveScreenshotData(frame("2024-03-15 11:00:00", 41, "a")));
    QVERIFY(store.saveScreenshotData(frame("2024-03-15 10:00:00", 99, "a")));
    QCOMPARE(store.getFrameNumOfDay(DAY), 41U);
}

void ScreenshotQueriesTest::frameNumberOfAnEmptyDayIsZero()
{
    OcrScreenshotDatabase store;
    m_log->clear();
    QCOMPARE(store.getFrameNumOfDay(DAY), 0U);
    QCOMPARE(m_log->texts(), QStringList());
}

void ScreenshotQueriesTest::monthsOfARange_data()
{
    QTest::addColumn<QString>("start");
    QTest::addColumn<QString>("end");
    QTest::addColumn<QVector<QString>>("months");
    const auto row = [](const char *name, const char *start, const char *end,
                        const QVector<QString> &months) {
        QTest::newRow(name) << QString::fromLatin1(start) << QString::fromLatin1(end) << months;
    };
    row("one moment", "2024-03-15 10:00:00", "2024-03-15 10:00:00", {});
    row("backwards", "2024-03-15 10:00:00", "2024-03-15 09:00:00", {});
    row("within a month", "2024-03-15 10:00:00", "2024-03-15 10:00:01", {"2024-03"});
    row("over a year's end", "2023-11-30 10:00:00", "2024-01-01 00:00:01",
        {"2023-11", "2023-12", "2024-01"});
    row("ending at a month's first second", "2024-01-15 00:00:00", "2024-03-01 00:00:00",
        {"2024-01", "2024-02"});
    row("ending one second later", "2024-01-15 00:00:00", "2024-03-01 00:00:01",
        {"2024-01", "2024-02", "2024-03"});
    row("from a day that February lacks", "2024-01-31 10:00:00", "2024-03-02 00:00:00",
        {"2024-01", "2024-02", "2024-03"});
    row("from late in the day to early in a later month", "2024-01-10 23:00:00",
        "2024-02-01 01:00:00", {"2024-01", "2024-02"});
}

void ScreenshotQueriesTest::monthsOfARange()
{
    QFETCH(QString, start);
    QFETCH(QString, end);
    OcrScreenshotDatabase store;
    QTEST(store.getDatabasesInTimeRange(at(start), at(end)), "months");
}

void ScreenshotQueriesTest::monthsOfARangeAreLocal()
{
    const TestStore::Zone zone("CST-8");
    OcrScreenshotDatabase store;
    const long newYearInTheEast = 1704038400; // 2023-12-31 16:00:00 UTC
    QCOMPARE(store.getDatabasesInTimeRange(newYearInTheEast, newYearInTheEast + 1),
             QVector<QString>{QStringLiteral("2024-01")});
}

void ScreenshotQueriesTest::monthsOfARangeAreLogged()
{
    OcrScreenshotDatabase store;
    m_log->clear();
    store.getDatabasesInTimeRange(at("2024-01-31 10:00:00"), at("2024-02-02 00:00:00"));
    const QStringList lines = m_log->texts(QtDebugMsg);
    QCOMPARE(lines.size(), 2);
    QVERIFY(lines.at(0).startsWith(QStringLiteral("Deleting time range: ")));
    QVERIFY(lines.at(0).contains(QStringLiteral("2024-01-31 10:00:00")));
    QVERIFY(lines.at(0).contains(QStringLiteral("2024-02-02 00:00:00")));
    QVERIFY(lines.at(1).startsWith(QStringLiteral("Related databases: ")));
    QVERIFY(lines.at(1).contains(QStringLiteral("\"2024-01\", \"2024-02\"")));
}

void ScreenshotQueriesTest::lastTimeIsThatOfTheRowInsertedLast()
{
    OcrScreenshotDatabase store;
    QVERIFY(store.saveScreenshotData(frame("2024-03-15 11:00:00", 1)));
    QVERIFY(store.saveScreenshotData(frame("2024-03-15 10:00:00", 2)));
    QCOMPARE(static_cast<qint64>(store.getLastScreenshotRealTime()), at("2024-03-15 10:00:00"));
    QVERIFY(store.saveScreenshotData(frame("2024-04-02 09:00:00", 1)));
    QVERIFY(store.saveScreenshotData(frame("2024-03-16 09:00:00", 3)));
    QCOMPARE(static_cast<qint64>(store.getLastScreenshotRealTime()), at("2024-04-02 09:00:00"));
}

void ScreenshotQueriesTest::lastTimeWithoutAnyFileIsZero()
{
    OcrScreenshotDatabase store;
    QVERIFY(QFile::remove(m_home->databaseDirectory() + MARCH_FILE));
    m_log->clear();
    QCOMPARE(store.getLastScreenshotRealTime(), 0L);
    QCOMPARE(m_log->texts(QtDebugMsg), QStringList{QStringLiteral("No database file found")});
}

void ScreenshotQueriesTest::lastTimeOfAnEmptyNewestFileIsZero()
{
    FakeClock::set(QDateTime(QDate(2024, 2, 10), QTime(12, 0)));
    {
        OcrScreenshotDatabase february;
        QVERIFY(february.saveScreenshotData(frame("2024-02-10 10:00:00")));
    }
    FakeClock::set(QDateTime(QDate(2024, 3, 15), QTime(12, 0)));
    OcrScreenshotDatabase store;
    m_log->clear();
    QCOMPARE(store.getLastScreenshotRealTime(), 0L);
    QCOMPARE(m_log->texts(QtDebugMsg),
             QStringList{QStringLiteral("Error retrieving last screenshot real time")});
}

void ScreenshotQueriesTest::lastTimeOfAFileWithoutATableIsZero()
{
    m_home->writeFile(QStringLiteral("2024-09.db"), QByteArray());
    OcrScreenshotDatabase store;
    m_log->clear();
    QCOMPARE(store.getLastScreenshotRealTime(), 0L);
    QCOMPARE(m_log->count(QtDebugMsg, QStringLiteral("Error preparing statement: ")), 1);
}

void ScreenshotQueriesTest::lastTimeOfAFileThatIsNoMonthIsZero()
{
    // Sorts before every month, and its first seven characters name no file.
    m_home->writeFile(QStringLiteral("notes.db"), QByteArray());
    OcrScreenshotDatabase store;
    QVERIFY(store.saveScreenshotData(frame("2024-03-15 10:00:00")));
    m_log->clear();
    QCOMPARE(store.getLastScreenshotRealTime(), 0L);
    QVERIFY(m_log->contains(QtDebugMsg, QStringLiteral("Failed to read database")));
}

QTEST_GUILESS_MAIN(ScreenshotQueriesTest)
#include "screenshotqueriestest.moc"
