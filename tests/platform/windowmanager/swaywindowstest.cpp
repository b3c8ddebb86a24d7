// What is asked of sway's socket, against a socket that answers, stumbles and goes on command.

#include "windowmanager/wlroots/swaywindows.h"

#include "support/logcapture.h"

#include <QLocalServer>
#include <QTemporaryDir>
#include <QTest>

#include <cstring>

namespace
{
constexpr int waitMs = 10000;
const QByteArray tree = R"({"type":"root","name":"root","nodes":[
 {"type":"output","name":"__i3","nodes":[{"type":"workspace","name":"__i3_scratch","floating_nodes":[
  {"type":"floating_con","id":9,"name":"hidden","app_id":"a","pid":30,"nodes":[]}]}]},
 {"type":"output","name":"HEADLESS-1","nodes":[{"type":"workspace","name":"1","nodes":[
  {"type":"con","id":5,"name":"Yestermark","app_id":"tavel-ai-yestermark","pid":17},
  {"type":"con","id":6,"name":"split","nodes":[
   {"type":"con","id":7,"name":"xterm","app_id":null,"pid":18}]}],
  "floating_nodes":[{"type":"floating_con","id":8,"name":"对话框","app_id":"b","pid":19}]}]}]})";

QByteArray message(quint32 type, const QByteArray &payload)
{
    const quint32 length = payload.size();
    return QByteArray("i3-ipc") + QByteArray(reinterpret_cast<const char *>(&length), 4) +
           QByteArray(reinterpret_cast<const char *>(&type), 4) + payload;
}
} // namespace

class SwayWindowsTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void windowsOfTheTreeAreFoundWhereverTheyStand();
    void somethingElseThanATreeHasNoWindows_data();
    void somethingElseThanATreeHasNoWindows();
    void withoutASocketThereIsNoSway_data();
    void withoutASocketThereIsNoSway();
    void questionsAndCommandsAreAskedAsSwayReadsThem();
    void anAnswerInPiecesIsPutTogether();
    void whatIsNoMessageEndsTheConversation_data();
    void whatIsNoMessageEndsTheConversation();
    void aSwayThatGoesAnswersWithNothing();
    void aSwayThatIsGoneAnswersWithNothing();

private:
    QTemporaryDir m_folder;
    std::unique_ptr<QLocalServer> m_server;
    std::unique_ptr<SwayWindows> m_ipc;
    QLocalSocket *m_peer = nullptr;
};

void SwayWindowsTest::init()
{
    m_server = std::make_unique<QLocalServer>();
    const QString path = m_folder.filePath("sway.sock");
    QVERIFY(m_server->listen(path));
    qputenv("SWAYSOCK", path.toUtf8());
    m_ipc = SwayWindows::connectToSway();
    QVERIFY(m_ipc);
    QVERIFY(m_server->waitForNewConnection(waitMs));
    m_peer = m_server->nextPendingConnection();
}

void SwayWindowsTest::cleanup()
{
    m_ipc.reset();
    m_server.reset();
}

void SwayWindowsTest::windowsOfTheTreeAreFoundWhereverTheyStand()
{
    const QVector<SwayWindow> windows = swayWindowsIn(tree);
    QCOMPARE(windows.size(), 4);
    QCOMPARE(windows[0].title, QStringLiteral("hidden"));
    QVERIFY(windows[0].isStowed);
    QCOMPARE(windows[1].id, 5);
    QCOMPARE(windows[1].processId, 17);
    QCOMPARE(windows[1].appId, QStringLiteral("tavel-ai-yestermark"));
    QVERIFY(!windows[1].isStowed);
    QVERIFY(!windows[1].isFloating);
    QCOMPARE(windows[2].appId, QString());
    QCOMPARE(windows[3].title, QStringLiteral("对话框"));
    QVERIFY(windows[3].isFloating);
}

void SwayWindowsTest::somethingElseThanATreeHasNoWindows_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::newRow("nothing") << QByteArray();
    QTest::newRow("no JSON") << QByteArray("{\"nodes\":");
    QTest::newRow("a list") << QByteArray("[1, 2]");
    QTest::newRow("nodes that are none") << QByteArray(R"({"nodes":[1,null,{"nodes":3}]})");
}

