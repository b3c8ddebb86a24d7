// From a command line to the desktop file: known names, Windows programs, packages and their
// entries, what is kept and what is not.

#include "appinfo/appinfohelper.h"

#include "packageworld.h"
#include "support/logcapture.h"

#include <QTest>

#include <algorithm>
#include <memory>

class AppInfoHelperTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        m_world = std::make_unique<PackageWorld>();
        m_apps =
            std::make_unique<AppInfoHelper>(m_world->processDirectory(), m_world->listDirectory());
    }
    void cleanup()
    {
        m_apps.reset();
        m_world.reset();
    }

    void thereIsOneInstance();
    void anEmptyCommandLineIsLogged();

    // Known by name
    void programsKnownByNameNeedNoPackage_data();
    void programsKnownByNameNeedNoPackage();

    // Windows programs
    void aWindowsProgramYieldsThePackagesFirstEntry();
    void aWindowsProgramsFirstThreeCharactersAreDroppedBlindly();
    void aWindowsProgramWithoutEntriesIsNotKept();
    void halfAWindowsProgramGoesTheGeneralWay_data();
    void halfAWindowsProgramGoesTheGeneralWay();

    // Entries of a package
    void theEntryThatStartsTheProgramIsGiven_data();
    void theEntryThatStartsTheProgramIsGiven();
    void whereNoEntryMatchesTheLastOneIsGiven();
    void aFieldCodeDoesNotHinderTheMatch();
    void hiddenEntriesCountOnlyWhereProgramsStartByThemselves_data();
    void hiddenEntriesCountOnlyWhereProgramsStartByThemselves();
    void entriesThatCannotBeReadArePassedOver_data();
    void entriesThatCannotBeReadArePassedOver();
    void aPythonScriptResolvesByItself();

    // What is kept
    void aHiddenApplicationIsKeptAsEmpty();
    void aProgramWithoutAPackageIsLookedUpAnew();
    void aPackageWithoutEntriesIsLookedUpAnew();
    void whatWasFoundIsKept();

    void commandLinesAreNotLogged();

private:
    QString find(const std::string &cmdline)
    {
        return QString::fromStdString(m_apps->getDesktopFileFromCmdline(cmdline));
    }

    std::unique_ptr<PackageWorld> m_world;
    std::unique_ptr<AppInfoHelper> m_apps;
};

void AppInfoHelperTest::thereIsOneInstance()
{
    QCOMPARE(&AppInfoHelper::getInstance(), &AppInfoHelper::getInstance());
}

void AppInfoHelperTest::anEmptyCommandLineIsLogged()
{
    LogCapture log;
    QCOMPARE(find(""), QString());
    QCOMPARE(log.texts(QtDebugMsg), QStringList{QStringLiteral("Warning: procCmdline is empty!")});
    QCOMPARE(log.texts().size(), 1);
}

void AppInfoHelperTest::programsKnownByNameNeedNoPackage_data()
{
    const QString volume = QStringLiteral("/etc/xdg/autostart/vesk-volume-control-applet.desktop");
    const QString files = QStringLiteral("/usr/share/applications/lupine.desktop");
    QTest::addColumn<QString>("cmdline");
    QTest::addColumn<QString>("entry");
    QTest::newRow("volume applet") << "/usr/bin/vesk-volume-control-applet-qt" << volume;
    QTest::newRow("volume applet before everything")
        << "vesk-volume-control-applet-qt C:\\lupine.exe" << volume;
    QTest::newRow("file manager") << "/usr/bin/lupine --daemon" << files;
    QTest::newRow("file manager as another's argument") << "/bin/cat /tmp/lupine.txt" << files;
    QTest::newRow("not after a Windows program") << "C:\\lupine.exe" << QString();
}

void AppInfoHelperTest::programsKnownByNameNeedNoPackage()
{
    QFETCH(QString, cmdline);
    QTEST(find(cmdline.toStdString()), "entry");
}

void AppInfoHelperTest::aWindowsProgramYieldsThePackagesFirstEntry()
{
    m_world->package("wine-app", {"/opt/apps/first.desktop", "/opt/apps/second.desktop",
                                  "/opt/drive_c/One Two/" + m_world->path("app.exe")});
    // Neither entry exists: they are not looked at.
    std::string inside = "One Two/" + m_world->path("app.exe");
    std::replace(inside.begin(), inside.end(), '/', '\\');
    QCOMPARE(find("C:\\" + inside), QStringLiteral("/opt/apps/first.desktop"));
}

void AppInfoHelperTest::aWindowsProgramsFirstThreeCharactersAreDroppedBlindly()
{
    m_world->package("wine-app", {"/opt/apps/app.desktop", "/opt/drive_c/blind/app.exe"});
    QCOMPARE(find("wine C:\\blind\\app.exe"), QString());
    m_world->package("odd-app", {"/opt/apps/odd.desktop", "/opt/e C:/blind/app.exe"});
    QCOMPARE(find("wine C:\\blind\\app.exe"), QStringLiteral("/opt/apps/odd.desktop"));
}

