#pragma once
// A desktop whose screen is seen through its portal: the portal and PipeWire that are installed
// here, a still picture of the measurement's own as the screen, and a bridge that is made to take
// it. Needs a Wayland session around it. Owned by the measurement; main thread.

#include "bridgeprocess.h"
#include "pipewire/pipewiredaemon.h"
#include "pipewire/videosource.h"
#include "portal/realportal.h"

#include <memory>

class PortalScreen
{
public:
    PortalScreen();
    ~PortalScreen();
    Q_DISABLE_COPY(PortalScreen)

    /// Empty, or what is missing on this machine.
    static QString missing();

    /// False if a part of it does not come up.
    bool start(const QImage &page);

    /// Draws the page once more.
    void draw(const QImage &page);

    /// On which the bridge answers.
    QDBusConnection bus() const { return m_bus; }

private:
    PipeWireDaemon m_daemon;
    RealPortal m_portal;
    QDBusConnection m_bus;
    std::unique_ptr<PipeWireRemote> m_producers;
    std::unique_ptr<VideoSource> m_source;
    std::unique_ptr<BridgeProcess> m_bridge;
};
