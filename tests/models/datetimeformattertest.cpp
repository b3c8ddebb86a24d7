// What dates and times read like, by the day of the clock and by the desktop's choice of hours.

#include "models/datetimeformatter.h"

#include "support/fakeclock.h"
#include "support/logcapture.h"

#include <QCoreApplication>
#include <QGSettings>
#include <QSignalSpy>
#include <QTest>
#include <QTranslator>

namespace
{
// Answers every text with itself in brackets.
class BracketTranslator : public QTranslator
{
public:
    BracketTranslator() { QCoreApplication::installTranslator(this); }
    ~BracketTranslator() override { QCoreApplication::removeTranslator(this); }
    Q_DISABLE_COPY(BracketTranslator)

    bool isEmpty() const override { return false; }
    QString translate(const char *context, const char *sourceText, const char *disambiguation,
                      int number) const override
    {
        Q_UNUSED(disambiguation)
        Q_UNUSED(number)
        return QLatin1String(context) == QLatin1String("DateTimeFormatter")
                   ? QLatin1Char('<') + QLatin1String(sourceText) + QLatin1Char('>')
                   : QString();
    }
};
} // namespace

class TestDateTimeFormatter : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();

    void constantsNameTheDesktopsSetting();
    void thereIsOneFormatter();
    void datesReadByTheirDistanceFromToday_data();
    void datesReadByTheirDistanceFromToday();
    void wordsOfDatesAreTranslatable();
    void theDayTurnsWithTheClock();
    void timesInTwelveHours_data();
    void timesInTwelveHours();
    void amAndPmAreTranslatable();
    void timesInOtherHourSystemsStayAsTheyAre_data();
    void timesInOtherHourSystemsStayAsTheyAre();
    void timesFollowTheSettingBeforeItsChangeIsTold();
    void everyChangeOfHoursIsToldOnce();
    void changesOfOtherKeysAreNotTold();

private:
    void setHours(const QString &hours);

    std::unique_ptr<QGSettings> m_desktop; // another program that writes the key
};

void TestDateTimeFormatter::initTestCase()
{
    m_desktop = std::make_unique<QGSettings>(DateTimeFormatter::DATETIME_SCHEMA);
    const LogCapture log;
    QVERIFY(DateTimeFormatter::getInstance());
    QCOMPARE(log.texts(), QStringList());
}

void TestDateTimeFormatter::init()
{
    FakeClock::set(QDateTime(QDate(2024, 3, 15), QTime(12, 0)));
    setHours("24");
}

void TestDateTimeFormatter::cleanup()
{
    FakeClock::reset();
}

// And waits until the formatter has seen it.
void TestDateTimeFormatter::setHours(const QString &hours)
{
    const bool differs = m_desktop->get("hoursystem").toString() != hours;
    QSignalSpy told(DateTimeFormatter::getInstance(), &DateTimeFormatter::hourSystemChanged);
    m_desktop->set("hoursystem", hours);
    QTRY_COMPARE_WITH_TIMEOUT(told.count(), differs ? 1 : 0, 10000);
}

void TestDateTimeFormatter::constantsNameTheDesktopsSetting()
{
    QCOMPARE(DateTimeFormatter::DATETIME_SCHEMA, "org.vesk.control-center.panel.plugins");
    QCOMPARE(DateTimeFormatter::HOURSYSTEM_KEY, "hoursystem");
    QCOMPARE(DateTimeFormatter::HOURSYSTEM_12, "12");
}

void TestDateTimeFormatter::thereIsOneFormatter()
{
    QCOMPARE(DateTimeFormatter::getInstance(), DateTimeFormatter::getInstance());
}

void TestDateTimeFormatter::datesReadByTheirDistanceFromToday_data()
{
    QTest::addColumn<QDate>("today");
    QTest::addColumn<QString>("date");
    QTest::addColumn<QString>("text");
    const QDate march(2024, 3, 15);
    const QDate newYear(2025, 1, 1);
    QTest::newRow("today") << march << "2024/03/15"
                           << "today";
    QTest::newRow("yesterday") << march << "2024/03/14"
                               << "1 day ago";
    QTest::newRow("two days ago") << march << "2024/03/13"
                                  << "2 days ago";
    QTest::newRow("three days ago") << march << "2024/03/12"
                                    << "03/12";
    QTest::newRow("tomorrow, still this year") << march << "2024/03/16"
                                               << "03/16";
    QTest::newRow("first day of the year") << march << "2024/01/01"
                                           << "01/01";
    QTest::newRow("last day of the year") << march << "2024/12/31"
                                          << "12/31";
    QTest::newRow("last year") << march << "2023/03/15"
                               << "2023/03/15";
    QTest::newRow("next year") << march << "2025/03/15"
                               << "2025/03/15";
    QTest::newRow("yesterday across the leap day") << QDate(2024, 3, 1) << "2024/02/29"
                                                   << "1 day ago";
    QTest::newRow("31 December on 1 January") << newYear << "2024/12/31"
                                              << "1 day ago";
    QTest::newRow("30 December on 1 January") << newYear << "2024/12/30"
                                              << "2 days ago";
    QTest::newRow("29 December on 1 January") << newYear << "2024/12/29"
                                              << "2024/12/29";
    QTest::newRow("no date") << march << ""
                             << "";
    QTest::newRow("no day of the calendar") << march << "2024/02/30"
                                            << "2024/02/30";
    QTest::newRow("the stores' form") << march << "2024-03-15"
                                      << "2024-03-15";
}

