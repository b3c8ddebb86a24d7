// Real processes of the program `instance` that meet in a runtime directory of their own.

#include "singleapplication/instanceconnection.h"
#include "singleapplication/instanceserver.h"
#include "singleapplication/messageformat.h"

#include <QElapsedTimer>
#include <QLocalServer>
#include <QLocalSocket>
#include <QProcess>
#include <QTemporaryDir>
#include <QtTest>
#include <algorithm>
#include <csignal>
#include <memory>

namespace
{
constexpr int PATIENCE_MS = 20000;
// How much later than its time-out a call may return on a busy machine.
constexpr int SLACK_MS = 2000;

// One process and what it has told.
class Instance
{
public:
    explicit Instance(const QProcessEnvironment &environment, const QStringList &arguments = {})
    {
        m_process.setProcessEnvironment(environment);
        m_process.start(QCoreApplication::applicationDirPath() + "/instance", arguments);
    }

    ~Instance() { stop(); }
    Q_DISABLE_COPY(Instance)

    // The next line, or an empty one if none comes.
    QByteArray line()
    {
        QElapsedTimer watch;
        watch.start();
        while (!m_process.canReadLine() && watch.elapsed() < PATIENCE_MS &&
               m_process.state() != QProcess::NotRunning) {
            m_process.waitForReadyRead(100);
        }
        return m_process.readLine().trimmed();
    }

    void order(const QByteArray &text)
    {
        m_process.write(text + '\n');
        while (m_process.bytesToWrite() > 0 && m_process.waitForBytesWritten()) {
        }
    }

    void orderToSend(const QString &message, int timeout = 5000)
    {
        order("send " + QByteArray::number(timeout) + ' ' + message.toUtf8().toBase64());
    }

    bool loop()
    {
        order("loop");
        return line() == "looping";
    }

    void raise(int signal) const { ::kill(static_cast<pid_t>(m_process.processId()), signal); }

    void kill()
    {
        raise(SIGKILL);
        m_process.waitForFinished();
    }

    // Ends it in order; everything that it said and nobody read, its errors last.
    QByteArray stop()
    {
        m_process.closeWriteChannel();
        m_process.waitForFinished();
        return m_process.readAllStandardOutput() + m_process.readAllStandardError();
    }

private:
    QProcess m_process;
};

QByteArray messageLine(const QString &message)
{
    return ("message " + message.toUtf8().toBase64()).trimmed();
}

// Qt's platform plug-in has an opinion of its own on a bad runtime directory.
QByteArray withoutQtsOwn(const QByteArray &text)
{
    QByteArray rest;
    for (const QByteArray &line : text.split('\n')) {
        if (!line.isEmpty() && !line.startsWith("QStandardPaths:")) {
            rest += line + '\n';
        }
    }
    return rest;
}
} // namespace

class TestQtSingleApplication : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void oneInstanceASession();
    void sessionIsTheRuntimeDirectory();
    void withoutRuntimeDirectoryTheCacheIsUsed_data();
    void withoutRuntimeDirectoryTheCacheIsUsed();
    void withoutGuiNoDisplayIsWanted();
    void messageArrivesOnceAndIsAcknowledged_data();
    void messageArrivesOnceAndIsAcknowledged();
    void manyMessagesAtOnceArriveOnceEach();
    void messageOverTheLimitIsRefused();
    void firstInstanceSendsItselfNothing();
    void nextStartAfterKillTakesTheSession();
    void secondInstanceTakesTheSessionWhenTheFirstHasGone();
    void commandOfAKilledInstanceDoesNotKeepTheSession();
    void whatEarlierProcessesLeftDoesNotStopAStart_data();
    void whatEarlierProcessesLeftDoesNotStopAStart();
    void exactlyOneOfManySimultaneousStartsIsFirst();
    void stoppedFirstInstanceFailsTheMessageInTime_data();
    void stoppedFirstInstanceFailsTheMessageInTime();
    void fullBacklogFailsTheMessageInTime();
    void missingAnswerFailsTheMessageInTime();
    void lockWithoutSocketFailsTheMessageInTime();
    void messageBeforeTheLoopRunsIsDeliveredOnceItRuns();
    void secondStartWaitsForASocketThatComesLate();
    void garbageIsDropped_data();
    void garbageIsDropped();
    void unfinishedMessageIsNotDelivered();
    void silentConnectionIsDroppedAfterItsTime();
    void trickleIsDroppedAfterItsTime();
    void crowdOfSilentConnectionsDoesNotKeepAMessageOut();
    void filesArePrivate();
    void unusableDirectoryLetsTheProgramStartWithOneWarning_data();
    void unusableDirectoryLetsTheProgramStartWithOneWarning();
    void socketPathTooLongLetsTheProgramStartWithOneWarning();

