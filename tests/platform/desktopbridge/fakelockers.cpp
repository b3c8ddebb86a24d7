#include "fakelockers.h"

#include <QCoreApplication>
#include <QDBusMessage>

namespace
{
const QString LOGIND = QStringLiteral("org.freedesktop.login1");
}

void FakeLogindSession::setLockedHint(const QDBusConnection &bus, const QString &path, bool locked)
{
    m_lockedHint = locked;
    QDBusMessage told =
        QDBusMessage::createSignal(path, QStringLiteral("org.freedesktop.DBus.Properties"),
                                   QStringLiteral("PropertiesChanged"));
    told << QStringLiteral("org.freedesktop.login1.Session")
         << QVariantMap{{QStringLiteral("IdleHint"), locked},
                        {QStringLiteral("LockedHint"), locked}}
         << QStringList();
    bus.send(told);
}

FakeLogind::FakeLogind(const QDBusConnection &bus) : m_bus(bus)
{
    const auto all = QDBusConnection::ExportAllContents;
    m_bus.registerObject(QStringLiteral("/org/freedesktop/login1"), this, all);
    m_bus.registerObject(m_sessionPath, &m_session, all);
    m_bus.registerObject(QStringLiteral("/org/freedesktop/login1/session/c2"), &m_other, all);
}

bool FakeLogind::ownName()
{
    m_owner = m_bus.registerService(LOGIND);
    return m_owner;
}

void FakeLogind::giveUpName()
{
    m_owner = !m_bus.unregisterService(LOGIND);
}

QDBusObjectPath FakeLogind::GetSessionByPID(uint pid)
{
    if (!m_knowsProcesses || pid != uint(QCoreApplication::applicationPid())) {
        sendErrorReply(QStringLiteral("org.freedesktop.login1.NoSessionForPID"), QString());
    }
    return QDBusObjectPath(m_sessionPath);
}

QDBusObjectPath FakeLogind::GetSession(const QString &id)
{
    m_asked.append(id);
    return QDBusObjectPath(m_sessionPath);
}
