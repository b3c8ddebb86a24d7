// From a process id to its command line, and from a command line to the program that it starts.

#include "appinfo/appinfohelper.h"

#include "packageworld.h"
#include "support/logcapture.h"

#include <QProcess>
#include <QTest>

#include <memory>
#include <sys/wait.h>
#include <unistd.h>

namespace
{
const QString OPEN_FAILED = QStringLiteral("cmdlineFile open failed!");
const QString CMDLINE_EMPTY = QStringLiteral("Warning: procCmdline is empty!");
} // namespace

class ProgramPathTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { m_world = std::make_unique<PackageWorld>(); }
    void cleanup() { m_world.reset(); }

    // Command lines
    void argumentsAreJoinedByBlanks_data();
    void argumentsAreJoinedByBlanks();
    void theCommandLineOfARealProcessIsRead();
    void processZeroHasNoCommandLine();
    void aMissingProcessWarnsAndLeadsNowhere();
    void aProcessThatEndedWarns();
    void aZombieHasNoCommandLine();
    void aProcessThatEndsBeforeItIsReadHasNoCommandLine();

    // Programs
    void theProgramIsTheFirstToken_data();
    void theProgramIsTheFirstToken();
    void aPythonCommandLineLeadsToItsScript_data();
    void aPythonCommandLineLeadsToItsScript();
    void aDotSlashAnywhereCutsTwoCharactersOffTheStart();
    void anAbsolutePathThatExistsIsGivenUnchanged();
    void aNameIsLookedUpInPathInItsOrder();
    void directoriesInPathAreNoPrograms();
    void theWorkingDirectoryIsNotSearched();
    void withoutPathNothingIsFound();

private:
    AppInfoHelper helper() const
    {
        return AppInfoHelper(m_world->processDirectory(), m_world->listDirectory());
    }

    std::unique_ptr<PackageWorld> m_world;
};

void ProgramPathTest::argumentsAreJoinedByBlanks_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<QByteArray>("cmdline");
    QTest::newRow("three arguments") << QByteArray("a\0b\0c\0", 6) << QByteArray("a b c");
    QTest::newRow("without a closing NUL") << QByteArray("a\0b", 3) << QByteArray("a b");
    QTest::newRow("an empty last argument") << QByteArray("a\0\0", 3) << QByteArray("a ");
    QTest::newRow("a title that was set") << QByteArray("a title   ") << QByteArray("a title  ");
    QTest::newRow("nothing") << QByteArray() << QByteArray();
    QTest::newRow("longer than a block") << QByteArray(10000, 'a') << QByteArray(10000, 'a');
    QTest::newRow("newlines") << QByteArray("a\0b\nc\0", 6) << QByteArray("a b\nc");
}

void ProgramPathTest::argumentsAreJoinedByBlanks()
{
    QFETCH(QByteArray, content);
    QFETCH(QByteArray, cmdline);
    m_world->write("proc/4711/cmdline", content.toStdString());
    QCOMPARE(QByteArray::fromStdString(helper().getCmdlineFromPid(4711)), cmdline);
}

void ProgramPathTest::theCommandLineOfARealProcessIsRead()
{
    QProcess process;
    process.start(QStringLiteral("/bin/sleep"), {QStringLiteral("600")});
    QVERIFY(process.waitForStarted());
    const auto pid = static_cast<unsigned int>(process.processId());
    const std::string cmdline = AppInfoHelper::getInstance().getCmdlineFromPid(pid);
    process.kill();
    process.waitForFinished();
    QCOMPARE(QByteArray::fromStdString(cmdline), QByteArray("/bin/sleep 600"));
}

void ProgramPathTest::processZeroHasNoCommandLine()
{
    m_world->write("proc/0/cmdline", "swapper");
    LogCapture log;
    QVERIFY(helper().getCmdlineFromPid(0).empty());
    QCOMPARE(log.texts(), QStringList());
}