private:
    std::unique_ptr<Instance> start(const QStringList &arguments = {}) const;
    QString directory() const { return m_runtime->path() + "/instance"; }
    QString socketPath() const { return directory() + "/instance.socket"; }
    void verifyMessagePasses(Instance &first) const;

    QScopedPointer<QTemporaryDir> m_runtime;
    QProcessEnvironment m_environment;
};

void TestQtSingleApplication::init()
{
    m_runtime.reset(new QTemporaryDir);
    m_environment = QProcessEnvironment::systemEnvironment();
    m_environment.insert("XDG_RUNTIME_DIR", m_runtime->path());
}

std::unique_ptr<Instance> TestQtSingleApplication::start(const QStringList &arguments) const
{
    return std::make_unique<Instance>(m_environment, arguments);
}

void TestQtSingleApplication::verifyMessagePasses(Instance &first) const
{
    const auto second = start();
    QCOMPARE(second->line(), QByteArray("second"));
    second->orderToSend("still there");
    QVERIFY(second->line().startsWith("sent "));
    QCOMPARE(first.line(), messageLine("still there"));
}

void TestQtSingleApplication::oneInstanceASession()
{
    const auto first = start();
    QCOMPARE(first->line(), QByteArray("first"));
    const auto second = start();
    QCOMPARE(second->line(), QByteArray("second"));
    first->stop();
    const auto third = start();
    QCOMPARE(third->line(), QByteArray("first"));
}

void TestQtSingleApplication::sessionIsTheRuntimeDirectory()
{
    const auto here = start();
    QCOMPARE(here->line(), QByteArray("first"));
    const QTemporaryDir other;
    m_environment.insert("XDG_RUNTIME_DIR", other.path());
    const auto there = start();
    QCOMPARE(there->line(), QByteArray("first"));
}

void TestQtSingleApplication::withoutRuntimeDirectoryTheCacheIsUsed_data()
{
    QTest::addColumn<QString>("runtimeDirectory");
    QTest::newRow("unset") << QString();
    QTest::newRow("empty") << "";
    QTest::newRow("relative") << "run/user";
}

void TestQtSingleApplication::withoutRuntimeDirectoryTheCacheIsUsed()
{
    QFETCH(QString, runtimeDirectory);
    if (runtimeDirectory.isNull()) {
        m_environment.remove("XDG_RUNTIME_DIR");
    } else {
        m_environment.insert("XDG_RUNTIME_DIR", runtimeDirectory);
    }
    m_environment.insert("XDG_CACHE_HOME", m_runtime->path());
    const auto first = start();
    QCOMPARE(first->line(), QByteArray("first"));
    QVERIFY(QFileInfo::exists(directory() + "/instance.lock"));
    QVERIFY(first->loop());
    verifyMessagePasses(*first);
}

void TestQtSingleApplication::withoutGuiNoDisplayIsWanted()
{
    m_environment.insert("QT_QPA_PLATFORM", "xcb");
    m_environment.remove("DISPLAY");
    const auto first = start({"nodisplay"});
    QCOMPARE(first->line(), QByteArray("first"));
    first->order("platform");
    QCOMPARE(first->line(), QByteArray("minimal"));
}

void TestQtSingleApplication::messageArrivesOnceAndIsAcknowledged_data()
{
    QTest::addColumn<QString>("message");
    QTest::newRow("path") << "/usr/bin/tavel-ai-yestermark";
    QTest::newRow("Chinese") << QString::fromUtf8("打开 昨天的画面 😀");
    QTest::newRow("empty") << "";
    QTest::newRow("lines") << "first\nsecond\r\n\n";
    QTest::newRow("zero byte") << QString::fromUtf8("before\0after", 12);
    QTest::newRow("longer than a socket buffer") << QString(700000, 'x');
    QTest::newRow("one megabyte") << QString(MessageFormat::TEXT_LIMIT, 'y');
}

