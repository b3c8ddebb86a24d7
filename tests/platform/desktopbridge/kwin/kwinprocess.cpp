#include "kwinprocess.h"

#include <QDBusConnectionInterface>
#include <QFile>
#include <QStandardPaths>
#include <QTest>

#include <csignal>

namespace
{
const QString SOCKET = QStringLiteral("wayland-of-the-test");
const QString CONNECTION = QStringLiteral("bus of the test's KWin");
const QString SERVICE = QStringLiteral("org.kde.KWin.ScreenShot2");
constexpr int PATIENCE_MS = 20000;

QString socketPath()
{
    return qEnvironmentVariable("XDG_RUNTIME_DIR") + QLatin1Char('/') + SOCKET;
}
} // namespace

std::unique_ptr<WaylandPainter> makePainter()
{
    std::unique_ptr<WaylandPainter> painter;
    const auto connects = [&painter] {
        painter = std::make_unique<WaylandPainter>();
        return painter->isConnected();
    };
    if (!QTest::qWaitFor(connects, PATIENCE_MS)) {
        qWarning("no compositor answers");
    }
    return painter;
}

// A container may refuse to execute the packaged program, which carries a file capability; a copy
// carries none. Its plug-in for windows wants the program's own name.
KwinProcess::KwinProcess(const QStringList &outputs)
    : m_outputs(outputs)
    , m_bus(std::make_unique<PrivateBus>())
    , m_connection(m_bus->connect(CONNECTION))
{
    QFile::copy(QStandardPaths::findExecutable(QStringLiteral("kwin_wayland")),
                m_folder.filePath(QStringLiteral("kwin_wayland")));
    qputenv("WAYLAND_DISPLAY", SOCKET.toLocal8Bit());
}

KwinProcess::~KwinProcess()
{
    kill();
    QDBusConnection::disconnectFromBus(CONNECTION);
    qputenv("WAYLAND_DISPLAY", m_formerDisplay);
}

bool KwinProcess::start()
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("DBUS_SESSION_BUS_ADDRESS"), m_bus->address());
    environment.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));
    environment.remove(QStringLiteral("WAYLAND_DISPLAY"));
    m_process.setProcessEnvironment(environment);
    m_process.setStandardErrorFile(QProcess::nullDevice());
    m_process.start(m_folder.filePath(QStringLiteral("kwin_wayland")),
                    QStringList{QStringLiteral("--virtual"), QStringLiteral("--socket"), SOCKET,
                                QStringLiteral("--no-lockscreen"),
                                QStringLiteral("--no-global-shortcuts")} +
                        m_outputs);
    return QTest::qWaitFor(
               [this] {
                   return QFile::exists(socketPath()) &&
                          m_connection.interface()->isServiceRegistered(SERVICE).value();
               },
               PATIENCE_MS) &&
           makePainter()->isConnected();
}

void KwinProcess::kill()
{
    m_process.kill();
    m_process.waitForFinished();
    QFile::remove(socketPath());
}

void KwinProcess::stop()
{
    ::kill(pid_t(m_process.processId()), SIGSTOP);
}

void KwinProcess::resume()
{
    ::kill(pid_t(m_process.processId()), SIGCONT);
}
