#pragma once
// One window as KWin's window management tells of it. Owner: PlasmaWindowBackend; main thread.

#include "desktopbridge/wayland/plasmahandles.h"

#include <QString>

#include <functional>

class PlasmaWindow
{
public:
    /// Called from the connection's event loop. The window may be deleted within @c gone.
    struct Listener {
        std::function<void()> known; ///< once: title and process id have been told
        std::function<void()> gone;
    };

    /// Takes @p handle, never null, of an interface of version 4 or later.
    PlasmaWindow(org_kde_plasma_window *handle, Listener listener);
    ~PlasmaWindow();
    Q_DISABLE_COPY_MOVE(PlasmaWindow)

    const QString &title() const { return m_title; }
    int processId() const { return m_processId; }

    void activate();
    void minimize();

private:
    static const org_kde_plasma_window_listener &events();

    PlasmaPtr<org_kde_plasma_window> m_handle;
    Listener m_listener;
    QString m_title;
    int m_processId = 0;
};