void ProgramPathTest::aMissingProcessWarnsAndLeadsNowhere()
{
    AppInfoHelper apps = helper();
    LogCapture log;
    const std::string cmdline = apps.getCmdlineFromPid(4712);
    QVERIFY(apps.getDesktopFileFromCmdline(cmdline).empty());
    QCOMPARE(log.texts(QtWarningMsg), QStringList{OPEN_FAILED + QStringLiteral(" 4712")});
    QCOMPARE(log.texts(QtDebugMsg), QStringList{CMDLINE_EMPTY});
}

void ProgramPathTest::aProcessThatEndedWarns()
{
    const pid_t pid = fork();
    if (pid == 0) {
        _exit(0);
    }
    QCOMPARE(waitpid(pid, nullptr, 0), pid);
    LogCapture log;
    const auto ended = static_cast<unsigned int>(pid);
    QVERIFY(AppInfoHelper::getInstance().getCmdlineFromPid(ended).empty());
    QCOMPARE(log.count(QtWarningMsg, OPEN_FAILED), 1);
}

void ProgramPathTest::aZombieHasNoCommandLine()
{
    const pid_t pid = fork();
    if (pid == 0) {
        _exit(0);
    }
    siginfo_t info{};
    QCOMPARE(waitid(P_PID, static_cast<id_t>(pid), &info, WEXITED | WNOWAIT), 0); // stays a zombie
    LogCapture log;
    const std::string cmdline =
        AppInfoHelper::getInstance().getCmdlineFromPid(static_cast<unsigned int>(pid));
    QCOMPARE(waitpid(pid, nullptr, 0), pid);
    QVERIFY(cmdline.empty());
    QCOMPARE(log.texts(), QStringList());
}

void ProgramPathTest::aProcessThatEndsBeforeItIsReadHasNoCommandLine()
{
    // A directory opens and cannot be read, as the file of a process that ends in between.
    QVERIFY(QDir().mkpath(QString::fromStdString(m_world->path("proc/4713/cmdline"))));
    QVERIFY(helper().getCmdlineFromPid(4713).empty());
}

void ProgramPathTest::theProgramIsTheFirstToken_data()
{
    QTest::addColumn<QString>("commandLine");
    QTest::addColumn<QString>("program"); // below the world, empty for none
    QTest::newRow("alone") << "editor"
                           << "bin/editor";
    QTest::newRow("with arguments") << "editor --new file.txt"
                                    << "bin/editor";
    QTest::newRow("with blanks around") << "  editor   x "
                                        << "bin/editor";
    QTest::newRow("with a field code") << "editor %U"
                                       << "bin/editor";
    QTest::newRow("with a field code after an option") << "editor --new %f"
                                                       << "bin/editor";
    QTest::newRow("field code only") << "%U"
                                     << "";
    QTest::newRow("unknown") << "nobody-has-this"
                             << "";
    QTest::newRow("blanks only") << "   "
                                 << "";
    QTest::newRow("empty") << ""
                           << "";
}

void ProgramPathTest::theProgramIsTheFirstToken()
{
    QFETCH(QString, commandLine);
    QFETCH(QString, program);
    m_world->program("bin/editor");
    m_world->program("bin/%U"); // not to be taken for a field code's program
    const std::string expected =
        program.isEmpty() ? std::string() : m_world->path(program.toStdString());
    QCOMPARE(QString::fromStdString(helper().getFullCommandLine(commandLine.toStdString())),
             QString::fromStdString(expected));
}

void ProgramPathTest::aPythonCommandLineLeadsToItsScript_data()
{
    QTest::addColumn<QString>("commandLine"); // "@" stands for the world
    QTest::addColumn<QString>("program");
    QTest::newRow("absolute script") << "python3 @/share/app.py --new"
                                     << "share/app.py";
    QTest::newRow("absolute interpreter") << "/usr/bin/python3.11 @/share/app.py"
                                          << "share/app.py";
    QTest::newRow("script by name") << "python3 app-script"
                                    << "bin/app-script";
    QTest::newRow("an option is no script") << "python3 -u @/share/app.py"
                                            << "";
    QTest::newRow("no script") << "python3"
                               << "";
    QTest::newRow("field code instead of a script") << "python3 %F"
                                                    << "";
    QTest::newRow("a program with the word in its path") << "@/python-tools/run app-script"
                                                         << "bin/app-script";
}

