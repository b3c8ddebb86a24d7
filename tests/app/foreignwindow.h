#pragma once
// A window of another client of the X server, and what the server tells this one of it.
// Main thread of a test.

#include <QAbstractNativeEventFilter>
#include <QtGui/qwindowdefs.h>

#include <memory>
#include <xcb/xcb.h>

class ForeignWindow
{
public:
    ForeignWindow();

    WId id() const { return m_window; }
    xcb_atom_t keyPressTime() const { return m_userTime; }

    /// As toolkits do at each key press.
    void noteKeyPress();
    void widen();

private:
    struct Disconnect {
        void operator()(xcb_connection_t *connection) const { xcb_disconnect(connection); }
    };
    std::unique_ptr<xcb_connection_t, Disconnect> m_connection;
    xcb_window_t m_window = 0;
    xcb_atom_t m_userTime = 0;
    quint32 m_time = 1;
};

/// Counts from its construction on.
class ToldEvents : public QAbstractNativeEventFilter
{
public:
    explicit ToldEvents(const ForeignWindow &window);
    ~ToldEvents() override;
    Q_DISABLE_COPY(ToldEvents)

    int keyPresses() const { return m_keyPresses; }
    int resizes() const { return m_resizes; }

    bool nativeEventFilter(const QByteArray &type, void *message, long *result) override;

private:
    WId m_window;
    xcb_atom_t m_keyPressTime;
    int m_keyPresses = 0;
    int m_resizes = 0;
};
