// What the pages open and ask on the desktop: style, user guide, versions, control centre.

#include "facade.h"
#include "fakecommands.h"

#include "support/logcapture.h"

#include <QDBusConnection>
#include <QDBusContext>
#include <QDBusInterface>
#include <QDBusMessage>
#include <QGSettings>
#include <QSignalSpy>
#include <QTest>

#include <unistd.h>

namespace
{
bool isRuntimeThere = false;

class Guide : public QObject, protected QDBusContext
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "com.guide.hotel")

public:
    QStringList asked; ///< for which application, and by which call

public Q_SLOTS:
    void showGuide(const QString &application)
    {
        asked.append(application + ' ' + message().path() + ' ' + message().interface());
    }
};
} // namespace

// In the place of the client library's.
extern "C" bool is_ai_subsystem_inited(void)
{
    return isRuntimeThere;
}

class TestDesktopCalls : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void darkIsOnlyTheDarkStyle_data();
    void darkIsOnlyTheDarkStyle();
    void aChangeOfStyleIsTold();
    void changesOfOtherStyleKeysAreNotTold();

    void theGuideIsAskedForThisApplication();
    void anAbsentGuideIsIgnored();

    void theVersionIsThatOfDpkg_data();
    void theVersionIsThatOfDpkg();
    void dpkgIsAskedForThisPackage();
    void withoutDpkgThereIsNoVersion();

    void thePageOfTimeDependsOnTheControlCentre_data();
    void thePageOfTimeDependsOnTheControlCentre();
    void withoutDpkgThePageOfTimeIsOpenedAllTheSame();
    void withoutAControlCentreTheClockIsWatchedAllTheSame();

    void theRuntimeIsAskedEachTime();
    void theInstallationPageIsOpened();

private:
    std::unique_ptr<FakeCommands> m_commands;
    std::unique_ptr<Facade> m_facade;
};

void TestDesktopCalls::init()
{
    DataHandlerDouble::reset();
    m_commands = std::make_unique<FakeCommands>();
    m_facade = std::make_unique<Facade>();
}

void TestDesktopCalls::cleanup()
{
    m_facade.reset();
    m_commands.reset();
}

void TestDesktopCalls::darkIsOnlyTheDarkStyle_data()
{
    QTest::addColumn<QString>("style");
    QTest::addColumn<int>("type");
    QTest::newRow("dark") << "vesk-dark" << 1;
    QTest::newRow("light") << "vesk-light" << 2;
    QTest::newRow("none") << "" << 2;
    QTest::newRow("another that begins alike") << "vesk-dark2" << 2;
    QTest::newRow("another case") << "Vesk-Dark" << 2;
}

void TestDesktopCalls::darkIsOnlyTheDarkStyle()
{
    QFETCH(QString, style);
    QGSettings("org.vesk.style", "/org/vesk/style/").set("styleName", style);
    QTEST(m_facade->info.getThemeType(), "type");
}

void TestDesktopCalls::aChangeOfStyleIsTold()
{
    QGSettings desktop("org.vesk.style", "/org/vesk/style/");
    desktop.set("styleName", "vesk-light");
    QTest::qWait(0);
    m_facade = std::make_unique<Facade>();
    QSignalSpy told(&m_facade->info, &VideoInfo::themeChanged);
    desktop.set("styleName", "vesk-dark");
    QTRY_COMPARE_WITH_TIMEOUT(told.count(), 1, 10000);
    QCOMPARE(m_facade->info.getThemeType(), 1);
    desktop.set("styleName", "vesk-light");
    QTRY_COMPARE_WITH_TIMEOUT(told.count(), 2, 10000);
    QCOMPARE(m_facade->info.getThemeType(), 2);
}

void TestDesktopCalls::changesOfOtherStyleKeysAreNotTold()
{
    QGSettings desktop("org.vesk.style", "/org/vesk/style/");
    desktop.set("styleName", "vesk-light");
    QTest::qWait(0);
    m_facade = std::make_unique<Facade>();
    QSignalSpy told(&m_facade->info, &VideoInfo::themeChanged);
    desktop.set("standIn", !desktop.get("standIn").toBool());
    desktop.set("styleName", "vesk-dark"); // told after the other would have been
    QTRY_VERIFY_WITH_TIMEOUT(told.count() > 0, 10000);
    QCOMPARE(told.count(), 1);
}

void TestDesktopCalls::theGuideIsAskedForThisApplication()
{
    Guide guide;
    QDBusConnection bus = QDBusConnection::sessionBus();
    const QString service = QStringLiteral("com.tavelUserGuide.hotel_%1").arg(getuid());
    QVERIFY(bus.registerService(service));
    QVERIFY(bus.registerObject("/", &guide, QDBusConnection::ExportAllSlots));
    const QString call = "tavel-ai-yestermark / com.guide.hotel";
    m_facade->info.showGuide();
    QTRY_COMPARE_WITH_TIMEOUT(guide.asked, QStringList{call}, 10000);
    m_facade->info.showGuide();
    QTRY_COMPARE_WITH_TIMEOUT(guide.asked, QStringList({call, call}), 10000);
    QCOMPARE(m_facade->info.findChildren<QDBusInterface *>().size(), 2); // one more at each call
    bus.unregisterObject("/");
    QVERIFY(bus.unregisterService(service));
}

void TestDesktopCalls::anAbsentGuideIsIgnored()
{
    const LogCapture log;
    m_facade->info.showGuide();
    QCOMPARE(log.texts(QtWarningMsg), QStringList());
}

