#include "desktopbridge/settings/portalsource.h"

#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>

namespace
{
const QString SERVICE = QStringLiteral("org.freedesktop.portal.Desktop");
const QString PATH = QStringLiteral("/org/freedesktop/portal/desktop");
const QString INTERFACE = QStringLiteral("org.freedesktop.portal.Settings");
const QString NAMESPACE = QStringLiteral("org.freedesktop.appearance");
const QString KEY = QStringLiteral("color-scheme");
} // namespace

PortalSource::PortalSource(const QDBusConnection &bus)
    : m_bus(bus), m_watcher(SERVICE, bus, QDBusServiceWatcher::WatchForOwnerChange)
{
    connect(&m_watcher, &QDBusServiceWatcher::serviceOwnerChanged, this,
            [this](const QString & /*name*/, const QString & /*before*/, const QString &now) {
                ++m_events;
                if (!now.isEmpty()) {
                    ask();
                }
            });
    m_bus.connect(SERVICE, PATH, INTERFACE, QStringLiteral("SettingChanged"), this,
                  SLOT(onSettingChanged(QString, QString, QDBusVariant)));
    ask();
}

void PortalSource::onSettingChanged(const QString &space, const QString &key,
                                    const QDBusVariant &value)
{
    if (space == NAMESPACE && key == KEY) {
        ++m_events;
        tell(value.variant());
    }
}

void PortalSource::ask()
{
    QDBusMessage question =
        QDBusMessage::createMethodCall(SERVICE, PATH, INTERFACE, QStringLiteral("Read"));
    question << NAMESPACE << KEY;
    question.setAutoStartService(false);
    auto *answer = new QDBusPendingCallWatcher(m_bus.asyncCall(question), this);
    connect(answer, &QDBusPendingCallWatcher::finished, this,
            [this, events = m_events](QDBusPendingCallWatcher *call) {
                const QDBusPendingReply<QDBusVariant> reply = *call;
                call->deleteLater();
                if (!reply.isError() && events == m_events) {
                    tell(reply.value().variant());
                }
            });
}

void PortalSource::tell(QVariant value)
{
    // "Read" answers with a variant in a variant.
    while (value.userType() == qMetaTypeId<QDBusVariant>()) {
        value = value.value<QDBusVariant>().variant();
    }
    if (value.userType() != QMetaType::UInt) {
        return;
    }
    // Numbers that the portal's description does not know stand for no preference.
    const uint number = value.toUInt();
    Q_EMIT told(number <= uint(Scheme::Light) ? Scheme(number) : Scheme::NoPreference);
}
