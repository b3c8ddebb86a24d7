#include "desktopbridge/windowmanagerservice.h"

#include "desktopbridge/contentwatch.h"

#include "windowmanageradaptor.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>

#include <algorithm>

WindowManagerService::WindowManagerService(ScreenBackend &backend, ContentWatch &watch)
    : m_backend(backend), m_watch(watch)
{
    new WindowManagerAdaptor(this);
    m_callers.setWatchMode(QDBusServiceWatcher::WatchForUnregistration);
    connect(&m_callers, &QDBusServiceWatcher::serviceUnregistered, this,
            &WindowManagerService::forget);
    connect(&watch, &ContentWatch::changed, this, &WindowManagerService::screenContentChanged);
}

void WindowManagerService::setContentChangeThreshold(double threshold)
{
    // Written so that not-a-number is refused too.
    if (!(threshold >= 0.0 && threshold <= 100.0)) {
        sendErrorReply(QDBusError::InvalidArgs, QStringLiteral("a threshold lies in 0 to 100"));
        return;
    }
    const QString caller = message().service();
    Q_EMIT callerCame(caller);
    m_callers.setConnection(connection());
    m_callers.addWatchedService(caller);
    m_thresholds.insert(caller, threshold);
    if (!watchForAll()) {
        forget(caller);
        sendErrorReply(QDBusError::NotSupported,
                       m_backend.problem().isEmpty()
                           ? QStringLiteral("this display does not tell what is drawn")
                           : m_backend.problem());
        return;
    }
    // It may have left the bus before it was watched.
    if (!connection().interface()->isServiceRegistered(caller)) {
        forget(caller);
    }
}

void WindowManagerService::forget(const QString &caller)
{
    m_callers.removeWatchedService(caller);
    m_thresholds.remove(caller);
    watchForAll();
}

bool WindowManagerService::watchForAll()
{
    if (m_thresholds.isEmpty()) {
        m_watch.unwatch();
        return true;
    }
    return m_watch.watch(*std::min_element(m_thresholds.cbegin(), m_thresholds.cend()));
}

uint WindowManagerService::getActiveWindowPid()
{
    const std::optional<quint32> processId = m_backend.activeWindowPid();
    if (!processId) {
        sendErrorReply(QDBusError::Failed, m_backend.problem());
    }
    return processId.value_or(0);
}