void AppInfoHelperTest::aWindowsProgramWithoutEntriesIsNotKept()
{
    m_world->package("wine-app", {"/opt/drive_c/later/app.exe"});
    QCOMPARE(find("C:\\later\\app.exe"), QString());
    m_world->package("wine-app", {"/opt/drive_c/later/app.exe", "/opt/apps/app.desktop"});
    QCOMPARE(find("C:\\later\\app.exe"), QStringLiteral("/opt/apps/app.desktop"));
    m_world->removePackage("wine-app");
    QCOMPARE(find("C:\\later\\app.exe"), QStringLiteral("/opt/apps/app.desktop"));
}

void AppInfoHelperTest::halfAWindowsProgramGoesTheGeneralWay_data()
{
    QTest::addColumn<QString>("program");
    QTest::addColumn<QString>("argument");
    QTest::newRow(".exe alone") << "bin/app.exe"
                                << "file";
    QTest::newRow("C: alone") << "bin/app"
                              << "C:\\file";
}

void AppInfoHelperTest::halfAWindowsProgramGoesTheGeneralWay()
{
    QFETCH(QString, program);
    QFETCH(QString, argument);
    const std::string path = m_world->program(program.toStdString());
    const std::string other = m_world->entry("share/other.desktop", m_world->program("bin/other"));
    const std::string entry = m_world->entry("share/app.desktop", path);
    m_world->package("app", {other, entry, m_world->path("share/none.desktop"), path});
    // The Windows way would give the first entry unseen.
    QCOMPARE(find(path + ' ' + argument.toStdString()), QString::fromStdString(entry));
}

void AppInfoHelperTest::theEntryThatStartsTheProgramIsGiven_data()
{
    QTest::addColumn<int>("matching");
    QTest::newRow("first") << 0;
    QTest::newRow("in the middle") << 1;
    QTest::newRow("last") << 2;
}

void AppInfoHelperTest::theEntryThatStartsTheProgramIsGiven()
{
    QFETCH(int, matching);
    const std::string program = m_world->program("bin/editor");
    const std::string other = m_world->program("bin/editor-settings");
    std::vector<std::string> lines{program};
    for (int number = 0; number < 3; ++number) {
        lines.push_back(m_world->entry("share/" + std::to_string(number) + ".desktop",
                                       number == matching ? "editor --new" : other));
    }
    m_world->package("editor", lines);
    QCOMPARE(find(program + " file.txt"),
             QString::fromStdString(lines[static_cast<std::size_t>(matching) + 1]));
}

void AppInfoHelperTest::whereNoEntryMatchesTheLastOneIsGiven()
{
    const std::string program = m_world->program("bin/editor-daemon");
    const std::string other = m_world->program("bin/editor");
    const std::string first = m_world->entry("share/1.desktop", other);
    const std::string last = m_world->entry("share/2.desktop", other);
    const std::string hidden = m_world->entry("share/3.desktop", other, "NoDisplay=true\n");
    m_world->package("editor", {program, first, last, hidden});
    QCOMPARE(find(program), QString::fromStdString(last));
}

void AppInfoHelperTest::aFieldCodeDoesNotHinderTheMatch()
{
    const std::string program = m_world->program("bin/editor");
    const std::string entry = m_world->entry("share/1.desktop", program + " %U");
    const std::string other = m_world->entry("share/2.desktop", m_world->program("bin/other"));
    m_world->package("editor", {program, entry, other});
    QCOMPARE(find(program), QString::fromStdString(entry));
}

void AppInfoHelperTest::hiddenEntriesCountOnlyWhereProgramsStartByThemselves_data()
{
    QTest::addColumn<QString>("directory");
    QTest::addColumn<QString>("line");
    QTest::addColumn<bool>("counts");
    QTest::newRow("hidden") << "share"
                            << "NoDisplay=true" << false;
    QTest::newRow("hidden, starting by itself") << "etc/xdg/autostart"
                                                << "NoDisplay=true" << true;
    QTest::newRow("shown") << "share"
                           << "NoDisplay=false" << true;
    QTest::newRow("a word that is not the one") << "share"
                                                << "NoDisplay=True" << true;
    QTest::newRow("nothing said") << "share"
                                  << "Icon=editor" << true;
}

void AppInfoHelperTest::hiddenEntriesCountOnlyWhereProgramsStartByThemselves()
{
    QFETCH(QString, directory);
    QFETCH(QString, line);
    QFETCH(bool, counts);
    const std::string program = m_world->program("bin/editor");
    const std::string entry = m_world->entry(directory.toStdString() + "/editor.desktop", program,
                                             line.toStdString() + '\n');
    m_world->package("editor", {program, entry});
    QCOMPARE(find(program), counts ? QString::fromStdString(entry) : QString());
}

