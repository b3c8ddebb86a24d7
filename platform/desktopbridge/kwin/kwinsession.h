#pragma once
// All that is bound to one run of KWin, in the order in which the parts need each other. Owned by
// KwinBackend; main thread.

#include "desktopbridge/kwin/kwinscreencast.h"
#include "desktopbridge/kwin/plasmawindows.h"

struct KwinSession {
    /// Null, with the reason in @p problem, if no KWin runs or it does not trust this process. @p
    /// retry: as in KwinScreencast.
    static std::unique_ptr<KwinSession> open(QString &problem,
                                             int retry = KwinScreencast::RETRY_MS);

    /// The same over a connection that is there.
    static std::unique_ptr<KwinSession> over(const std::shared_ptr<WaylandConnection> &connection,
                                             QString &problem,
                                             int retry = KwinScreencast::RETRY_MS);

    KwinSession(std::shared_ptr<WaylandConnection> wayland, int retry);

    std::shared_ptr<WaylandConnection> connection;
    WaylandOutputs outputs{connection};
    PlasmaWindows windows{*connection};
    KwinScreencast screencast;
};
