// The command as a process: which page each argument opens, who else is run instead of it, and what
// an installation puts where.

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

#include <memory>

namespace
{
const QString COMMAND = QStringLiteral("vesk-control-center");
constexpr int PATIENCE = 20000;
} // namespace

class ControlCenterTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();

    void datePageOfTheDesktopOpens_data();
    void datePageOfTheDesktopOpens();
    void desktopWithoutADatePageIsTold();
    void installerStaysOpen();
    void otherArgumentsAreRefused_data();
    void otherArgumentsAreRefused();
    void realCommandIsRunInstead_data();
    void realCommandIsRunInstead();
    void copiesOfThisCommandDoNotStartEachOther();
    void installationLinksTheCommand();
    void installationLeavesAnotherCommandAlone();

private:
    bool addProgram(const QString &name);
    void start(QProcess &process, const QStringList &arguments, const QString &program = {});
    QString started() const;
    bool installTo(const QString &prefix) const;

    std::unique_ptr<QTemporaryDir> m_folder;
    QProcessEnvironment m_environment;
};

void ControlCenterTest::init()
{
    m_folder = std::make_unique<QTemporaryDir>();
    QVERIFY(QDir(m_folder->path()).mkdir(QStringLiteral("bin")));
    m_environment = QProcessEnvironment::systemEnvironment();
    m_environment.insert(QStringLiteral("PATH"), m_folder->filePath(QStringLiteral("bin")));
    m_environment.insert(QStringLiteral("STARTED"), m_folder->filePath(QStringLiteral("started")));
}

// A program that writes down its name and its arguments.
bool ControlCenterTest::addProgram(const QString &name)
{
    QFile file(m_folder->filePath(QStringLiteral("bin/") + name));
    return file.open(QFile::WriteOnly) &&
           file.write("#!/bin/sh\necho \"" + name.toLatin1() + " $*\" >>\"$STARTED\"\n") > 0 &&
           file.setPermissions(QFile::ReadOwner | QFile::ExeOwner);
}

void ControlCenterTest::start(QProcess &process, const QStringList &arguments,
                              const QString &program)
{
    process.setProcessEnvironment(m_environment);
    process.setProcessChannelMode(QProcess::MergedChannels);
    process.start(program.isEmpty() ? QStringLiteral(COMMAND_PROGRAM) : program, arguments);
    QVERIFY(process.waitForStarted());
}

QString ControlCenterTest::started() const
{
    QFile file(m_folder->filePath(QStringLiteral("started")));
    return file.open(QFile::ReadOnly) ? QString::fromUtf8(file.readAll()).trimmed() : QString();
}

bool ControlCenterTest::installTo(const QString &prefix) const
{
    return QProcess::execute(QStringLiteral("cmake"),
                             {QStringLiteral("--install"), QStringLiteral(BUILD_FOLDER),
                              QStringLiteral("--component"), QStringLiteral("controlcenter"),
                              QStringLiteral("--prefix"), prefix}) == 0;
}

void ControlCenterTest::datePageOfTheDesktopOpens_data()
{
    QTest::addColumn<QString>("desktop");
    QTest::addColumn<QStringList>("installed");
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QString>("opened");
    const QStringList module{"-m", "Date"};
    const QStringList all{"gnome-control-center", "systemsettings", "xfce4-time-admin",
                          "mate-time-admin", "lxqt-admin-time"};
    QTest::newRow("GNOME") << "ubuntu:GNOME" << all << module << "gnome-control-center datetime";
    QTest::newRow("KDE") << "KDE" << all << module << "systemsettings kcm_clock";
    QTest::newRow("KDE, other name")
        << "KDE" << QStringList{"systemsettings5"} << module << "systemsettings5 kcm_clock";
    QTest::newRow("Xfce") << "XFCE" << all << module << "xfce4-time-admin";
    QTest::newRow("MATE") << "MATE" << all << module << "mate-time-admin";
    QTest::newRow("LXQt") << "LXQt" << all << module << "lxqt-admin-time";
    QTest::newRow("older argument") << "MATE" << all << QStringList{"-t"} << "mate-time-admin";
    QTest::newRow("unknown desktop, something installed")
        << "sway" << QStringList{"mate-time-admin"} << module << "mate-time-admin";
    QTest::newRow("own page not installed") << "KDE" << QStringList{"gnome-control-center"}
                                            << module << "gnome-control-center datetime";
}

void ControlCenterTest::datePageOfTheDesktopOpens()
{
    QFETCH(QString, desktop);
    QFETCH(QStringList, installed);
    QFETCH(QStringList, arguments);
    QFETCH(QString, opened);
    for (const QString &program : installed) {
        QVERIFY(addProgram(program));
    }
    m_environment.insert(QStringLiteral("XDG_CURRENT_DESKTOP"), desktop);
    QProcess process;
    start(process, arguments);
    QVERIFY(process.waitForFinished(PATIENCE));
    QCOMPARE(process.exitCode(), 0);
    QTRY_COMPARE_WITH_TIMEOUT(started(), opened, PATIENCE);
}

