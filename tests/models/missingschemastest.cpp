// A desktop without the two schemas of its own: what is logged once, and what stays usable.

#include "facade.h"
#include "models/datetimeformatter.h"

#include "support/fakeclock.h"
#include "support/logcapture.h"

#include <QFile>
#include <QGSettings>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

class TestMissingSchemas : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();

    void theFormatterSaysSoOnce();
    void timesStayAsTheyAre();
    void datesReadAsEver();
    void theFacadeSaysSoAndStaysLight();

private:
    QTemporaryDir m_schemas; // with the program's own only
};

void TestMissingSchemas::initTestCase()
{
    // Before GLib looks for the first time.
    const QString own = "com.tavel.yestermark.gschema.xml";
    QVERIFY(QFile::copy(qEnvironmentVariable("GSETTINGS_SCHEMA_DIR") + '/' + own,
                        m_schemas.filePath(own)));
    QCOMPARE(QProcess::execute("glib-compile-schemas", {m_schemas.path()}), 0);
    qputenv("GSETTINGS_SCHEMA_DIR", QFile::encodeName(m_schemas.path()));
    qputenv("XDG_DATA_DIRS", QFile::encodeName(m_schemas.path()));
    QVERIFY(QGSettings::isSchemaInstalled("com.tavel.yestermark"));
    QVERIFY(!QGSettings::isSchemaInstalled("org.vesk.style"));
}

void TestMissingSchemas::theFormatterSaysSoOnce()
{
    const LogCapture log;
    DateTimeFormatter::getInstance();
    DateTimeFormatter::getInstance();
    QCOMPARE(log.texts(QtWarningMsg),
             QStringList{"Schema org.vesk.control-center.panel.plugins is not installed."});
}

void TestMissingSchemas::timesStayAsTheyAre()
{
    for (const char *time : {"13:00:00", "", "not a time"}) {
        QCOMPARE(DateTimeFormatter::getInstance()->getFormatTimeString(time), QString(time));
    }
}

void TestMissingSchemas::datesReadAsEver()
{
    FakeClock::set(QDateTime(QDate(2024, 3, 15), QTime(12, 0)));
    QCOMPARE(DateTimeFormatter::getInstance()->getFormatDateString("2024/03/15"), QString("today"));
    FakeClock::reset();
}

void TestMissingSchemas::theFacadeSaysSoAndStaysLight()
{
    const LogCapture log;
    Facade facade;
    QCOMPARE(log.texts(QtWarningMsg),
             QStringList{"initGsettings Failed to find schema org.vesk.style"});
    QCOMPARE(facade.info.getThemeType(), 2);
}

QTEST_MAIN(TestMissingSchemas)
#include "missingschemastest.moc"