void SwayWindowsTest::somethingElseThanATreeHasNoWindows()
{
    QFETCH(QByteArray, text);
    QCOMPARE(swayWindowsIn(text).size(), 0);
}

void SwayWindowsTest::withoutASocketThereIsNoSway_data()
{
    QTest::addColumn<QByteArray>("path");
    QTest::newRow("not named") << QByteArray();
    QTest::newRow("gone") << m_folder.filePath("gone.sock").toUtf8();
}

void SwayWindowsTest::withoutASocketThereIsNoSway()
{
    QFETCH(QByteArray, path);
    qputenv("SWAYSOCK", path);
    QVERIFY(!SwayWindows::connectToSway());
}

void SwayWindowsTest::questionsAndCommandsAreAskedAsSwayReadsThem()
{
    m_ipc->askForWindows([](const QVector<SwayWindow> &) {});
    m_ipc->command(7, "move scratchpad");
    const QByteArray asked = message(4, "") + message(0, "[con_id=7] move scratchpad");
    QTRY_COMPARE_WITH_TIMEOUT(m_peer->bytesAvailable(), qint64(asked.size()), waitMs);
    QCOMPARE(m_peer->readAll(), asked);
}

void SwayWindowsTest::anAnswerInPiecesIsPutTogether()
{
    QVector<int> sizes;
    m_ipc->command(7, "focus");
    m_ipc->askForWindows([&](const QVector<SwayWindow> &windows) { sizes.append(windows.size()); });
    m_ipc->askForWindows([&](const QVector<SwayWindow> &windows) { sizes.append(windows.size()); });
    const QByteArray answers =
        message(0, R"([{"success":true}])") + message(4, tree) + message(4, "{}");
    for (const char byte : answers) {
        m_peer->write(&byte, 1);
        m_peer->flush();
        QCoreApplication::processEvents();
    }
    QTRY_COMPARE_WITH_TIMEOUT(sizes, (QVector<int>{4, 0}), waitMs);
}

void SwayWindowsTest::whatIsNoMessageEndsTheConversation_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::newRow("another word") << QByteArray("abcdef\2\0\0\0\4\0\0\0{}", 16);
    QTest::newRow("no answer is so long") << QByteArray("i3-ipc\1\0\0\1\4\0\0\0{}", 16);
    QTest::newRow("a length below none") << QByteArray("i3-ipc\377\377\377\377\4\0\0\0{}", 16);
}

void SwayWindowsTest::whatIsNoMessageEndsTheConversation()
{
    QFETCH(QByteArray, bytes);
    const LogCapture log;
    QVector<int> sizes;
    m_ipc->askForWindows([&](const QVector<SwayWindow> &windows) { sizes.append(windows.size()); });
    m_ipc->askForWindows([&](const QVector<SwayWindow> &windows) { sizes.append(windows.size()); });
    m_peer->write(bytes + message(4, tree));
    QTRY_COMPARE_WITH_TIMEOUT(sizes, (QVector<int>{0, 0}), waitMs);
    QCOMPARE(log.count(QtWarningMsg, QStringLiteral("tells no messages")), 1);
    QTRY_COMPARE_WITH_TIMEOUT(m_peer->state(), QLocalSocket::UnconnectedState, waitMs);
}

void SwayWindowsTest::aSwayThatGoesAnswersWithNothing()
{
    int answers = 0;
    m_ipc->askForWindows([&](const QVector<SwayWindow> &windows) {
        ++answers;
        QVERIFY(windows.isEmpty());
    });
    m_peer->write(message(4, tree).left(100));
    m_peer->disconnectFromServer();
    QTRY_COMPARE_WITH_TIMEOUT(answers, 1, waitMs);
}

void SwayWindowsTest::aSwayThatIsGoneAnswersWithNothing()
{
    m_peer->disconnectFromServer();
    int answers = 0;
    const auto isAnswered = [&] {
        answers = 0;
        m_ipc->askForWindows([&](const QVector<SwayWindow> &) { ++answers; });
        return answers == 1;
    };
    QTRY_VERIFY_WITH_TIMEOUT(isAnswered(), waitMs);
}

QTEST_GUILESS_MAIN(SwayWindowsTest)
#include "swaywindowstest.moc"