void ControlCenterTest::desktopWithoutADatePageIsTold()
{
    QProcess process;
    start(process, {QStringLiteral("-m"), QStringLiteral("Date")});
    QVERIFY(!process.waitForFinished(1000)); // a dialog waits for its user
    QCOMPARE(started(), QString());
    process.kill();
    process.waitForFinished();
}

void ControlCenterTest::installerStaysOpen()
{
    QProcess process;
    start(process, {QStringLiteral("-m"), QStringLiteral("aisubsystem")});
    QVERIFY(!process.waitForFinished(1000));
    process.kill();
    process.waitForFinished();
}

void ControlCenterTest::otherArgumentsAreRefused_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::newRow("none") << QStringList();
    QTest::newRow("unknown module") << QStringList{"-m", "Wallpaper"};
    QTest::newRow("module without a name") << QStringList{"-m"};
    QTest::newRow("unknown option") << QStringList{"-x"};
}

void ControlCenterTest::otherArgumentsAreRefused()
{
    QFETCH(QStringList, arguments);
    QProcess process;
    start(process, arguments);
    QVERIFY(process.waitForFinished(PATIENCE));
    QVERIFY(process.exitCode() != 0);
}

void ControlCenterTest::realCommandIsRunInstead_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::newRow("date") << QStringList{"-m", "Date"};
    QTest::newRow("installer") << QStringList{"-m", "aisubsystem"};
    QTest::newRow("what this one does not know") << QStringList{"--wallpaper", "blue"};
}

void ControlCenterTest::realCommandIsRunInstead()
{
    QFETCH(QStringList, arguments);
    QVERIFY(addProgram(COMMAND));
    QVERIFY(addProgram(QStringLiteral("gnome-control-center")));
    QProcess process;
    start(process, arguments);
    QVERIFY(process.waitForFinished(PATIENCE));
    QCOMPARE(process.exitCode(), 0);
    QCOMPARE(started(), COMMAND + QLatin1Char(' ') + arguments.join(QLatin1Char(' ')));
}

void ControlCenterTest::copiesOfThisCommandDoNotStartEachOther()
{
    QVERIFY(addProgram(QStringLiteral("mate-time-admin")));
    QVERIFY(QDir(m_folder->path()).mkpath(QStringLiteral("second")));
    for (const char *copy : {"bin/", "second/"}) {
        QVERIFY(QFile::copy(QStringLiteral(COMMAND_PROGRAM),
                            m_folder->filePath(QLatin1String(copy) + COMMAND)));
    }
    m_environment.insert(QStringLiteral("PATH"), m_folder->filePath(QStringLiteral("bin")) +
                                                     QLatin1Char(':') +
                                                     m_folder->filePath(QStringLiteral("second")));
    QProcess process;
    start(process, {QStringLiteral("-t")}, m_folder->filePath(QStringLiteral("bin/") + COMMAND));
    QVERIFY(process.waitForFinished(PATIENCE));
    QCOMPARE(process.exitCode(), 0);
    QTRY_COMPARE_WITH_TIMEOUT(started(), QStringLiteral("mate-time-admin"), PATIENCE);
}

void ControlCenterTest::installationLinksTheCommand()
{
    if (!QFileInfo(QStringLiteral(BUILD_FOLDER)).isWritable()) {
        QSKIP("an installation writes into the build folder, which is another user's");
    }
    const QString prefix = m_folder->filePath(QStringLiteral("prefix"));
    QVERIFY(installTo(prefix));
    const QFileInfo link(prefix + QStringLiteral("/bin/") + COMMAND);
    QVERIFY(link.isSymLink());
    QCOMPARE(link.canonicalFilePath(),
             QFileInfo(prefix + QStringLiteral("/libexec/tavel-ai-yestermark/") + COMMAND)
                 .canonicalFilePath());
    QVERIFY(QFileInfo(prefix + QStringLiteral("/share/tavel-ai-yestermark/models.list")).isFile());
    QVERIFY(installTo(prefix)); // again, over itself
    QVERIFY(link.isExecutable());
}

void ControlCenterTest::installationLeavesAnotherCommandAlone()
{
    if (!QFileInfo(QStringLiteral(BUILD_FOLDER)).isWritable()) {
        QSKIP("an installation writes into the build folder, which is another user's");
    }
    const QString prefix = m_folder->path();
    QVERIFY(addProgram(COMMAND));
    QVERIFY(installTo(prefix));
    const QFileInfo command(prefix + QStringLiteral("/bin/") + COMMAND);
    QVERIFY(!command.isSymLink());
    QVERIFY(command.size() < 200);
}

QTEST_GUILESS_MAIN(ControlCenterTest)
#include "controlcentertest.moc"
