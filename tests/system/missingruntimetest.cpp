// The program where no model of the AI runtime can be found: it shows a dialog and ends, and
// records nothing. It runs as a copy, beside which no models lie.

#include "support/commandoutput.h"
#include "system/recordedsession.h"

#include <QDir>
#include <QFile>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>

#include <csignal>

namespace
{
const QByteArray MISSING = "The on-device AI runtime is missing";

/// Sends a key to the program's dialog once it is shown. False if none comes.
bool press(const QProcess &program, const QString &key)
{
    return QTest::qWaitFor(
        [&] {
            const QString window = program.state() == QProcess::Running
                                       ? RecordedSession::windowOf(program.processId())
                                       : QString();
            return !window.isEmpty() &&
                   QProcess::execute(QStringLiteral("xdotool"),
                                     {QStringLiteral("windowactivate"), QStringLiteral("--sync"),
                                      window, QStringLiteral("key"), key}) == 0;
        },
        20000);
}

/// Whether the process catches this signal.
bool catches(qint64 process, int signal)
{
    QFile status(QStringLiteral("/proc/%1/status").arg(process));
    if (!status.open(QIODevice::ReadOnly)) {
        return false;
    }
    const QRegularExpression line(QStringLiteral("SigCgt:\\s*([0-9a-f]+)"));
    const QString mask = line.match(QString::fromLatin1(status.readAll())).captured(1);
    return (mask.toULongLong(nullptr, 16) >> (signal - 1) & 1U) != 0;
}
} // namespace

class TestMissingRuntime : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();

    void itSaysSoAndEndsWith1WhenTheDialogIsCancelled();
    void goingNowOpensTheInstallationAndEndsWith1();
    void theDialogBearsTheProgramsIcon();
    void theSignalHandlersAreInPlaceWhileTheDialogIsOpen();
    void nothingIsRecordedAndNothingStored();

private:
    void launch(QProcess &program) const;

    QTemporaryDir m_folder;
    QString m_program;
};

void TestMissingRuntime::initTestCase()
{
    QVERIFY(QDir(m_folder.path()).mkpath(QStringLiteral("bin")));
    m_program = m_folder.filePath(QStringLiteral("bin/tavel-ai-yestermark"));
    QVERIFY(QFile::copy(RecordedSession::Program().path(), m_program));
}

void TestMissingRuntime::launch(QProcess &program) const
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("XDG_DATA_DIRS"), m_folder.filePath(QStringLiteral("none")));
    environment.insert(QStringLiteral("XDG_DATA_HOME"), m_folder.filePath(QStringLiteral("none")));
    environment.insert(QStringLiteral("PATH"), m_folder.path() + QLatin1Char(':') +
                                                   QString::fromLocal8Bit(qgetenv("PATH")));
    program.setProcessEnvironment(environment);
    program.start(m_program, QStringList());
}

void TestMissingRuntime::itSaysSoAndEndsWith1WhenTheDialogIsCancelled()
{
    QProcess program;
    launch(program);
    QVERIFY(press(program, QStringLiteral("Escape")));
    QVERIFY(program.waitForFinished());
    QCOMPARE(program.exitStatus(), QProcess::NormalExit);
    QCOMPARE(program.exitCode(), 1);
    QCOMPARE(program.readAllStandardError().count(MISSING), 1);
}

void TestMissingRuntime::goingNowOpensTheInstallationAndEndsWith1()
{
    const QString trace = m_folder.filePath(QStringLiteral("trace"));
    QFile command(m_folder.filePath(QStringLiteral("vesk-control-center")));
    QVERIFY(command.open(QFile::WriteOnly));
    command.write("#!/bin/sh\necho \"$*\" > '" + trace.toUtf8() + "'\n");
    command.close();
    QVERIFY(command.setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner));
    QProcess program;
    launch(program);
    QVERIFY(press(program, QStringLiteral("Return")));
    QVERIFY(program.waitForFinished());
    QCOMPARE(program.exitCode(), 1);
    const auto written = [&trace] {
        QFile file(trace);
        return file.open(QFile::ReadOnly) ? file.readAll() : QByteArray();
    };
    QTRY_COMPARE_WITH_TIMEOUT(written(), QByteArray("-m aisubsystem\n"), 10000);
}

void TestMissingRuntime::theDialogBearsTheProgramsIcon()
{
    QProcess program;
    launch(program);
    QVERIFY(press(program, QStringLiteral("shift")));
    const QString window = RecordedSession::windowOf(program.processId());
    const QString icon = outputOf(QStringLiteral("xprop"),
                                  {QStringLiteral("-id"), window, QStringLiteral("_NET_WM_ICON")});
    QVERIFY2(icon.contains(QLatin1String("Icon (")), qPrintable(icon.left(200)));
    QVERIFY(press(program, QStringLiteral("Escape")));
    QVERIFY(program.waitForFinished());
}

void TestMissingRuntime::theSignalHandlersAreInPlaceWhileTheDialogIsOpen()
{
    for (const int signal : {SIGTERM, SIGINT, SIGHUP}) {
        QProcess program;
        launch(program);
        QVERIFY(press(program, QStringLiteral("shift"))); // the dialog is there
        QVERIFY(catches(program.processId(), signal));
        QCOMPARE(program.state(), QProcess::Running);
        ::kill(static_cast<pid_t>(program.processId()), signal);
        QVERIFY(program.waitForFinished());
        QCOMPARE(program.exitStatus(), QProcess::NormalExit);
        QCOMPARE(program.exitCode(), 1);
        QVERIFY(program.readAllStandardError().contains(
            QStringLiteral("Interrupt signal ( %1 ) received.").arg(signal).toUtf8()));
    }
}

void TestMissingRuntime::nothingIsRecordedAndNothingStored()
{
    const QDir cache(QDir::homePath() + QLatin1String("/.cache/tavel-ai-yestermark"));
    // The log of the runs before is all there is.
    QCOMPARE(cache.entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot),
             QStringList(QStringLiteral("log")));
}

QTEST_GUILESS_MAIN(TestMissingRuntime)
#include "missingruntimetest.moc"
