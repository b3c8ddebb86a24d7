// Day and month texts, a day's bounds, and what an empty record holds.

#include "database/daytext.h"
#include "database/screenshotdata.h"

#include "teststore.h"

#include <QTest>

class DayTextTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void daysAndMonthsAreZeroFilled()
    {
        QCOMPARE(DayText::ofDate(QDate(2024, 3, 5)), QStringLiteral("2024-03-05"));
        QCOMPARE(DayText::monthOfDate(QDate(2024, 3, 5)), QStringLiteral("2024-03"));
    }

    void monthOfATimeIsTheLocalOne_data()
    {
        QTest::addColumn<QByteArray>("zone");
        QTest::addColumn<QString>("month");
        QTest::newRow("at Greenwich") << QByteArray("UTC0") << "2024-01";
        QTest::newRow("eight hours east") << QByteArray("CST-8") << "2024-02";
        QTest::newRow("five hours west") << QByteArray("EST5") << "2024-01";
    }
    void monthOfATimeIsTheLocalOne()
    {
        QFETCH(QByteArray, zone);
        const TestStore::Zone local(zone);
        const qint64 lastEveningOfJanuary = 1706731200; // 2024-01-31 20:00:00 UTC
        QTEST(DayText::monthOfTime(lastEveningOfJanuary), "month");
    }

    void onlyDaysOfTheCalendarAreRead_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QDate>("date");
        QTest::newRow("leap day") << "2024-02-29" << QDate(2024, 2, 29);
        QTest::newRow("no such day") << "2024-02-30" << QDate();
        QTest::newRow("one digit") << "2024-1-5" << QDate();
        QTest::newRow("slashes") << "2024/01/05" << QDate();
        QTest::newRow("empty") << "" << QDate();
    }
    void onlyDaysOfTheCalendarAreRead()
    {
        QFETCH(QString, text);
        QTEST(DayText::toDate(text), "date");
    }

    void aVideosNameHoldsItsDayAndMonth()
    {
        const QString video = QStringLiteral("2024-03-05_14-07-31.mp4");
        QCOMPARE(DayText::dayOfVideo(video), QStringLiteral("2024-03-05"));
        QCOMPARE(DayText::monthOfDayOrVideo(video), QStringLiteral("2024-03"));
    }

    void aDayRunsFromItsFirstToItsLastSecond()
    {
        const TestStore::Zone local("UTC0");
        const DayText::Bounds bounds = DayText::boundsOfDay(QDate(2024, 3, 5));
        QCOMPARE(bounds.start, Q_INT64_C(1709596800));
        QCOMPARE(bounds.end, bounds.start + 86399);
    }

    void aDayOfAClockChangeIsAnHourShorter()
    {
        const TestStore::Zone local("CET-1CEST,M3.5.0,M10.5.0/3");
        const DayText::Bounds bounds = DayText::boundsOfDay(QDate(2024, 3, 31));
        QCOMPARE(bounds.end - bounds.start, Q_INT64_C(82799));
    }

    void emptyRecordsAreZero()
    {
        const ScreenShotData frame;
        QVERIFY(frame.videoName.isEmpty() && frame.date.isEmpty() && frame.ocrText.isEmpty());
        QCOMPARE(frame.frameIndexOfVideo, 0U);
        QCOMPARE(frame.frameIndexOfDay, 0U);
        QCOMPARE(frame.realTime, Q_INT64_C(0));
        const SearchQuery query;
        QCOMPARE(query.endTime, Q_UINT64_C(0));
        QCOMPARE(query.limit, 0U);
        QCOMPARE(ActiveAppInfo().frameCount, 0U);
    }

    // Rows of several records are written down by position.
    void fieldsStandInTheirOrder()
    {
        const ScreenShotData frame{
            QStringLiteral("video"), 1, QStringLiteral("date"), 2, 3, QStringLiteral("entry"),
            QStringLiteral("text")};
        QCOMPARE(frame.videoName, QStringLiteral("video"));
        QCOMPARE(frame.frameIndexOfVideo, 1U);
        QCOMPARE(frame.date, QStringLiteral("date"));
        QCOMPARE(frame.frameIndexOfDay, 2U);
        QCOMPARE(frame.realTime, Q_INT64_C(3));
        QCOMPARE(frame.desktopFilePath, QStringLiteral("entry"));
        QCOMPARE(frame.ocrText, QStringLiteral("text"));
        const SearchQuery query{QStringLiteral("text"), 1, 2, QStringLiteral("extra"), 3};
        QCOMPARE(query.text, QStringLiteral("text"));
        QCOMPARE(query.startTime, Q_UINT64_C(1));
        QCOMPARE(query.endTime, Q_UINT64_C(2));
        QCOMPARE(query.extraText, QStringLiteral("extra"));
        QCOMPARE(query.limit, 3U);
        const ActiveAppInfo run{QStringLiteral("entry"), 4};
        QCOMPARE(run.desktopFilePath, QStringLiteral("entry"));
        QCOMPARE(run.frameCount, 4U);
    }

    void aFrameTravelsInAVariant()
    {
        ScreenShotData frame;
        frame.videoName = QStringLiteral("2024-03-05_14-07-31.mp4");
        frame.realTime = Q_INT64_C(1) << 40;
        const auto back = QVariant::fromValue(frame).value<ScreenShotData>();
        QCOMPARE(back.videoName, frame.videoName);
        QCOMPARE(back.realTime, frame.realTime);
    }

    void rangesHaveTheNumbersOfThePages()
    {
        QCOMPARE(static_cast<int>(LastHour), 0);
        QCOMPARE(static_cast<int>(LastDay), 1);
        QCOMPARE(static_cast<int>(LastWeek), 2);
        QCOMPARE(static_cast<int>(LastMonth), 3);
        QCOMPARE(static_cast<int>(AllTime), 4);
    }
};

QTEST_GUILESS_MAIN(DayTextTest)
#include "daytexttest.moc"
