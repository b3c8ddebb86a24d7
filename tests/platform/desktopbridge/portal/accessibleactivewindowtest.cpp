// The active window's process as the accessibility bus tells it, with the real bus and registry and
// with windows of real programs on a real display.

#include "desktopbridge/portal/accessibleactivewindow.h"
#include "childprocess.h"
#include "privatebus.h"

#include <QDBusConnectionInterface>
#include <QDBusReply>
#include <QFile>
#include <QStandardPaths>
#include <QTest>

namespace
{
const QString LAUNCHER = QStringLiteral("/usr/libexec/at-spi-bus-launcher");
constexpr int PATIENCE_MS = 15000;
} // namespace

class AccessibleActiveWindowTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();
    void withoutAnAccessibilityBusNothingIsTold();
    void nothingIsTakenPartInBeforeTheStart();
    void theWindowThatIsActiveAlreadyIsFound();
    void theNextActiveWindowIsTold();
    void aProgramThatGoesHasNoActiveWindow();
    void programsOfOtherToolkitsAreSeen();
    void afterAStopNothingIsTold();
    void aNewAccessibilityBusIsJoined();

private:
    static void end(std::unique_ptr<ChildProcess> &process);
    std::unique_ptr<ChildProcess> started(const QString &program);
    std::unique_ptr<ChildProcess>
    startedWindow(const QString &program = QStringLiteral(WINDOW_PROGRAM));
    bool startLauncher();
    bool follow();
    bool waitFor(std::optional<quint32> processId);

    std::unique_ptr<PrivateBus> m_bus;
    std::unique_ptr<QDBusConnection> m_session;
    std::unique_ptr<ChildProcess> m_launcher;
    std::unique_ptr<AccessibleActiveWindow> m_active;
};

void AccessibleActiveWindowTest::init()
{
    if (!QFile::exists(LAUNCHER)) {
        QSKIP("at-spi2-core is not installed");
    }
    m_bus = std::make_unique<PrivateBus>(QProcessEnvironment::systemEnvironment(),
                                         PrivateBus::Services::None);
    m_session = std::make_unique<QDBusConnection>(m_bus->connect(QStringLiteral("session")));
    m_active = std::make_unique<AccessibleActiveWindow>(*m_session);
}

void AccessibleActiveWindowTest::cleanup()
{
    m_active.reset();
    end(m_launcher);
    m_session.reset();
    QDBusConnection::disconnectFromBus(QStringLiteral("session"));
    m_bus.reset();
}

// The launcher takes its bus along only if it is asked.
void AccessibleActiveWindowTest::end(std::unique_ptr<ChildProcess> &process)
{
    if (process) {
        process->terminate();
        process->waitForFinished();
        process.reset();
    }
}

std::unique_ptr<ChildProcess> AccessibleActiveWindowTest::started(const QString &program)
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("DBUS_SESSION_BUS_ADDRESS"), m_bus->address());
    environment.insert(QStringLiteral("QT_LINUX_ACCESSIBILITY_ALWAYS_ON"), QStringLiteral("1"));
    environment.remove(QStringLiteral("NO_AT_BRIDGE"));
    environment.remove(QStringLiteral("AT_SPI_BUS_ADDRESS"));
    auto process = std::make_unique<ChildProcess>();
    process->setProcessEnvironment(environment);
    process->setStandardErrorFile(QProcess::nullDevice());
    process->start(program, QStringList());
    process->waitForStarted();
    return process;
}

// The window manager may leave a new window behind when another has just gone.
std::unique_ptr<ChildProcess> AccessibleActiveWindowTest::startedWindow(const QString &program)
{
    auto process = started(program);
    QProcess::execute(QStringLiteral("timeout"),
                      {QStringLiteral("15"), QStringLiteral("xdotool"), QStringLiteral("search"),
                       QStringLiteral("--sync"), QStringLiteral("--onlyvisible"),
                       QStringLiteral("--pid"), QString::number(process->processId()),
                       QStringLiteral("windowactivate")});
    return process;
}

