#include "desktopbridge/logindsource.h"

#include <QCoreApplication>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QDBusPendingCallWatcher>
#include <QDBusVariant>

namespace
{
const QString SERVICE = QStringLiteral("org.freedesktop.login1");
const QString MANAGER_PATH = QStringLiteral("/org/freedesktop/login1");
const QString MANAGER_INTERFACE = QStringLiteral("org.freedesktop.login1.Manager");
const QString SESSION_INTERFACE = QStringLiteral("org.freedesktop.login1.Session");
const QString PROPERTIES_INTERFACE = QStringLiteral("org.freedesktop.DBus.Properties");
const QString LOCKED_HINT = QStringLiteral("LockedHint");

QDBusMessage methodCall(const QString &path, const QString &interface, const QString &method)
{
    QDBusMessage message = QDBusMessage::createMethodCall(SERVICE, path, interface, method);
    message.setAutoStartService(false);
    return message;
}
} // namespace

LogindSource::LogindSource(const QDBusConnection &bus) : m_bus(bus)
{
    if (!m_bus.isConnected()) {
        QMetaObject::invokeMethod(this, &LogindSource::answered, Qt::QueuedConnection);
        return;
    }
    m_watcher.setConnection(m_bus);
    m_watcher.addWatchedService(SERVICE);
    connect(&m_watcher, &QDBusServiceWatcher::serviceOwnerChanged, this,
            &LogindSource::onOwnerChanged);
    findSession();
}

void LogindSource::onOwnerChanged(const QString & /*name*/, const QString &before,
                                  const QString &now)
{
    if (!before.isEmpty()) {
        unfollow();
        Q_EMIT left();
    }
    if (!now.isEmpty()) {
        findSession();
    }
}

// A process that the user's service manager started is in no session of its own: the environment
// may still tell one, and "auto" is the one with the display.
void LogindSource::findSession()
{
    const PathHandler found = [this](const QString &path) { follow(path); };
    askManager(QStringLiteral("GetSessionByPID"), quint32(QCoreApplication::applicationPid()),
               [this, found](const QString &own) {
                   if (!own.isEmpty()) {
                       found(own);
                       return;
                   }
                   const QString told = qEnvironmentVariable("XDG_SESSION_ID");
                   askManager(QStringLiteral("GetSession"),
                              told.isEmpty() ? QStringLiteral("auto") : told, found);
               });
}

void LogindSource::askManager(const QString &method, const QVariant &argument,
                              const PathHandler &handler)
{
    QDBusMessage question = methodCall(MANAGER_PATH, MANAGER_INTERFACE, method);
    question << argument;
    auto *answer = new QDBusPendingCallWatcher(m_bus.asyncCall(question), this);
    connect(answer, &QDBusPendingCallWatcher::finished, this,
            [handler](QDBusPendingCallWatcher *call) {
                const QDBusPendingReply<QDBusObjectPath> reply = *call;
                call->deleteLater();
                handler(reply.isError() ? QString() : reply.value().path());
            });
}

void LogindSource::follow(const QString &session)
{
    if (session.isEmpty()) {
        Q_EMIT answered();
        return;
    }
    // Asked at the start and again when the service came, both may be answered.
    if (session == m_session) {
        return;
    }
    unfollow();
    m_session = session;
    m_bus.connect(SERVICE, m_session, SESSION_INTERFACE, QStringLiteral("Lock"), this,
                  SLOT(onLock()));
    m_bus.connect(SERVICE, m_session, SESSION_INTERFACE, QStringLiteral("Unlock"), this,
                  SLOT(onUnlock()));
    m_bus.connect(SERVICE, m_session, PROPERTIES_INTERFACE, QStringLiteral("PropertiesChanged"),
                  this, SLOT(onPropertiesChanged(QString, QVariantMap, QStringList)));
    askLockedHint();
}

void LogindSource::unfollow()
{
    ++m_events;
    if (m_session.isEmpty()) {
        return;
    }
    m_bus.disconnect(SERVICE, m_session, SESSION_INTERFACE, QStringLiteral("Lock"), this,
                     SLOT(onLock()));
    m_bus.disconnect(SERVICE, m_session, SESSION_INTERFACE, QStringLiteral("Unlock"), this,
                     SLOT(onUnlock()));
    m_bus.disconnect(SERVICE, m_session, PROPERTIES_INTERFACE, QStringLiteral("PropertiesChanged"),
                     this, SLOT(onPropertiesChanged(QString, QVariantMap, QStringList)));
    m_session.clear();
}

void LogindSource::askLockedHint()
{
    QDBusMessage question = methodCall(m_session, PROPERTIES_INTERFACE, QStringLiteral("Get"));
    question << SESSION_INTERFACE << LOCKED_HINT;
    auto *answer = new QDBusPendingCallWatcher(m_bus.asyncCall(question), this);
    connect(answer, &QDBusPendingCallWatcher::finished, this,
            [this, events = m_events](QDBusPendingCallWatcher *call) {
                const QDBusPendingReply<QDBusVariant> reply = *call;
                call->deleteLater();
                if (!reply.isError() && reply.value().variant().toBool() && events == m_events) {
                    Q_EMIT reported(true);
                }
                Q_EMIT answered();
            });
}

void LogindSource::onLock()
{
    event(true);
}

void LogindSource::onUnlock()
{
    event(false);
}

void LogindSource::onPropertiesChanged(const QString &interface, const QVariantMap &changed,
                                       const QStringList & /*invalidated*/)
{
    const auto hint = changed.constFind(LOCKED_HINT);
    if (interface == SESSION_INTERFACE && hint != changed.constEnd()) {
        event(hint->toBool());
    }
}

void LogindSource::event(bool locked)
{
    ++m_events;
    Q_EMIT reported(locked);
}
