#pragma once
// The tests' own eyes and hands on an X display: windows to draw on, a second way to grab the
// screen, properties, and X servers of the test's own. Test thread only.

#include "childprocess.h"

#include <QImage>

#include <memory>
#include <xcb/randr.h>
#include <xcb/xcb.h>

/// An X server without what the test takes away from it. Gone with this object.
class PrivateXServer
{
public:
    /// Xvfb; @p arguments such as "-extension MIT-SHM", @p screen such as "640x480x24".
    PrivateXServer(const QStringList &arguments, const QString &screen);
    PrivateXServer(const QString &program, const QStringList &arguments);
    ~PrivateXServer();
    Q_DISABLE_COPY(PrivateXServer)

    bool isRunning() const { return m_display.size() > 1; }
    QByteArray display() const { return m_display; } ///< ":7"
    void kill();

private:
    ChildProcess m_process;
    QByteArray m_display;
};

/// Sets DISPLAY for the life of this object.
class DisplayVariable
{
public:
    explicit DisplayVariable(const QByteArray &display);
    ~DisplayVariable();
    Q_DISABLE_COPY(DisplayVariable)

private:
    QByteArray m_former;
};

class XClient
{
public:
    /// Connects to @p display, to $DISPLAY if empty.
    explicit XClient(const QByteArray &display = QByteArray());
    ~XClient();
    Q_DISABLE_COPY(XClient)

    bool isConnected() const;
    QSize rootSize();

    /// The screen's pixels by a plain request, opaque.
    QImage grab(const QRect &area);

    /// A window that no window manager touches, above all others and filled with @p colour.
    xcb_window_t makeWindow(const QRect &area, quint32 colour = 0x303030);
    void destroyWindow(xcb_window_t window);

    /// Fills an area of the window; the server has done so when this returns.
    void fill(xcb_window_t window, const QRect &area, quint32 colour);

    /// Draws something different into every pixel of the window.
    void fillWithPattern(xcb_window_t window, const QSize &size);

    void movePointer(const QPoint &position);
    void setProperty(xcb_window_t window, const QByteArray &name, xcb_atom_t type, quint32 value);
    void deleteProperty(xcb_window_t window, const QByteArray &name);
    void setResources(const QByteArray &text); ///< as xrdb does; empty removes them
    quint32 property(xcb_window_t window, const QByteArray &name);

    /// Changes the size of the screen by RANDR. False if the server does not.
    bool resizeScreen(const QSize &size);

    xcb_window_t root() const { return m_screen->root; }
    void sync();

private:
    xcb_atom_t atom(const QByteArray &name);
    bool setCrtc(xcb_randr_crtc_t crtc, xcb_randr_mode_t mode, xcb_randr_output_t output);

    xcb_connection_t *m_connection;
    xcb_screen_t *m_screen = nullptr;
};