bool AccessibleActiveWindowTest::startLauncher()
{
    m_launcher = started(LAUNCHER);
    return QTest::qWaitFor(
        [this] {
            return m_session->interface()
                ->isServiceRegistered(QStringLiteral("org.a11y.Bus"))
                .value();
        },
        PATIENCE_MS);
}

// The bus is up before a window joins it: a toolkit that connects while it starts may find its
// connection lost ("Not connected to D-Bus server") and then stays away for good.
bool AccessibleActiveWindowTest::follow()
{
    if (!startLauncher()) {
        return false;
    }
    m_active->start();
    return waitFor(0U);
}

bool AccessibleActiveWindowTest::waitFor(std::optional<quint32> processId)
{
    return QTest::qWaitFor([&] { return m_active->processId() == processId; }, PATIENCE_MS);
}

void AccessibleActiveWindowTest::withoutAnAccessibilityBusNothingIsTold()
{
    m_active->start();
    QTest::qWait(100);
    QVERIFY(!m_active->processId());
}

void AccessibleActiveWindowTest::nothingIsTakenPartInBeforeTheStart()
{
    QVERIFY(startLauncher());
    QTest::qWait(50);
    QVERIFY(!m_active->processId());
    m_active->start();
    QVERIFY(waitFor(0U));
}

void AccessibleActiveWindowTest::theWindowThatIsActiveAlreadyIsFound()
{
    QVERIFY(follow());
    auto window = startedWindow();
    QVERIFY(waitFor(quint32(window->processId())));
    AccessibleActiveWindow later(*m_session);
    later.start();
    QTRY_COMPARE_WITH_TIMEOUT(later.processId().value_or(0), quint32(window->processId()),
                              PATIENCE_MS);
    end(window);
}

void AccessibleActiveWindowTest::theNextActiveWindowIsTold()
{
    QVERIFY(follow());
    auto first = startedWindow();
    QVERIFY(waitFor(quint32(first->processId())));
    auto second = startedWindow();
    QVERIFY(waitFor(quint32(second->processId())));
    end(second); // the window manager then goes back to the first
    QVERIFY(waitFor(quint32(first->processId())));
    end(first);
}

void AccessibleActiveWindowTest::aProgramThatGoesHasNoActiveWindow()
{
    QVERIFY(follow());
    auto window = startedWindow();
    QVERIFY(waitFor(quint32(window->processId())));
    end(window);
    QVERIFY(waitFor(0U));
}

void AccessibleActiveWindowTest::programsOfOtherToolkitsAreSeen()
{
    if (QStandardPaths::findExecutable(QStringLiteral("mousepad")).isEmpty()) {
        QSKIP("mousepad is not installed");
    }
    QVERIFY(follow());
    auto window = startedWindow(QStringLiteral("mousepad"));
    QVERIFY(waitFor(quint32(window->processId())));
    end(window);
}

void AccessibleActiveWindowTest::afterAStopNothingIsTold()
{
    QVERIFY(follow());
    auto window = startedWindow();
    QVERIFY(waitFor(quint32(window->processId())));
    m_active->stop();
    QVERIFY(!m_active->processId());
    m_active->start();
    QVERIFY(waitFor(quint32(window->processId())));
    end(window);
}

void AccessibleActiveWindowTest::aNewAccessibilityBusIsJoined()
{
    QVERIFY(follow());
    end(m_launcher);
    QVERIFY(waitFor(std::nullopt));
    QVERIFY(startLauncher());
    QVERIFY(waitFor(0U));
    auto window = startedWindow();
    QVERIFY(waitFor(quint32(window->processId())));
    end(window);
}

QTEST_GUILESS_MAIN(AccessibleActiveWindowTest)
#include "accessibleactivewindowtest.moc"
