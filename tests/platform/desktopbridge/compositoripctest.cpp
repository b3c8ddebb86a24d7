// The active window by the sockets of sway and Hyprland: what they answer, and where they are found
// when the bus starts the bridge without the session's variables. sway's own answers are seen in
// wlrootsbackendtest.

#include "desktopbridge/wlroots/hyprlandipc.h"
#include "desktopbridge/wlroots/swayipc.h"

#include <QDir>
#include <QElapsedTimer>
#include <QTemporaryDir>
#include <QTest>

#include <cstring>
#include <sys/socket.h>
#include <sys/un.h>
#include <thread>
#include <unistd.h>

namespace
{
constexpr qint64 COMPOSITOR = 4711;

void writeFile(const QString &path, const QByteArray &text)
{
    QDir().mkpath(QFileInfo(path).path());
    QFile file(path);
    QVERIFY(file.open(QFile::WriteOnly));
    file.write(text);
}

// Answers one question with the same bytes, whatever is asked, and closes.
class OneAnswer
{
public:
    OneAnswer(const QByteArray &path, const QByteArray &answer)
        : m_socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0))
    {
        sockaddr_un address = {};
        address.sun_family = AF_UNIX;
        std::memcpy(address.sun_path, path.constData(), size_t(path.size()));
        if (::bind(m_socket, reinterpret_cast<const sockaddr *>(&address), sizeof(address)) != 0 ||
            ::listen(m_socket, 1) != 0) {
            qFatal("no socket");
        }
        m_thread = std::thread([this, answer] {
            const int peer = ::accept(m_socket, nullptr, nullptr);
            char question[64];
            if (::read(peer, question, sizeof(question)) > 0 && !answer.isEmpty()) {
                ::send(peer, answer.constData(), size_t(answer.size()), MSG_NOSIGNAL);
            } else {
                ::usleep(1500 * 1000); // silence
            }
            ::close(peer);
        });
    }
    ~OneAnswer()
    {
        m_thread.join();
        ::close(m_socket);
    }
    Q_DISABLE_COPY(OneAnswer)

private:
    int m_socket;
    std::thread m_thread;
};
} // namespace

class CompositorIpcTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();

    void focusedWindowOfSway_data();
    void focusedWindowOfSway();
    void activeWindowOfHyprland_data();
    void activeWindowOfHyprland();
    void answerOverTheSocket();
    void silentOrBrokenPeer_data();
    void silentOrBrokenPeer();
    void socketOfSwayByItsProcess();
    void socketOfHyprlandByItsProcess();
    void noSocketAtAll();

private:
    QByteArray path(const char *name) const { return QFile::encodeName(m_folder->filePath(name)); }

    std::unique_ptr<QTemporaryDir> m_folder;
};

void CompositorIpcTest::init()
{
    m_folder = std::make_unique<QTemporaryDir>();
    qputenv("XDG_RUNTIME_DIR", QFile::encodeName(m_folder->path()));
    qunsetenv("SWAYSOCK");
    qunsetenv("HYPRLAND_INSTANCE_SIGNATURE");
}

void CompositorIpcTest::focusedWindowOfSway_data()
{
    QTest::addColumn<QByteArray>("tree");
    QTest::addColumn<int>("process"); // -1: no answer
    QTest::newRow("window") << QByteArray(R"({"focused":false,"nodes":[{"nodes":[
        {"focused":false,"pid":7},{"focused":true,"pid":42}]}]})")
                            << 42;
    QTest::newRow("floating window")
        << QByteArray(R"({"nodes":[{"floating_nodes":[{"focused":true,"pid":43}]}]})") << 43;
    QTest::newRow("empty workspace")
        << QByteArray(R"({"nodes":[{"type":"workspace","focused":true,"nodes":[]}]})") << 0;
    QTest::newRow("nothing has the focus") << QByteArray(R"({"nodes":[]})") << 0;
    QTest::newRow("no tree") << QByteArray("[]") << -1;
    QTest::newRow("half a tree") << QByteArray(R"({"nodes":[{"focused":tr)") << -1;
    QTest::newRow("nothing") << QByteArray() << -1;
}

void CompositorIpcTest::focusedWindowOfSway()
{
    QFETCH(QByteArray, tree);
    QFETCH(int, process);
    const std::optional<quint32> focused = SwayIpc::focusedProcess(tree);
    QCOMPARE(focused ? int(*focused) : -1, process);
}