void TestQtSingleApplication::messageArrivesOnceAndIsAcknowledged()
{
    QFETCH(QString, message);
    const auto first = start();
    QCOMPARE(first->line(), QByteArray("first"));
    QVERIFY(first->loop());
    const auto second = start();
    QCOMPARE(second->line(), QByteArray("second"));
    second->orderToSend(message);
    QVERIFY(second->line().startsWith("sent "));
    QCOMPARE(first->line(), messageLine(message));
    QCOMPARE(first->stop(), QByteArray());
}

void TestQtSingleApplication::manyMessagesAtOnceArriveOnceEach()
{
    constexpr int COUNT = 10;
    const auto first = start();
    QCOMPARE(first->line(), QByteArray("first"));
    QVERIFY(first->loop());
    std::vector<std::unique_ptr<Instance>> others;
    QSet<QByteArray> expected;
    for (int i = 0; i < COUNT; ++i) {
        others.push_back(start());
        expected.insert(messageLine(QString::number(i)));
    }
    for (int i = 0; i < COUNT; ++i) {
        QCOMPARE(others[i]->line(), QByteArray("second"));
        others[i]->orderToSend(QString::number(i));
    }
    QSet<QByteArray> received;
    for (int i = 0; i < COUNT; ++i) {
        QVERIFY(others[i]->line().startsWith("sent "));
        received.insert(first->line());
    }
    QCOMPARE(received, expected);
    QCOMPARE(first->stop(), QByteArray());
}

void TestQtSingleApplication::messageOverTheLimitIsRefused()
{
    const auto first = start();
    QCOMPARE(first->line(), QByteArray("first"));
    QVERIFY(first->loop());
    const auto second = start();
    QCOMPARE(second->line(), QByteArray("second"));
    second->orderToSend(QString(MessageFormat::TEXT_LIMIT + 1, 'z'));
    const QByteArray answer = second->line();
    QVERIFY(answer.startsWith("failed "));
    QVERIFY(answer.mid(7).toInt() < 1000);
    verifyMessagePasses(*first);
}

void TestQtSingleApplication::firstInstanceSendsItselfNothing()
{
    const auto first = start();
    QCOMPARE(first->line(), QByteArray("first"));
    first->orderToSend("to myself");
    const QByteArray answer = first->line();
    QVERIFY(answer.startsWith("failed "));
    QVERIFY(answer.mid(7).toInt() < 1000);
}

void TestQtSingleApplication::nextStartAfterKillTakesTheSession()
{
    for (int round = 0; round < 3; ++round) {
        const auto first = start();
        QCOMPARE(first->line(), QByteArray("first"));
        QVERIFY(first->loop());
        verifyMessagePasses(*first);
        first->kill();
        QVERIFY(QFileInfo::exists(socketPath())); // left behind, for the next round to remove
    }
}

void TestQtSingleApplication::secondInstanceTakesTheSessionWhenTheFirstHasGone()
{
    const auto first = start();
    QCOMPARE(first->line(), QByteArray("first"));
    const auto second = start();
    QCOMPARE(second->line(), QByteArray("second"));
    first->kill();
    second->order("role");
    QCOMPARE(second->line(), QByteArray("first"));
    QVERIFY(second->loop());
    verifyMessagePasses(*second);
}

void TestQtSingleApplication::commandOfAKilledInstanceDoesNotKeepTheSession()
{
    const auto first = start();
    QCOMPARE(first->line(), QByteArray("first"));
    first->order("command");
    QCOMPARE(first->line(), QByteArray("running"));
    first->kill();
    const auto next = start();
    QCOMPARE(next->line(), QByteArray("first"));
}

void TestQtSingleApplication::whatEarlierProcessesLeftDoesNotStopAStart_data()
{
    QTest::addColumn<QString>("file");
    QTest::addColumn<QByteArray>("content");
    QTest::newRow("empty lock") << "instance.lock" << QByteArray();
    QTest::newRow("lock with garbage") << "instance.lock" << QByteArray(5000, '\xff');
    QTest::newRow("lock with a live process id")
        << "instance.lock" << QByteArray::number(QCoreApplication::applicationPid());
    QTest::newRow("a file in the socket's place") << "instance.socket" << QByteArray("text");
}

void TestQtSingleApplication::whatEarlierProcessesLeftDoesNotStopAStart()
{
    QFETCH(QString, file);
    QFETCH(QByteArray, content);
    QVERIFY(QDir().mkpath(directory()));
    QFile left(directory() + '/' + file);
    QVERIFY(left.open(QIODevice::WriteOnly));
    left.write(content);
    left.close();
    const auto first = start();
    QCOMPARE(first->line(), QByteArray("first"));
    QVERIFY(first->loop());
    verifyMessagePasses(*first);
    QCOMPARE(first->stop(), QByteArray());
}

