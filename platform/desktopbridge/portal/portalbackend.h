#pragma once
// The screens that the user lets us see through the desktop portal: GNOME's Wayland session and
// any other desktop with one. Owned by DesktopBridge; main thread; no call waits for the portal.
// While nothing is watched there is no cast and there are no pictures.

#include "desktopbridge/portal/accessibleactivewindow.h"
#include "desktopbridge/portal/portalcast.h"
#include "desktopbridge/screenbackend.h"

class PortalBackend : public ScreenBackend
{
    Q_OBJECT

public:
    /// Null, with the reason in @p problem, if there is no Wayland session or no portal.
    static std::unique_ptr<PortalBackend> connectToSession(QString &problem);

    /// @p outputs is null where no compositor can be asked for the order of its screens. For
    /// @p firstRetry see PortalCast.
    PortalBackend(const QDBusConnection &session, const QDBusConnection &system,
                  std::unique_ptr<WaylandOutputs> outputs, RestoreToken token = RestoreToken(),
                  int firstRetry = 500);

    QString problem() const override { return problemOf(m_cast.state()); }
    QVector<QRect> screens() override;
    QRect virtualScreen() override;
    int tileEdge() override;
    PicturePtr fetch(const QRect &area) override;
    bool startWatching() override;
    void stopWatching() override;
    QVector<QRect> takeDamage() override;
    std::optional<quint32> activeWindowPid() override;

private:
    SessionEvents m_events;
    PortalCast m_cast;
    AccessibleActiveWindow m_activeWindow;
};
