#pragma once
// The screen of an X display. Owned by DesktopBridge; main thread. Each call is one to three round
// trips to the server; it is not called for anything while the screen is still.

#include "desktopbridge/screenbackend.h"
#include "desktopbridge/x11/x11activewindow.h"
#include "desktopbridge/x11/x11damage.h"
#include "desktopbridge/x11/x11grabber.h"
#include "desktopbridge/x11/x11layout.h"

#include <QSocketNotifier>

class X11Backend : public ScreenBackend
{
    Q_OBJECT

public:
    /// Connects to the display that the environment names. Null on failure, with the reason in
    /// @p problem: unreachable, a colour format that is not served, or an X server inside a
    /// Wayland compositor, which cannot see the screen.
    static std::unique_ptr<X11Backend> connectToDisplay(QString &problem);

    QString problem() const override { return {}; }
    QVector<QRect> screens() override;
    QRect virtualScreen() override;
    int tileEdge() override;
    PicturePtr fetch(const QRect &area) override;
    bool startWatching() override;
    void stopWatching() override;
    QVector<QRect> takeDamage() override;
    std::optional<quint32> activeWindowPid() override;

    bool usesSharedMemory() const { return m_grabber.usesSharedMemory(); }

private:
    X11Backend(const XcbConnection &connection, const xcb_screen_t *screen);

    void selectLayoutEvents();
    void readEvents();
    void handleEvent(const xcb_generic_event_t &event);
    void readEventsLater();
    void updateLayout();

    XcbConnection m_connection;
    xcb_window_t m_root;
    bool m_hasRandr = false;
    uint8_t m_firstRandrEvent = 0;
    X11Grabber m_grabber;
    X11Damage m_damage;
    X11ActiveWindow m_activeWindow;
    X11Layout m_layout;
    bool m_layoutStale = false;
    bool m_lost = false;
    QSocketNotifier m_notifier;
};