void TestQtSingleApplication::exactlyOneOfManySimultaneousStartsIsFirst()
{
    constexpr int COUNT = 12;
    for (int round = 0; round < 4; ++round) {
        std::vector<std::unique_ptr<Instance>> all(COUNT);
        std::generate(all.begin(), all.end(), [this] { return start(); });
        QList<QByteArray> roles;
        for (const auto &instance : all) {
            roles.append(instance->line());
        }
        QCOMPARE(roles.count("first"), 1);
        QCOMPARE(roles.count("second"), COUNT - 1);
        Instance &first = *all[roles.indexOf("first")];
        QVERIFY(first.loop());
        verifyMessagePasses(first);
        // Everybody dies: the next round starts from what that leaves.
        for (const auto &instance : all) {
            instance->kill();
        }
    }
}

void TestQtSingleApplication::stoppedFirstInstanceFailsTheMessageInTime_data()
{
    QTest::addColumn<int>("size");
    QTest::addColumn<int>("timeout");
    QTest::newRow("short message") << 10 << 700;
    QTest::newRow("message that doesn't fit the socket") << MessageFormat::TEXT_LIMIT << 700;
    QTest::newRow("no time") << 10 << 0;
    QTest::newRow("negative time") << 10 << -1;
}

void TestQtSingleApplication::stoppedFirstInstanceFailsTheMessageInTime()
{
    QFETCH(int, size);
    QFETCH(int, timeout);
    const auto first = start();
    QCOMPARE(first->line(), QByteArray("first"));
    QVERIFY(first->loop());
    const auto second = start();
    QCOMPARE(second->line(), QByteArray("second"));
    first->raise(SIGSTOP);
    second->orderToSend(QString(size, 'x'), timeout);
    const QByteArray answer = second->line();
    first->raise(SIGCONT);
    QVERIFY2(answer.startsWith("failed "), answer.constData());
    const int elapsed = answer.mid(7).toInt();
    QVERIFY2(elapsed >= timeout - 1 && elapsed < qMax(0, timeout) + SLACK_MS, answer.constData());
}

void TestQtSingleApplication::fullBacklogFailsTheMessageInTime()
{
    const auto first = start();
    QCOMPARE(first->line(), QByteArray("first"));
    QVERIFY(first->loop());
    const auto second = start();
    QCOMPARE(second->line(), QByteArray("second"));
    first->raise(SIGSTOP);
    std::vector<std::unique_ptr<QLocalSocket>> crowd;
    do {
        crowd.push_back(std::make_unique<QLocalSocket>());
        crowd.back()->connectToServer(socketPath());
    } while (crowd.size() < 500 && crowd.back()->waitForConnected(100));
    QVERIFY(crowd.size() < 500);
    second->orderToSend("no room", 700);
    const QByteArray answer = second->line();
    first->raise(SIGCONT);
    QVERIFY2(answer.startsWith("failed "), answer.constData());
    QVERIFY2(answer.mid(7).toInt() < 700 + SLACK_MS, answer.constData());
}

void TestQtSingleApplication::missingAnswerFailsTheMessageInTime()
{
    const auto first = start();
    QCOMPARE(first->line(), QByteArray("first"));
    QVERIFY(QFile::remove(socketPath()));
    QLocalServer silent; // takes the connection and says nothing
    QVERIFY(silent.listen(socketPath()));
    const auto second = start();
    QCOMPARE(second->line(), QByteArray("second"));
    second->orderToSend("anybody there?", 700);
    const QByteArray answer = second->line();
    QVERIFY2(answer.startsWith("failed "), answer.constData());
    QVERIFY2(answer.mid(7).toInt() < 700 + SLACK_MS, answer.constData());
}

void TestQtSingleApplication::lockWithoutSocketFailsTheMessageInTime()
{
    const auto first = start();
    QCOMPARE(first->line(), QByteArray("first"));
    QVERIFY(QFile::remove(socketPath()));
    const auto second = start();
    QCOMPARE(second->line(), QByteArray("second"));
    second->orderToSend("nobody listens", 700);
    const QByteArray answer = second->line();
    QVERIFY2(answer.startsWith("failed "), answer.constData());
    const int elapsed = answer.mid(7).toInt();
    QVERIFY2(elapsed >= 699 && elapsed < 700 + SLACK_MS, answer.constData());
}

