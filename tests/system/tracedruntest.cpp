// A whole run under strace: the program, its runtime and engines, the bridge, and all that these
// start. No socket but unix ones, no shell that reads what others chose, nothing of the screen in
// arguments or logs, no file for anybody else.

#include "capture/capturefixture.h"
#include "system/recordedsession.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QRegularExpression>
#include <QStandardPaths>
#include <QTest>

#include <csignal>
#include <sys/stat.h>

using namespace RecordedSession;

namespace
{
constexpr int readingTimeMs = 120000; // at low priority, traced, beside everything else

// Stands in the window's title, in its text, in its program's path and in its arguments. Letters
// that are read alike in every font, then what a shell would act upon.
const QString MARKER = QStringLiteral("zanzibar");
const QString HOSTILE = MARKER + QStringLiteral("$(touch owned)`touch owned`;touch owned;'\"&|");

const QStringList TRACED = {QStringLiteral("-f"), QStringLiteral("-s"), QStringLiteral("4096"),
                            QStringLiteral("-e"), QStringLiteral("trace=socket,connect,execve")};

bool canTrace()
{
    QProcess strace;
    strace.start(QStringLiteral("strace"),
                 {QStringLiteral("-o"), QStringLiteral("/dev/null"), QStringLiteral("/bin/true")});
    return strace.waitForFinished() && strace.exitStatus() == QProcess::NormalExit &&
           strace.exitCode() == 0;
}

QByteArray contents(const QString &path)
{
    QFile file(path);
    return file.open(QFile::ReadOnly) ? file.readAll() : QByteArray();
}

/// A terminal of a hostile name, under a package's entry, that shows the marker among text that
/// changes.
class HostileTerminal
{
public:
    HostileTerminal()
    {
        const QString folder = QDir::homePath() + QLatin1Char('/') + HOSTILE;
        QDir().mkpath(folder);
        const QString program = folder + QStringLiteral("/xterm");
        QFile::copy(QStringLiteral("/usr/bin/xterm"), program);
        // The window manager asks for the active window's process, whose arguments are these.
        m_process.start(
            program,
            {QStringLiteral("-fullscreen"), QStringLiteral("-title"), HOSTILE,
             QStringLiteral("-fa"), QStringLiteral("DejaVu Sans Mono"), QStringLiteral("-fs"),
             QStringLiteral("16"), QStringLiteral("-e"), QStringLiteral("sh"), QStringLiteral("-c"),
             QStringLiteral("while :; do clear; for i in 1 2 3 4 5 6 7 8; do echo; echo "
                            "\"the %1 register\"; head -c 12 /dev/urandom | base64; done; "
                            "sleep 2; done")
                 .arg(MARKER),
             HOSTILE, QStringLiteral("lupine")});
        m_process.waitForStarted();
    }
    ~HostileTerminal()
    {
        m_process.terminate();
        m_process.waitForFinished();
    }
    Q_DISABLE_COPY(HostileTerminal)

private:
    QProcess m_process;
};

/// Rows in which the marker was read.
int markedRows()
{
    int count = 0;
    for (const ScreenShotData &row : CaptureFixture::storedRows()) {
        count += row.ocrText.contains(MARKER, Qt::CaseInsensitive) ? 1 : 0;
    }
    return count;
}

QString coreLimitOf(uint process)
{
    for (const QByteArray &line :
         contents(QStringLiteral("/proc/%1/limits").arg(process)).split('\n')) {
        if (line.startsWith("Max core file size")) {
            return QString::fromLatin1(line.simplified().split(' ').value(4));
        }
    }
    return {};
}
} // namespace

class TestTracedRun : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();

    void everySocketIsAUnixSocket();
    void noShellReadsWhatOthersChose();
    void argumentsHoldNothingOfTheScreen();
    void logsHoldNothingOfTheScreen();
    void whatIsLeftIsForTheUserOnly();
    void processesLeaveNoCoreDumps();

private:
    QString traceOf(const char *process) const
    {
        return QDir::home().filePath(QLatin1String(process) + QStringLiteral(".trace"));
    }
    QList<QByteArray> callsOf(const char *name) const;

    QString m_log;
    QList<QByteArray> m_calls;
    QStringList m_coreLimits; // of the program, the bridge
};