void TestDesktopCalls::theVersionIsThatOfDpkg_data()
{
    QTest::addColumn<QString>("output");
    QTest::addColumn<int>("status");
    QTest::addColumn<QString>("version");
    const QString head = "Desired=Unknown/Install/Remove/Purge/Hold\\n"
                         "||/ Name                Version  Architecture Description\\n"
                         "+++-===================-========-============-===========\\n";
    QTest::newRow("installed") << head + "ii  tavel-ai-yestermark 1.2-3    amd64        history\\n"
                               << 0 << "1.2-3";
    QTest::newRow("of one architecture")
        << head + "ii  tavel-ai-yestermark:amd64 1:1.2~rc1 amd64 history\\n"
        << 0 << "1:1.2~rc1";
    QTest::newRow("removed, its settings kept")
        << head + "rc  tavel-ai-yestermark 0.9 amd64 history\\n"
        << 0 << "0.9";
    QTest::newRow("the first line with the name counts")
        << "ii tavel-ai-yestermark 1.0 amd64 a\\nii tavel-ai-yestermark 2.0 amd64 b\\n"
        << 0 << "1.0";
    QTest::newRow("a name with more at its end") << "ii tavel-ai-yestermark-dbg 3.0 amd64 a\\n"
                                                 << 0 << "3.0";
    QTest::newRow("two fields only") << "ii tavel-ai-yestermark\\n" << 0 << "";
    QTest::newRow("an empty third field") << "ii tavel-ai-yestermark \\n" << 0 << "";
    QTest::newRow("blanks before the first field count as one") << "  tavel-ai-yestermark 1.0\\n"
                                                                << 0 << "1.0";
    QTest::newRow("up to a zero byte")
        << "ii something 9\\n\\000ii tavel-ai-yestermark 1.0 amd64 a\\n"
        << 0 << "";
    QTest::newRow("another package") << head + "ii  other 1.2-3 amd64 x\\n" << 0 << "";
    QTest::newRow("nothing") << "" << 1 << "";
    QTest::newRow("its result does not matter") << "ii tavel-ai-yestermark 1.0 amd64 a\\n"
                                                << 2 << "1.0";
}

void TestDesktopCalls::theVersionIsThatOfDpkg()
{
    QFETCH(QString, output);
    QFETCH(int, status);
    m_commands->add("dpkg", output, status);
    QTEST(m_facade->info.getYestermarkVersion(), "version");
}

void TestDesktopCalls::dpkgIsAskedForThisPackage()
{
    m_commands->add("dpkg");
    m_facade->info.getYestermarkVersion();
    QCOMPARE(m_commands->argumentsOf("dpkg"), QStringList({"-l", "tavel-ai-yestermark"}));
}

void TestDesktopCalls::withoutDpkgThereIsNoVersion()
{
    QCOMPARE(m_facade->info.getYestermarkVersion(), QString());
}

void TestDesktopCalls::thePageOfTimeDependsOnTheControlCentre_data()
{
    QTest::addColumn<QString>("version");
    QTest::addColumn<QStringList>("page");
    const QStringList older{"-m", "Date"};
    QTest::newRow("3.0") << "3.0" << QStringList{"-t"};
    QTest::newRow("3.0 of a package") << "'3.0.1-0ubuntu2\\n'" << QStringList{"-t"};
    QTest::newRow("3.0 anywhere in it") << "1.3.0" << QStringList{"-t"};
    QTest::newRow("3.1") << "3.1" << older;
    QTest::newRow("4.10") << "'4.10'" << older;
    QTest::newRow("not installed") << "" << older;
}

void TestDesktopCalls::thePageOfTimeDependsOnTheControlCentre()
{
    QFETCH(QString, version);
    QFETCH(QStringList, page);
    m_commands->add("dpkg-query", version, version.isEmpty() ? 1 : 0);
    m_commands->add("vesk-control-center");
    const QSignalSpy told(&m_facade->info, &VideoInfo::calledAdjustSystemTime);
    m_facade->info.adjustSystemTime();
    QCOMPARE(told.count(), 1);
    QCOMPARE(m_commands->argumentsOf("dpkg-query"),
             QStringList({"-f='${Version}\\n'", "-W", "vesk-control-center"}));
    QTRY_COMPARE_WITH_TIMEOUT(m_commands->argumentsOf("vesk-control-center"), page, 10000);
}

void TestDesktopCalls::withoutDpkgThePageOfTimeIsOpenedAllTheSame()
{
    m_commands->add("vesk-control-center");
    m_facade->info.adjustSystemTime();
    QTRY_COMPARE_WITH_TIMEOUT(m_commands->argumentsOf("vesk-control-center"),
                              QStringList({"-m", "Date"}), 10000);
}

void TestDesktopCalls::withoutAControlCentreTheClockIsWatchedAllTheSame()
{
    const QSignalSpy told(&m_facade->info, &VideoInfo::calledAdjustSystemTime);
    m_facade->info.adjustSystemTime();
    QCOMPARE(told.count(), 1);
}

void TestDesktopCalls::theRuntimeIsAskedEachTime()
{
    for (const bool isThere : {true, false, true}) {
        isRuntimeThere = isThere;
        QCOMPARE(m_facade->info.isSubsystemAvailable(), isThere);
    }
}

void TestDesktopCalls::theInstallationPageIsOpened()
{
    m_commands->add("vesk-control-center");
    m_facade->info.openSubsystemInstallPage();
    QTRY_COMPARE_WITH_TIMEOUT(m_commands->argumentsOf("vesk-control-center"),
                              QStringList({"-m", "aisubsystem"}), 10000);
}

QTEST_MAIN(TestDesktopCalls)
#include "desktopcallstest.moc"
