#include "app/otherwindows.h"

#include <KWindowInfo>
#include <KWindowSystem>
#include <QX11Info>

#include <xcb/xcb.h>

namespace
{
bool isOurs(xcb_connection_t *connection, WId window)
{
    const xcb_setup_t *setup = xcb_get_setup(connection);
    return (window & ~static_cast<WId>(setup->resource_id_mask)) == setup->resource_id_base;
}

bool mayReserveRoom(WId window)
{
    const KWindowInfo info(window, NET::WMWindowType, NET::WM2ExtendedStrut);
    const NETExtendedStrut strut = info.extendedStrut();
    return info.windowType(NET::DockMask) == NET::Dock || strut.left_width > 0 ||
           strut.right_width > 0 || strut.top_width > 0 || strut.bottom_width > 0;
}
} // namespace

OtherWindows::OtherWindows(QObject *parent) : QObject(parent)
{
    if (!QX11Info::isPlatformX11()) {
        return;
    }
    connect(KWindowSystem::self(), &KWindowSystem::windowAdded, this, &OtherWindows::silence);
    for (const WId window : KWindowSystem::windows()) {
        silence(window);
    }
}

void OtherWindows::silence(WId window)
{
    xcb_connection_t *connection = QX11Info::connection();
    if (isOurs(connection, window) || mayReserveRoom(window)) {
        return;
    }
    const uint32_t events = XCB_EVENT_MASK_STRUCTURE_NOTIFY;
    const xcb_void_cookie_t cookie = xcb_change_window_attributes_checked(
        connection, static_cast<xcb_window_t>(window), XCB_CW_EVENT_MASK, &events);
    // The window may have gone; nobody is to be told of that error.
    xcb_discard_reply(connection, cookie.sequence);
    xcb_flush(connection);
}
