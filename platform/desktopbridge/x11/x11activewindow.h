#pragma once
// Whose window is active, as the window manager tells on the root window. Owned by X11Backend;
// main thread.

#include "desktopbridge/x11/xcbhandles.h"

#include <QtGlobal>

class X11ActiveWindow
{
public:
    X11ActiveWindow(XcbConnection connection, xcb_window_t root);

    /// Process id of the owner of the active window: what the server knows of the connection that
    /// made the window, else what the window says of itself. 0 without an active window or
    /// without an id.
    quint32 processId();

private:
    xcb_window_t activeWindow();
    quint32 processIdFromServer(xcb_window_t window);
    quint32 processIdFromWindow(xcb_window_t window);
    quint32 firstWord(xcb_window_t window, xcb_atom_t property, xcb_atom_t type);

    XcbConnection m_connection;
    xcb_window_t m_root;
    bool m_serverKnows;
    xcb_atom_t m_activeWindowAtom = XCB_ATOM_NONE;
    xcb_atom_t m_processIdAtom = XCB_ATOM_NONE;
};