void AppInfoHelperTest::entriesThatCannotBeReadArePassedOver_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::newRow("broken") << QByteArray("no desktop entry");
    QTest::newRow("empty") << QByteArray();
    QTest::newRow("no Exec") << QByteArray(
        "[Desktop Entry]\nType=Application\nName=Test\nDBusActivatable=true\n");
    QTest::newRow("a program that is not there")
        << QByteArray("[Desktop Entry]\nType=Application\nName=Test\nExec=/nowhere/program\n");
    QTest::newRow("another type") << QByteArray(
        "[Desktop Entry]\nType=Link\nName=Test\nURL=https://localhost/\n");
}

void AppInfoHelperTest::entriesThatCannotBeReadArePassedOver()
{
    QFETCH(QByteArray, content);
    const std::string program = m_world->program("bin/editor");
    const std::string good = m_world->entry("share/1.desktop", m_world->program("bin/other"));
    const std::string broken = m_world->write("share/2.desktop", content.toStdString());
    m_world->package("editor", {program, m_world->path("share/none.desktop"), good, broken});
    QCOMPARE(find(program), QString::fromStdString(good));
}

void AppInfoHelperTest::aPythonScriptResolvesByItself()
{
    const std::string interpreter = m_world->program("bin/python3");
    const std::string script = m_world->program("share/app/main.py");
    const std::string python = m_world->entry("share/python.desktop", interpreter);
    const std::string app = m_world->entry("share/app.desktop", "python3 " + script + " %F");
    m_world->package("python3", {interpreter, python});
    m_world->package("app", {script, app});
    QCOMPARE(find(interpreter + ' ' + script + " file"), QString::fromStdString(app));

    const std::string named = m_world->program("bin/tool");
    const std::string tool = m_world->entry("share/tool.desktop", "tool");
    m_world->package("tool", {named, tool});
    QCOMPARE(find("python3 tool"), QString::fromStdString(tool));
    QCOMPARE(find("python3"), QString());
}

void AppInfoHelperTest::aHiddenApplicationIsKeptAsEmpty()
{
    const std::string program = m_world->program("bin/editor");
    const std::string entry = m_world->entry("share/editor.desktop", program, "NoDisplay=true\n");
    m_world->package("editor", {program, entry});
    QCOMPARE(find(program), QString());
    m_world->entry("share/editor.desktop", program); // shown from now on
    QCOMPARE(find(program), QString());
    QCOMPARE(find(program + " --new"), QString::fromStdString(entry)); // another command line
}

void AppInfoHelperTest::aProgramWithoutAPackageIsLookedUpAnew()
{
    const std::string program = m_world->program("bin/editor");
    QCOMPARE(find(program), QString());
    const std::string entry = m_world->entry("share/editor.desktop", program);
    m_world->package("editor", {program, entry});
    QCOMPARE(find(program), QString::fromStdString(entry));
}

void AppInfoHelperTest::aPackageWithoutEntriesIsLookedUpAnew()
{
    const std::string program = m_world->program("bin/editor");
    m_world->package("editor", {program});
    QCOMPARE(find(program), QString());
    const std::string entry = m_world->entry("share/editor.desktop", program);
    m_world->package("editor", {program, entry});
    QCOMPARE(find(program), QString::fromStdString(entry));
}

void AppInfoHelperTest::whatWasFoundIsKept()
{
    const std::string program = m_world->program("bin/editor");
    const std::string entry = m_world->entry("share/editor.desktop", program);
    m_world->package("editor", {program, entry});
    QCOMPARE(find(program), QString::fromStdString(entry));
    m_world->removePackage("editor");
    QFile::remove(QString::fromStdString(entry));
    QCOMPARE(find(program), QString::fromStdString(entry));
    QCOMPARE(find(program + " --new"), QString());
}

void AppInfoHelperTest::commandLinesAreNotLogged()
{
    const std::string marker = "secret-title-4f1c";
    const std::string program = m_world->program("bin/editor");
    m_world->package("editor", {program, m_world->entry("share/editor.desktop", program)});
    m_world->write("proc/12/cmdline", program + std::string(1, '\0') + marker);
    LogCapture log;
    find(m_apps->getCmdlineFromPid(12));
    find("C:\\" + marker + ".exe");
    find("lupine " + marker);
    find("nobody " + marker);
    find("python3 " + marker);
    for (const QString &text : log.texts()) {
        QVERIFY2(!text.contains(QString::fromStdString(marker)), qPrintable(text));
    }
}

QTEST_GUILESS_MAIN(AppInfoHelperTest)
#include "appinfohelpertest.moc"