void TestQtSingleApplication::messageBeforeTheLoopRunsIsDeliveredOnceItRuns()
{
    const auto first = start();
    QCOMPARE(first->line(), QByteArray("first"));
    const auto second = start();
    QCOMPARE(second->line(), QByteArray("second"));
    second->orderToSend("too early", 200);
    QVERIFY(second->line().startsWith("failed "));
    second->orderToSend("patient");
    QVERIFY(first->loop());
    QVERIFY(second->line().startsWith("sent "));
    QCOMPARE(first->line(), messageLine("too early"));
    QCOMPARE(first->line(), messageLine("patient"));
    QCOMPARE(first->stop(), QByteArray());
}

void TestQtSingleApplication::secondStartWaitsForASocketThatComesLate()
{
    const auto first = start();
    QCOMPARE(first->line(), QByteArray("first"));
    const QString aside = directory() + "/aside";
    QVERIFY(QFile::rename(socketPath(), aside));
    const auto second = start();
    QCOMPARE(second->line(), QByteArray("second"));
    QVERIFY(first->loop());
    second->orderToSend("found you");
    QVERIFY(QFile::rename(aside, socketPath()));
    QVERIFY(second->line().startsWith("sent "));
    QCOMPARE(first->line(), messageLine("found you"));
}

void TestQtSingleApplication::garbageIsDropped_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::newRow("text") << QByteArray("GET / HTTP/1.1\r\n\r\n");
    QTest::newRow("one wrong byte") << QByteArray("X");
    QTest::newRow("zeros") << QByteArray(100000, '\0');
    QTest::newRow("length beyond the limit")
        << MessageFormat::header(MessageFormat::TEXT_LIMIT + 1);
    QTest::newRow("length of all ones") << MessageFormat::header(-1);
    QTest::newRow("more than announced") << MessageFormat::header(3) + "abcdef";
}

void TestQtSingleApplication::garbageIsDropped()
{
    QFETCH(QByteArray, bytes);
    const auto first = start();
    QCOMPARE(first->line(), QByteArray("first"));
    QVERIFY(first->loop());
    QLocalSocket stranger;
    stranger.connectToServer(socketPath());
    QVERIFY(stranger.waitForConnected());
    QElapsedTimer watch;
    watch.start();
    stranger.write(bytes);
    QTRY_COMPARE(stranger.state(), QLocalSocket::UnconnectedState);
    QVERIFY(watch.elapsed() < InstanceConnection::TIME_LIMIT_MS / 2);
    verifyMessagePasses(*first);
    const QByteArray rest = first->stop();
    QVERIFY(!rest.contains("message "));
    QCOMPARE(rest.count("dropped"), 1);
}

void TestQtSingleApplication::unfinishedMessageIsNotDelivered()
{
    const auto first = start();
    QCOMPARE(first->line(), QByteArray("first"));
    QVERIFY(first->loop());
    QLocalSocket sender;
    sender.connectToServer(socketPath());
    QVERIFY(sender.waitForConnected());
    sender.write(MessageFormat::header(100) + "half");
    QVERIFY(sender.waitForBytesWritten());
    sender.abort();
    verifyMessagePasses(*first);
    QCOMPARE(first->stop(), QByteArray());
}

void TestQtSingleApplication::silentConnectionIsDroppedAfterItsTime()
{
    const auto first = start();
    QCOMPARE(first->line(), QByteArray("first"));
    QVERIFY(first->loop());
    QLocalSocket silent;
    silent.connectToServer(socketPath());
    QVERIFY(silent.waitForConnected());
    QElapsedTimer watch;
    watch.start();
    verifyMessagePasses(*first); // meanwhile
    QCOMPARE(silent.state(), QLocalSocket::ConnectedState);
    QTRY_COMPARE_WITH_TIMEOUT(silent.state(), QLocalSocket::UnconnectedState,
                              InstanceConnection::TIME_LIMIT_MS + SLACK_MS);
    QVERIFY(watch.elapsed() > InstanceConnection::TIME_LIMIT_MS - SLACK_MS);
    verifyMessagePasses(*first);
}

