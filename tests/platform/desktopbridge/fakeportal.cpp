#include "fakeportal.h"

#include <QDBusMessage>

namespace
{
const QString CONNECTION = QStringLiteral("portal");
const QString SERVICE = QStringLiteral("org.freedesktop.portal.Desktop");
const QString PATH = QStringLiteral("/org/freedesktop/portal/desktop");
const QString INTERFACE = QStringLiteral("org.freedesktop.portal.Settings");
const QString APPEARANCE = QStringLiteral("org.freedesktop.appearance");
const QString SCHEME = QStringLiteral("color-scheme");
} // namespace

FakePortal::FakePortal()
    : m_bus(QDBusConnection::connectToBus(QDBusConnection::SessionBus, CONNECTION))
{
    m_bus.registerObject(PATH, this, QDBusConnection::ExportAllSlots);
}

FakePortal::~FakePortal()
{
    die();
    QDBusConnection::disconnectFromBus(CONNECTION);
}

void FakePortal::appear()
{
    m_bus.registerService(SERVICE);
}

void FakePortal::die()
{
    m_bus.unregisterService(SERVICE);
}

void FakePortal::change(const QVariant &value)
{
    m_value = value;
    tell(APPEARANCE, SCHEME, value);
}

void FakePortal::tell(const QString &space, const QString &key, const QVariant &value)
{
    QDBusMessage told =
        QDBusMessage::createSignal(PATH, INTERFACE, QStringLiteral("SettingChanged"));
    told << space << key << QVariant::fromValue(QDBusVariant(value));
    m_bus.send(told);
}

QDBusVariant FakePortal::Read(const QString &space, const QString &key)
{
    ++m_asked;
    if (m_silent) {
        setDelayedReply(true);
        return {};
    }
    if (!m_knowsTheKey || space != APPEARANCE || key != SCHEME) {
        sendErrorReply(QStringLiteral("org.freedesktop.portal.Error.NotFound"), QString());
        return {};
    }
    return QDBusVariant(m_wrapped ? QVariant::fromValue(QDBusVariant(m_value)) : m_value);
}
