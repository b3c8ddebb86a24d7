#include "desktopbridge/screensaversource.h"

#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>

ScreenSaverSource::ScreenSaverSource(const QDBusConnection &bus, const QString &name,
                                     const QStringList &paths)
    : m_bus(bus), m_name(name), m_statePath(paths.first()), m_watcher(name, bus)
{
    connect(&m_watcher, &QDBusServiceWatcher::serviceOwnerChanged, this,
            &ScreenSaverSource::onOwnerChanged);
    for (const QString &path : paths) {
        m_bus.connect(name, path, name, QStringLiteral("ActiveChanged"), this,
                      SLOT(onActiveChanged(bool)));
    }
    askState();
}

// One that replaces another begins anew.
void ScreenSaverSource::onOwnerChanged(const QString & /*name*/, const QString &before,
                                       const QString &now)
{
    ++m_events;
    if (!before.isEmpty()) {
        Q_EMIT left();
    }
    if (!now.isEmpty()) {
        askState();
    }
}

void ScreenSaverSource::onActiveChanged(bool active)
{
    ++m_events;
    Q_EMIT reported(active);
}

// The screen may be locked already when this process or the service starts.
void ScreenSaverSource::askState()
{
    QDBusMessage question =
        QDBusMessage::createMethodCall(m_name, m_statePath, m_name, QStringLiteral("GetActive"));
    question.setAutoStartService(false);
    auto *answer = new QDBusPendingCallWatcher(m_bus.asyncCall(question), this);
    connect(answer, &QDBusPendingCallWatcher::finished, this,
            [this, events = m_events](QDBusPendingCallWatcher *call) {
                const QDBusPendingReply<bool> reply = *call;
                call->deleteLater();
                if (!reply.isError() && reply.value() && events == m_events) {
                    Q_EMIT reported(true);
                }
                Q_EMIT answered();
            });
}
