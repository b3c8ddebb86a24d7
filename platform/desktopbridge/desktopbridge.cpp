#include "desktopbridge/desktopbridge.h"

#include "desktopbridge/bridgefacts.h"
#include "desktopbridge/contentwatch.h"
#include "desktopbridge/guide/userguide.h"
#include "desktopbridge/lockwatcher.h"
#include "desktopbridge/picturewriter.h"
#include "desktopbridge/screenshotservice.h"
#include "desktopbridge/settings/localehours.h"
#include "desktopbridge/settings/settingskeeper.h"
#include "desktopbridge/windowmanagerservice.h"

#include <QDBusConnectionInterface>
#include <QDebug>

namespace
{
const QString WINDOW_MANAGER_NAME = QStringLiteral("org.vesk.KWin");
const QString WINDOW_MANAGER_PATH = QStringLiteral("/KWin");
const QString SCREENSHOT_PATH = QStringLiteral("/Screenshot");
const QString BRIDGE_PATH = QStringLiteral("/Bridge");
const QString SCREEN_SAVER_NAME = QStringLiteral("org.vesk.ScreenSaver");
const QString SCREEN_SAVER_PATH = QStringLiteral("/");
} // namespace

// Members in the order in which they need each other; the writer goes before the backend, whose
// connection its pictures use.
struct DesktopBridge::WindowManagerPart {
    explicit WindowManagerPart(BackendChoice choice) : backend(loadScreenBackend(choice)) {}

    std::unique_ptr<ScreenBackend> backend;
    ContentWatch watch{*backend};
    PictureWriter writer;
    ScreenshotService screenshot{*backend, watch, writer};
    WindowManagerService windowManager{*backend, watch};
    BridgeFacts facts{*backend};
};

DesktopBridge::DesktopBridge(const QDBusConnection &session, BackendChoice choice)
    : m_bus(session), m_choice(choice)
{
    connect(m_bus.interface(), &QDBusConnectionInterface::serviceUnregistered, this,
            &DesktopBridge::onNameLost);
    // The bus library tells the end of the connection by a message to oneself.
    m_bus.connect(QString(), QStringLiteral("/org/freedesktop/DBus/Local"),
                  QStringLiteral("org.freedesktop.DBus.Local"), QStringLiteral("Disconnected"),
                  this, SIGNAL(finished()));
}

DesktopBridge::~DesktopBridge() = default;

bool DesktopBridge::start()
{
    // Before the names: the program reads the settings as soon as its first call is answered.
    m_settings = std::make_unique<SettingsKeeper>(
        m_bus, qEnvironmentVariable("XDG_CURRENT_DESKTOP"), timeLocaleOfEnvironment());
    const bool screenSaver = startScreenSaver();
    const bool windowManager = startWindowManager();
    if (!screenSaver && !windowManager) {
        return false;
    }
    m_guide = std::make_unique<UserGuide>();
    return true;
}

// Another service may take the name over later, but this one neither queues nor takes over.
bool DesktopBridge::takeName(const QString &name)
{
    const QDBusReply<QDBusConnectionInterface::RegisterServiceReply> reply =
        m_bus.interface()->registerService(name, QDBusConnectionInterface::DontQueueService,
                                           QDBusConnectionInterface::AllowReplacement);
    return reply.isValid() && reply.value() == QDBusConnectionInterface::ServiceRegistered;
}

bool DesktopBridge::startWindowManager()
{
    if (m_bus.interface()->isServiceRegistered(WINDOW_MANAGER_NAME)) {
        return false;
    }
    m_windowManager = std::make_unique<WindowManagerPart>(m_choice);
    const QString problem = m_windowManager->backend->problem();
    if (!problem.isEmpty()) {
        qWarning() << "The screen cannot be seen:" << problem;
    }
    connect(m_windowManager->backend.get(), &ScreenBackend::lost, this, &DesktopBridge::finished);
    connect(&m_windowManager->windowManager, &WindowManagerService::callerCame, this,
            [this](const QString &caller) {
                if (m_lockWatcher) {
                    m_lockWatcher->tellStateTo(caller);
                }
            });
    // The objects first: a call may come as soon as the name is ours.
    m_bus.registerObject(SCREENSHOT_PATH, &m_windowManager->screenshot);
    m_bus.registerObject(WINDOW_MANAGER_PATH, &m_windowManager->windowManager);
    m_bus.registerObject(BRIDGE_PATH, &m_windowManager->facts,
                         QDBusConnection::ExportAllProperties);
    if (!takeName(WINDOW_MANAGER_NAME)) {
        m_windowManager.reset();
    }
    return m_windowManager != nullptr;
}

bool DesktopBridge::startScreenSaver()
{
    if (m_bus.interface()->isServiceRegistered(SCREEN_SAVER_NAME)) {
        return false;
    }
    m_lockWatcher = std::make_unique<LockWatcher>(m_bus, QDBusConnection::systemBus());
    m_bus.registerObject(SCREEN_SAVER_PATH, m_lockWatcher.get());
    if (!takeName(SCREEN_SAVER_NAME)) {
        m_lockWatcher.reset();
    }
    return m_lockWatcher != nullptr;
}

void DesktopBridge::onNameLost(const QString &name)
{
    if (name == WINDOW_MANAGER_NAME) {
        m_windowManager.reset();
    } else if (name == SCREEN_SAVER_NAME) {
        m_lockWatcher.reset();
    }
    if (!m_windowManager && !m_lockWatcher) {
        Q_EMIT finished();
    }
}