void TestQtSingleApplication::trickleIsDroppedAfterItsTime()
{
    const auto first = start();
    QCOMPARE(first->line(), QByteArray("first"));
    QVERIFY(first->loop());
    QLocalSocket slow;
    slow.connectToServer(socketPath());
    QVERIFY(slow.waitForConnected());
    slow.write(MessageFormat::header(1000));
    QTimer drip;
    connect(&drip, &QTimer::timeout, &slow, [&slow] { slow.write("x"); });
    drip.start(100);
    QTRY_COMPARE_WITH_TIMEOUT(slow.state(), QLocalSocket::UnconnectedState,
                              InstanceConnection::TIME_LIMIT_MS + SLACK_MS);
    QCOMPARE(first->stop(), QByteArray());
}

void TestQtSingleApplication::crowdOfSilentConnectionsDoesNotKeepAMessageOut()
{
    const auto first = start();
    QCOMPARE(first->line(), QByteArray("first"));
    QVERIFY(first->loop());
    std::vector<std::unique_ptr<QLocalSocket>> crowd;
    for (int i = 0; i < 3 * InstanceServer::CONNECTION_LIMIT; ++i) {
        crowd.push_back(std::make_unique<QLocalSocket>());
        crowd.back()->connectToServer(socketPath());
        QVERIFY(crowd.back()->waitForConnected());
    }
    verifyMessagePasses(*first);
    const auto connected = [&crowd] {
        return std::count_if(crowd.begin(), crowd.end(), [](const auto &socket) {
            return socket->state() == QLocalSocket::ConnectedState;
        });
    };
    QTRY_VERIFY(connected() <= InstanceServer::CONNECTION_LIMIT);
    QCOMPARE(crowd.front()->state(), QLocalSocket::UnconnectedState);
}

void TestQtSingleApplication::filesArePrivate()
{
    QVERIFY(QDir().mkpath(directory())); // as an open mask would have left it
    QVERIFY(QFile::setPermissions(directory(), QFile::Permissions(0x7777)));
    const auto first = start();
    QCOMPARE(first->line(), QByteArray("first"));
    const QFile::Permissions owner =
        QFile::ReadOwner | QFile::WriteOwner | QFile::ReadUser | QFile::WriteUser;
    QCOMPARE(QFileInfo(directory()).permissions(), owner | QFile::ExeOwner | QFile::ExeUser);
    QCOMPARE(QFileInfo(directory() + "/instance.lock").permissions(), owner);
    QCOMPARE(QFileInfo(socketPath()).permissions(), owner);
}

void TestQtSingleApplication::unusableDirectoryLetsTheProgramStartWithOneWarning_data()
{
    QTest::addColumn<QString>("runtimeDirectory");
    QTest::newRow("missing") << "/proc/none/such";
    QTest::newRow("not writable for anybody") << "/proc";
    QTest::newRow("a file") << "/dev/null";
}

void TestQtSingleApplication::unusableDirectoryLetsTheProgramStartWithOneWarning()
{
    QFETCH(QString, runtimeDirectory);
    m_environment.insert("XDG_RUNTIME_DIR", runtimeDirectory);
    const auto program = start();
    QCOMPARE(program->line(), QByteArray("first"));
    program->order("role");
    QCOMPARE(program->line(), QByteArray("first"));
    QVERIFY(program->loop());
    const QByteArray rest = withoutQtsOwn(program->stop());
    QVERIFY2(rest.count('\n') == 1, rest.constData());
    QVERIFY2(rest.startsWith("No lock in " + runtimeDirectory.toUtf8()), rest.constData());
}

void TestQtSingleApplication::socketPathTooLongLetsTheProgramStartWithOneWarning()
{
    const QString deep = m_runtime->path() + '/' + QString(120, 'd');
    QVERIFY(QDir().mkpath(deep));
    m_environment.insert("XDG_RUNTIME_DIR", deep);
    const auto first = start();
    QCOMPARE(first->line(), QByteArray("first"));
    const auto second = start();
    QCOMPARE(second->line(), QByteArray("second")); // the lock works all the same
    second->orderToSend("unheard", 300);
    QVERIFY(second->line().startsWith("failed "));
    QVERIFY(first->loop());
    const QByteArray rest = withoutQtsOwn(first->stop());
    QVERIFY2(rest.count('\n') == 1, rest.constData());
    QVERIFY2(rest.startsWith("No socket at " + deep.toUtf8()), rest.constData());
}

QTEST_GUILESS_MAIN(TestQtSingleApplication)
#include "qtsingleapplicationtest.moc"