void ProgramPathTest::aPythonCommandLineLeadsToItsScript()
{
    QFETCH(QString, commandLine);
    QFETCH(QString, program);
    m_world->program("share/app.py");
    m_world->program("bin/app-script");
    m_world->program("bin/python3");
    m_world->program("python-tools/run");
    commandLine.replace(QStringLiteral("@/"), QString::fromStdString(m_world->path("")));
    const std::string expected =
        program.isEmpty() ? std::string() : m_world->path(program.toStdString());
    QCOMPARE(QString::fromStdString(helper().getFullCommandLine(commandLine.toStdString())),
             QString::fromStdString(expected));
}

void ProgramPathTest::aDotSlashAnywhereCutsTwoCharactersOffTheStart()
{
    const AppInfoHelper apps = helper();
    const std::string editor = m_world->program("bin/editor");
    QVERIFY(apps.getFullCommandLine("./editor") == editor);
    QVERIFY(apps.getFullCommandLine("xxeditor ./file") == editor);
    QVERIFY(apps.getFullCommandLine(editor + " ./file").empty());
    QVERIFY(apps.getFullCommandLine("editor ../file").empty()); // the end of "../" counts too
}

void ProgramPathTest::anAbsolutePathThatExistsIsGivenUnchanged()
{
    const AppInfoHelper apps = helper();
    const std::string file = m_world->write("share/data", "no program");
    QVERIFY(apps.expandExec(file) == file);
    QVERIFY(apps.expandExec(m_world->path("share/../share/data")) ==
            m_world->path("share/../share/data"));
    QVERIFY(apps.expandExec(m_world->path("share")) == m_world->path("share")); // a directory, too
    QVERIFY(apps.expandExec(m_world->path("share/none")).empty());
}

void ProgramPathTest::aNameIsLookedUpInPathInItsOrder()
{
    const AppInfoHelper apps = helper();
    const std::string first = m_world->program("one/editor");
    m_world->program("two/editor");
    const std::string second = m_world->program("two/viewer");
    qputenv("PATH", QByteArray::fromStdString(m_world->path("missing") + "::" +
                                              m_world->path("one") + ':' + m_world->path("two")));
    QVERIFY(apps.expandExec("editor") == first);
    QVERIFY(apps.expandExec("viewer") == second);
    QVERIFY(apps.expandExec("../two/viewer") == m_world->path("one/../two/viewer"));
}

void ProgramPathTest::directoriesInPathAreNoPrograms()
{
    m_world->write("one/editor/file", "");
    const std::string program = m_world->program("two/editor");
    qputenv("PATH", QByteArray::fromStdString(m_world->path("one") + ':' + m_world->path("two")));
    QVERIFY(helper().expandExec("editor") == program);
}

void ProgramPathTest::theWorkingDirectoryIsNotSearched()
{
    m_world->program("work/editor");
    const QString former = QDir::currentPath();
    QVERIFY(QDir::setCurrent(QString::fromStdString(m_world->path("work"))));
    const std::string found = helper().expandExec("editor");
    QDir::setCurrent(former);
    QVERIFY(found.empty());
}

void ProgramPathTest::withoutPathNothingIsFound()
{
    m_world->program("bin/editor");
    qunsetenv("PATH");
    QVERIFY(helper().expandExec("editor").empty());
    qputenv("PATH", "");
    QVERIFY(helper().expandExec("editor").empty());
}

QTEST_GUILESS_MAIN(ProgramPathTest)
#include "programpathtest.moc"