void CompositorIpcTest::activeWindowOfHyprland_data()
{
    QTest::addColumn<QByteArray>("window");
    QTest::addColumn<int>("process");
    QTest::newRow("window") << QByteArray(R"({"address":"0x55","pid":44,"title":"x"})") << 44;
    QTest::newRow("no window") << QByteArray("{}") << 0;
    QTest::newRow("refused") << QByteArray("unknown request") << -1;
    QTest::newRow("nothing") << QByteArray() << -1;
}

void CompositorIpcTest::activeWindowOfHyprland()
{
    QFETCH(QByteArray, window);
    QFETCH(int, process);
    const std::optional<quint32> active = HyprlandIpc::processOf(window);
    QCOMPARE(active ? int(*active) : -1, process);
}

void CompositorIpcTest::answerOverTheSocket()
{
    const OneAnswer hyprland(path("hypr.sock"), QByteArray(R"({"pid":45})"));
    QCOMPARE(HyprlandIpc(path("hypr.sock")).activeWindowPid(), std::optional<quint32>(45));
    const QByteArray tree(R"({"focused":true,"pid":46})");
    QByteArray answer("i3-ipc");
    const quint32 numbers[] = {quint32(tree.size()), 4};
    answer.append(reinterpret_cast<const char *>(numbers), sizeof(numbers)).append(tree);
    const OneAnswer sway(path("sway.sock"), answer);
    QCOMPARE(SwayIpc(path("sway.sock")).activeWindowPid(), std::optional<quint32>(46));
}

void CompositorIpcTest::silentOrBrokenPeer_data()
{
    QTest::addColumn<QByteArray>("answer");
    QTest::newRow("silent") << QByteArray();
    QTest::newRow("other magic") << QByteArray("abcdef\2\0\0\0\4\0\0\0{}", 16);
    QTest::newRow("half a header") << QByteArray("i3-ipc\2\0", 8);
    QTest::newRow("less than told") << QByteArray("i3-ipc\20\0\0\0\4\0\0\0{}", 16);
    QTest::newRow("absurd length") << QByteArray("i3-ipc\377\377\377\377\4\0\0\0{}", 16);
}

void CompositorIpcTest::silentOrBrokenPeer()
{
    QFETCH(QByteArray, answer);
    const OneAnswer peer(path("sway.sock"), answer);
    QElapsedTimer timer;
    timer.start();
    QVERIFY(!SwayIpc(path("sway.sock")).activeWindowPid());
    QVERIFY2(timer.elapsed() < 1400, qPrintable(QString::number(timer.elapsed())));
}

void CompositorIpcTest::socketOfSwayByItsProcess()
{
    const QString name = QStringLiteral("/sway-ipc.%1.%2.sock").arg(::getuid()).arg(COMPOSITOR);
    writeFile(m_folder->path() + name, QByteArray());
    writeFile(m_folder->filePath(QStringLiteral("other.sock")), QByteArray());
    qputenv("SWAYSOCK", path("other.sock")); // left over from another session
    QCOMPARE(SwayIpc::findSocket(COMPOSITOR), QFile::encodeName(m_folder->path() + name));
    QCOMPARE(SwayIpc::findSocket(COMPOSITOR + 1), path("other.sock"));
    qputenv("SWAYSOCK", path("gone.sock"));
    QCOMPARE(SwayIpc::findSocket(COMPOSITOR + 1), QByteArray());
}

void CompositorIpcTest::socketOfHyprlandByItsProcess()
{
    writeFile(m_folder->filePath(QStringLiteral("hypr/one/hyprland.lock")), "4710\nwayland-1\n");
    writeFile(m_folder->filePath(QStringLiteral("hypr/one/.socket.sock")), QByteArray());
    writeFile(m_folder->filePath(QStringLiteral("hypr/two/hyprland.lock")), "4711\nwayland-2\n");
    writeFile(m_folder->filePath(QStringLiteral("hypr/two/.socket.sock")), QByteArray());
    QCOMPARE(HyprlandIpc::findSocket(COMPOSITOR), path("hypr/two/.socket.sock"));
    QCOMPARE(HyprlandIpc::findSocket(1), QByteArray());
    qputenv("HYPRLAND_INSTANCE_SIGNATURE", "one");
    QCOMPARE(HyprlandIpc::findSocket(1), path("hypr/one/.socket.sock"));
    QCOMPARE(HyprlandIpc::findSocket(COMPOSITOR), path("hypr/two/.socket.sock"));
}

void CompositorIpcTest::noSocketAtAll()
{
    QVERIFY(!findCompositorIpc(COMPOSITOR));
    QVERIFY(!SwayIpc(path("none.sock")).activeWindowPid());
    QVERIFY(!SwayIpc(QByteArray(200, 'x')).activeWindowPid());
}

QTEST_GUILESS_MAIN(CompositorIpcTest)
#include "compositoripctest.moc"
