#pragma once
// The screen of a compositor that offers wlr-screencopy: sway, Hyprland, river, labwc, Wayfire and
// others. Owned by DesktopBridge; main thread. No call waits for a silent compositor longer than
// two seconds.

#include "desktopbridge/screenbackend.h"
#include "desktopbridge/wlroots/compositoripc.h"
#include "desktopbridge/wlroots/wlrootsdamage.h"
#include "desktopbridge/wlroots/wlrootsgrabber.h"

class WlrootsBackend : public ScreenBackend
{
    Q_OBJECT

public:
    /// Connects to the compositor of the session. Null on failure, with the reason in @p problem.
    /// For @p retry see WlrootsDamage.
    static std::unique_ptr<WlrootsBackend> connectToDisplay(QString &problem,
                                                            int retry = WlrootsDamage::RETRY_TIME);

    QString problem() const override { return {}; }
    QVector<QRect> screens() override { return m_outputs.screens(); }
    QRect virtualScreen() override { return m_outputs.virtualScreen(); }
    int tileEdge() override { return m_outputs.tileEdge(); }
    PicturePtr fetch(const QRect &area) override;
    bool startWatching() override { return m_damage.start(); }
    void stopWatching() override { m_damage.stop(); }
    QVector<QRect> takeDamage() override;
    std::optional<quint32> activeWindowPid() override;

private:
    WlrootsBackend(const std::shared_ptr<WaylandConnection> &connection, int retry);

    std::shared_ptr<WaylandConnection> m_connection;
    WaylandOutputs m_outputs;
    WlrootsGrabber m_grabber;
    WlrootsDamage m_damage;
    std::unique_ptr<CompositorIpc> m_ipc; // null where the compositor has none
};