void TestTracedRun::initTestCase()
{
    if (!canTrace()) {
        QSKIP("no process can be traced here");
    }
    qputenv("ASAN_OPTIONS", "detect_leaks=0"); // does not work under strace
    QVERIFY(setSetting(QStringLiteral("screenshot-interval"), QStringLiteral("2")));
    QVERIFY(setSetting(QStringLiteral("recording-memory"), QStringLiteral("true")));

    QProcess bridge; // else the bus would start it, out of strace's sight
    bridge.start(QStringLiteral("strace"),
                 QStringList{QStringLiteral("-D"), QStringLiteral("-o"), traceOf("bridge")} +
                     TRACED + QStringList{QStringLiteral(BRIDGE)});
    QVERIFY(bridge.waitForStarted());
    QTRY_VERIFY_WITH_TIMEOUT(ownerOf(QStringLiteral("org.vesk.KWin")) == bridge.processId(), 30000);

    const HostileTerminal terminal;
    Program program;
    program.runUnder(QStringList{QStringLiteral("strace"), QStringLiteral("-D"),
                                 QStringLiteral("-o"), traceOf("program")} +
                     TRACED);
    QVERIFY(program.start());
    QVERIFY(QTest::qWaitFor([] { return markedRows() >= 1; }, readingTimeMs));
    for (const uint process : {program.processId(), uint(bridge.processId())}) {
        m_coreLimits << coreLimitOf(process);
    }
    program.sendSignal(SIGTERM);
    QVERIFY(program.waitForEnd());
    m_log = program.log();
    bridge.terminate();
    QVERIFY(bridge.waitForFinished());

    for (const char *process : {"program", "bridge"}) {
        const QList<QByteArray> lines = contents(traceOf(process)).split('\n');
        QVERIFY2(lines.size() > 5, process);
        m_calls += lines;
    }
}

QList<QByteArray> TestTracedRun::callsOf(const char *name) const
{
    QList<QByteArray> calls;
    const QByteArray start = QByteArray(" ") + name + '(';
    for (const QByteArray &line : m_calls) {
        if (line.contains(start)) {
            calls << line;
        }
    }
    return calls;
}

void TestTracedRun::everySocketIsAUnixSocket()
{
    QVERIFY(!callsOf("socket").isEmpty()); // the bus, the display
    for (const QByteArray &call : callsOf("socket")) {
        QVERIFY2(call.contains("(AF_UNIX"), call.constData());
    }
    for (const QByteArray &call : callsOf("connect")) {
        QVERIFY2(call.contains("sa_family=AF_UNIX"), call.constData());
    }
}

void TestTracedRun::noShellReadsWhatOthersChose()
{
    const QList<QByteArray> started = callsOf("execve");
    QVERIFY(started.size() >= 4); // program, runtime, engines, bridge
    for (const QByteArray &call : started) {
        // The one line that is written for a shell, of constants alone.
        QVERIFY2(!call.contains("\"-c\"") || call.contains("\"/usr/bin/vaultsm "),
                 call.constData());
        QVERIFY2(!call.contains("touch"), call.constData());
    }
    for (const QString &folder : {QDir::homePath(), QDir::currentPath(), QDir::rootPath()}) {
        QVERIFY(!QFile::exists(folder + QStringLiteral("/owned")));
    }
}

void TestTracedRun::argumentsHoldNothingOfTheScreen()
{
    for (const QByteArray &call : callsOf("execve")) {
        QVERIFY2(!call.toLower().contains(MARKER.toUtf8()), call.constData());
    }
}

void TestTracedRun::logsHoldNothingOfTheScreen()
{
    QVERIFY(m_log.contains(QStringLiteral("ScreenHistoryTracker")));
    QVERIFY(!m_log.contains(MARKER, Qt::CaseInsensitive));
    int logs = 0;
    QDirIterator files(QDir::homePath() + QStringLiteral("/.cache"), {QStringLiteral("*.log*")},
                       QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
    while (files.hasNext()) {
        QVERIFY(!contents(files.next()).toLower().contains(MARKER.toUtf8()));
        ++logs;
    }
    QVERIFY(logs > 0);
}

void TestTracedRun::whatIsLeftIsForTheUserOnly()
{
    const QString id = QStringLiteral("/tavel-ai-yestermark");
    const QStringList roots{
        QStandardPaths::writableLocation(QStandardPaths::GenericCacheLocation) + id,
        QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation) + id,
        qEnvironmentVariable("XDG_RUNTIME_DIR") + id};
    int files = 0;
    for (const QString &root : roots) {
        QStringList paths{root};
        QDirIterator below(root,
                           QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot,
                           QDirIterator::Subdirectories);
        while (below.hasNext()) {
            paths << below.next();
        }
        for (const QString &path : paths) {
            struct stat facts = {};
            if (::lstat(QFile::encodeName(path).constData(), &facts) == 0) {
                const mode_t mode = facts.st_mode & 0777;
                const QByteArray told = path.toUtf8() + ' ' + QByteArray::number(mode, 8);
                QVERIFY2(mode == (S_ISDIR(facts.st_mode) ? 0700U : 0600U), told.constData());
                ++files;
            }
        }
    }
    QVERIFY(files > 8); // frames, rows, vectors, logs
}

void TestTracedRun::processesLeaveNoCoreDumps()
{
    QCOMPARE(m_coreLimits, QStringList({QStringLiteral("1"), QStringLiteral("1")}));
}

QTEST_GUILESS_MAIN(TestTracedRun)
#include "tracedruntest.moc"
