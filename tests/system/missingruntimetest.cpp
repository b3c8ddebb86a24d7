// The program where no model of the AI runtime can be found: it says so and ends, and records
// nothing. It runs as a copy, beside which no models lie.

#include "system/recordedsession.h"

#include <QDir>
#include <QFile>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>

#include <csignal>
#include <fcntl.h>
#include <unistd.h>

namespace
{
const QByteArray MISSING = "The on-device AI runtime is missing";

/// A pipe that is full until it is drained, so that who writes to it stands still.
class FullPipe
{
public:
    FullPipe()
    {
        if (::pipe2(m_ends, O_CLOEXEC) != 0) {
            qFatal("no pipe");
        }
        ::fcntl(writeEnd(), F_SETFL, O_NONBLOCK);
        const QByteArray block(4096, '\n');
        while (::write(writeEnd(), block.constData(), static_cast<size_t>(block.size())) > 0) {
        }
        ::fcntl(writeEnd(), F_SETFL, 0);
    }
    ~FullPipe()
    {
        ::close(m_ends[0]);
        ::close(m_ends[1]);
    }
    Q_DISABLE_COPY_MOVE(FullPipe)

    int writeEnd() const { return m_ends[1]; }

    /// Everything that was written so far.
    QByteArray drain()
    {
        ::fcntl(m_ends[0], F_SETFL, O_NONBLOCK);
        char block[4096];
        for (ssize_t got = 0; (got = ::read(m_ends[0], block, sizeof(block))) > 0;) {
            m_drained.append(block, static_cast<int>(got));
        }
        return m_drained;
    }

private:
    int m_ends[2] = {-1, -1};
    QByteArray m_drained;
};

/// A process whose messages go into a pipe of the test's own.
class Talker : public QProcess
{
public:
    explicit Talker(int standardError) : m_standardError(standardError) {}

protected:
    void setupChildProcess() override { ::dup2(m_standardError, STDERR_FILENO); }

private:
    int m_standardError;
};

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

    void itSaysSoInOneLineAndEndsWith1();
    void theSignalHandlersAreInPlaceByThen();
    void nothingIsRecordedAndNothingStored();

private:
    QProcessEnvironment withoutModels() const;

    QTemporaryDir m_folder;
    QString m_program;
};

void TestMissingRuntime::initTestCase()
{
    QVERIFY(QDir(m_folder.path()).mkpath(QStringLiteral("bin")));
    m_program = m_folder.filePath(QStringLiteral("bin/tavel-ai-yestermark"));
    QVERIFY(QFile::copy(RecordedSession::Program().path(), m_program));
}

QProcessEnvironment TestMissingRuntime::withoutModels() const
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("XDG_DATA_DIRS"), m_folder.filePath(QStringLiteral("none")));
    environment.insert(QStringLiteral("XDG_DATA_HOME"), m_folder.filePath(QStringLiteral("none")));
    return environment;
}

void TestMissingRuntime::itSaysSoInOneLineAndEndsWith1()
{
    QProcess program;
    program.setProcessEnvironment(withoutModels());
    program.start(m_program, QStringList());
    QVERIFY(program.waitForFinished());
    QCOMPARE(program.exitStatus(), QProcess::NormalExit);
    QCOMPARE(program.exitCode(), 1);
    const QByteArray told = program.readAllStandardError();
    QCOMPARE(told.count(MISSING), 1);
    QCOMPARE(told.count('\n'), 1);
}

void TestMissingRuntime::theSignalHandlersAreInPlaceByThen()
{
    FullPipe pipe;
    Talker program(pipe.writeEnd());
    program.setProcessEnvironment(withoutModels());
    program.start(m_program, QStringList());
    QVERIFY(program.waitForStarted());
    // It cannot end before its line is told, and that line cannot be told yet.
    for (const int signal : {SIGTERM, SIGINT, SIGHUP}) {
        QTRY_VERIFY(catches(program.processId(), signal));
    }
    QCOMPARE(program.state(), QProcess::Running);
    pipe.drain();
    QTRY_COMPARE(program.state(), QProcess::NotRunning);
    QCOMPARE(program.exitCode(), 1);
    QCOMPARE(pipe.drain().count(MISSING), 1);
}

void TestMissingRuntime::nothingIsRecordedAndNothingStored()
{
    const QDir cache(QDir::homePath() + QLatin1String("/.cache/tavel-ai-yestermark"));
    // The log of the two runs before is all there is.
    QCOMPARE(cache.entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot),
             QStringList(QStringLiteral("log")));
}

QTEST_GUILESS_MAIN(TestMissingRuntime)
#include "missingruntimetest.moc"
