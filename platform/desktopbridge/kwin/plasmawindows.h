#pragma once
// The windows of a Plasma session, as far as it takes to know whose is active. Owned by
// KwinBackend; main thread. Nothing is asked: KWin tells each change.

#include "desktopbridge/wayland/plasmahandles.h"
#include "desktopbridge/wayland/waylandconnection.h"

#include <vector>

class PlasmaWindows
{
public:
    /// The windows that are there arrive with the next rounds of the connection.
    explicit PlasmaWindows(WaylandConnection &connection);
    ~PlasmaWindows();
    PlasmaWindows(const PlasmaWindows &) = delete;
    PlasmaWindows &operator=(const PlasmaWindows &) = delete;

    /// False if KWin does not let this process know the windows.
    bool isOffered() const { return m_management != nullptr; }

    /// Process id of the active window's client; 0 without an active window.
    quint32 activeProcess() const;

private:
    struct Window;
    struct Events;

    void add(org_kde_plasma_window *proxy);
    void remove(const Window *window);

    PlasmaPtr<org_kde_plasma_window_management> m_management;
    std::vector<std::unique_ptr<Window>> m_windows;
    const Window *m_active = nullptr;
};
