#pragma once
// Pixels of the root window, through memory shared with the X server where that works. Owned by
// X11Backend; called on the main thread. Pictures may outlive it and be freed on any thread.

#include "desktopbridge/picture.h"
#include "desktopbridge/x11/xcbhandles.h"

#include <vector>

class SharedSegment;

class X11Grabber
{
public:
    /// @p screen describes the root window; it belongs to the connection.
    X11Grabber(XcbConnection connection, const xcb_screen_t *screen);
    ~X11Grabber();
    Q_DISABLE_COPY(X11Grabber)

    /// True for 24 bit colour in 32 bit pixels, red on top, in this machine's byte order. Nothing
    /// else is served.
    static bool canRead(const xcb_setup_t *setup, const xcb_screen_t *screen);

    /// False where every picture goes through the server's socket: 5 times slower.
    bool usesSharedMemory() const { return m_shared; }

    /// The pixels of @p area now. The server leaves the mouse pointer out of what it hands over.
    /// Null on failure, such as for an area beyond the root window.
    PicturePtr fetch(const QRect &area);

private:
    PicturePtr fetchShared(const QRect &area);
    PicturePtr fetchThroughSocket(const QRect &area);
    std::shared_ptr<SharedSegment> idleSegment(size_t bytes);

    XcbConnection m_connection;
    xcb_window_t m_root;
    bool m_shared;
    std::vector<std::shared_ptr<SharedSegment>> m_segments; // used again once nobody else holds one
    size_t m_largest = 0;
};
