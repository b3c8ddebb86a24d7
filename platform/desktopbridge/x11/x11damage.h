#pragma once
// What was drawn on the root window since the last look. Owned by X11Backend; main thread.

#include "desktopbridge/x11/xcbhandles.h"

#include <QRect>
#include <QVector>

#include <xcb/damage.h>
#include <xcb/xfixes.h>

class X11Damage
{
public:
    X11Damage(XcbConnection connection, xcb_window_t root);
    ~X11Damage();
    Q_DISABLE_COPY(X11Damage)

    /// True if the server has the extensions DAMAGE and XFIXES.
    bool isAvailable() const { return m_available; }

    /// False if not available. The server reports once that there is damage, and again only after
    /// take().
    bool start();
    void stop();

    /// The damaged areas, which count as seen from this moment on.
    QVector<QRect> take();

    /// True if @p event is this object's report.
    bool isReport(const xcb_generic_event_t &event) const;

private:
    XcbConnection m_connection;
    xcb_window_t m_root;
    bool m_available = false;
    uint8_t m_firstEvent = 0;
    xcb_damage_damage_t m_damage = XCB_NONE;
    xcb_xfixes_region_t m_region = XCB_NONE;
};