void TestDateTimeFormatter::datesReadByTheirDistanceFromToday()
{
    QFETCH(QDate, today);
    QFETCH(QString, date);
    FakeClock::set(QDateTime(today, QTime(12, 0)));
    QTEST(DateTimeFormatter::getInstance()->getFormatDateString(date), "text");
}

void TestDateTimeFormatter::wordsOfDatesAreTranslatable()
{
    const BracketTranslator translator;
    const DateTimeFormatter *formatter = DateTimeFormatter::getInstance();
    QCOMPARE(formatter->getFormatDateString("2024/03/15"), QString("<today>"));
    QCOMPARE(formatter->getFormatDateString("2024/03/14"), QString("<1 day ago>"));
    QCOMPARE(formatter->getFormatDateString("2024/03/13"), QString("<2 days ago>"));
    QCOMPARE(formatter->getFormatDateString("2024/03/12"), QString("03/12"));
}

void TestDateTimeFormatter::theDayTurnsWithTheClock()
{
    const DateTimeFormatter *formatter = DateTimeFormatter::getInstance();
    FakeClock::freeze(QDateTime(QDate(2024, 3, 15), QTime(23, 59, 59)));
    QCOMPARE(formatter->getFormatDateString("2024/03/15"), QString("today"));
    FakeClock::advance(1);
    QCOMPARE(formatter->getFormatDateString("2024/03/15"), QString("1 day ago"));
}

void TestDateTimeFormatter::timesInTwelveHours_data()
{
    QTest::addColumn<QString>("time");
    QTest::addColumn<QString>("text");
    QTest::newRow("five past midnight") << "00:05:09"
                                        << "AM 12:05:09";
    QTest::newRow("midnight") << "00:00:00"
                              << "AM 12:00:00";
    QTest::newRow("one at night") << "01:02:03"
                                  << "AM 01:02:03";
    QTest::newRow("last second before noon") << "11:59:59"
                                             << "AM 11:59:59";
    QTest::newRow("noon") << "12:00:00"
                          << "PM 12:00:00";
    QTest::newRow("one in the afternoon") << "13:00:00"
                                          << "PM 01:00:00";
    QTest::newRow("last second of the day") << "23:59:59"
                                            << "PM 11:59:59";
    QTest::newRow("no time") << ""
                             << "";
    QTest::newRow("no time of a clock") << "24:00:00"
                                        << "";
    QTest::newRow("without seconds") << "13:00"
                                     << "";
}

void TestDateTimeFormatter::timesInTwelveHours()
{
    QFETCH(QString, time);
    setHours("12");
    QTEST(DateTimeFormatter::getInstance()->getFormatTimeString(time), "text");
}

void TestDateTimeFormatter::amAndPmAreTranslatable()
{
    setHours("12");
    const BracketTranslator translator;
    const DateTimeFormatter *formatter = DateTimeFormatter::getInstance();
    QCOMPARE(formatter->getFormatTimeString("09:10:11"), QString("<AM> 09:10:11"));
    QCOMPARE(formatter->getFormatTimeString("21:10:11"), QString("<PM> 09:10:11"));
}

void TestDateTimeFormatter::timesInOtherHourSystemsStayAsTheyAre_data()
{
    QTest::addColumn<QString>("hours");
    QTest::newRow("24") << "24";
    QTest::newRow("unset") << "";
    QTest::newRow("a number that begins with 12") << "120";
}

void TestDateTimeFormatter::timesInOtherHourSystemsStayAsTheyAre()
{
    QFETCH(QString, hours);
    setHours(hours);
    for (const char *time : {"13:00:00", "00:05:09", "", "not a time"}) {
        QCOMPARE(DateTimeFormatter::getInstance()->getFormatTimeString(time), QString(time));
    }
}

void TestDateTimeFormatter::timesFollowTheSettingBeforeItsChangeIsTold()
{
    QSignalSpy told(DateTimeFormatter::getInstance(), &DateTimeFormatter::hourSystemChanged);
    m_desktop->set("hoursystem", "12");
    QCOMPARE(DateTimeFormatter::getInstance()->getFormatTimeString("13:00:00"),
             QString("PM 01:00:00"));
    QCOMPARE(told.count(), 0);
    QTRY_COMPARE_WITH_TIMEOUT(told.count(), 1, 10000);
}

void TestDateTimeFormatter::everyChangeOfHoursIsToldOnce()
{
    QSignalSpy told(DateTimeFormatter::getInstance(), &DateTimeFormatter::hourSystemChanged);
    setHours("12");
    m_desktop->set("hoursystem", "12");
    setHours("24");
    QCOMPARE(told.count(), 2);
}

void TestDateTimeFormatter::changesOfOtherKeysAreNotTold()
{
    QSignalSpy told(DateTimeFormatter::getInstance(), &DateTimeFormatter::hourSystemChanged);
    m_desktop->set("standIn", !m_desktop->get("standIn").toBool());
    // There and back before the formatter looks: the value is the one that it knows.
    m_desktop->set("hoursystem", "12");
    m_desktop->set("hoursystem", "24");
    QSignalSpy seen(m_desktop.get(), &QGSettings::changed);
    QTRY_VERIFY_WITH_TIMEOUT(seen.count() >= 1, 10000);
    QCOMPARE(told.count(), 0);
}

QTEST_GUILESS_MAIN(TestDateTimeFormatter)
#include "datetimeformattertest.moc"
