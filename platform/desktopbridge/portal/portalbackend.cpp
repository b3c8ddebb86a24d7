#include "desktopbridge/portal/portalbackend.h"

#include "desktopbridge/wayland/outputlayout.h"

#include <QDBusConnectionInterface>
#include <QDBusReply>

namespace
{
bool hasPortal(const QDBusConnection &bus)
{
    const QDBusReply<bool> owned = bus.interface()->isServiceRegistered(PortalRequest::SERVICE);
    if (owned.isValid() && owned.value()) {
        return true;
    }
    const QDBusReply<QStringList> names = bus.interface()->activatableServiceNames();
    return names.isValid() && names.value().contains(PortalRequest::SERVICE);
}
} // namespace

std::unique_ptr<PortalBackend> PortalBackend::connectToSession(QString &problem)
{
    const QDBusConnection session = QDBusConnection::sessionBus();
    std::shared_ptr<WaylandConnection> compositor = WaylandConnection::connectToDisplay(problem);
    if (!compositor) {
        return nullptr;
    }
    if (!session.isConnected() || !hasPortal(session)) {
        problem = QStringLiteral("there is no desktop portal");
        return nullptr;
    }
    return std::make_unique<PortalBackend>(session, QDBusConnection::systemBus(),
                                           std::make_unique<WaylandOutputs>(std::move(compositor)));
}

PortalBackend::PortalBackend(const QDBusConnection &session, const QDBusConnection &system,
                             std::unique_ptr<WaylandOutputs> outputs, RestoreToken token,
                             int firstRetry)
    : m_events(session, system, std::move(outputs))
    , m_cast(session, m_events, std::move(token), firstRetry)
    , m_activeWindow(session)
{
    connect(&m_cast, &PortalCast::changed, this, &PortalBackend::layoutChanged);
    connect(&m_cast, &PortalCast::damaged, this, &PortalBackend::damaged);
}

QVector<QRect> PortalBackend::screens()
{
    const CastPicture *picture = m_cast.picture();
    return picture != nullptr ? picture->screens() : QVector<QRect>();
}

QRect PortalBackend::virtualScreen()
{
    return spannedBy(screens());
}

int PortalBackend::tileEdge()
{
    const CastPicture *picture = m_cast.picture();
    return picture != nullptr ? picture->tileEdge() : tileEdgeForScale(1.0);
}

PicturePtr PortalBackend::fetch(const QRect &area)
{
    const CastPicture *picture = m_cast.picture();
    return picture != nullptr ? picture->fetch(area) : nullptr;
}

bool PortalBackend::startWatching()
{
    m_activeWindow.start();
    m_cast.start();
    return true;
}

void PortalBackend::stopWatching()
{
    m_activeWindow.stop();
    m_cast.stop();
}

QVector<QRect> PortalBackend::takeDamage()
{
    CastPicture *picture = m_cast.picture();
    return picture != nullptr ? picture->takeDamage() : QVector<QRect>();
}

std::optional<quint32> PortalBackend::activeWindowPid()
{
    return m_activeWindow.processId();
}
