#pragma once
// A window of the test's own under any Wayland compositor, of which every pixel is known: the hands
// of the tests of all Wayland backends, as XClient is for X11. Its process is the test itself. Test
// thread only; needs the event loop to answer the compositor between its calls.

#include "desktopbridge/wayland/sharedbuffer.h"
#include "desktopbridge/wayland/waylandconnection.h"

#include <QImage>

#include <functional>
#include <vector>
#include <xdg-shell-client-protocol.h>

struct PainterDelete {
    void operator()(wl_compositor *compositor) const { wl_compositor_destroy(compositor); }
    void operator()(wl_surface *surface) const { wl_surface_destroy(surface); }
    void operator()(xdg_wm_base *shell) const { xdg_wm_base_destroy(shell); }
    void operator()(xdg_surface *surface) const { xdg_surface_destroy(surface); }
    void operator()(xdg_toplevel *toplevel) const { xdg_toplevel_destroy(toplevel); }
};

template <typename T>
using PainterPtr = std::unique_ptr<T, PainterDelete>;

class WaylandPainter : public QObject
{
    Q_OBJECT

public:
    /// Connects to $WAYLAND_DISPLAY.
    WaylandPainter();
    ~WaylandPainter() override;

    bool isConnected() const { return m_shell != nullptr; }

    /// Opens the window over the whole output of that index in the compositor's order, filled with
    /// @p colour, with one pixel of it for each of the output's (@p scale is the output's, a whole
    /// number). True once it is on the screen.
    bool showFullScreen(int output = 0, int scale = 1, QRgb colour = 0xff303030);

    /// The same as a plain window of the size that the compositor gives it: alone under sway it
    /// covers the output, but is not handed to the hardware.
    bool showWindow(int scale = 1, QRgb colour = 0xff303030);
    void close();

    /// The window's pixels as last painted; a null picture without a window.
    const QImage &canvas() const { return m_canvas; }

    /// These change the canvas and tell the compositor what changed. False unless it has shown it
    /// within @p milliseconds; 0 does not wait.
    bool fill(const QRect &area, QRgb colour, int milliseconds = 5000);
    bool draw(const QPoint &position, const QImage &image, int milliseconds = 5000);

    /// Draws something different into every pixel.
    bool fillWithPattern();

private:
    static WaylandPainter &of(void *data) { return *static_cast<WaylandPainter *>(data); }
    void makeWindow(int scale);
    bool showAsSoonAs(const std::function<bool()> &isPlaced, QRgb colour);
    void configured(uint32_t serial);
    bool waitFor(const std::function<bool()> &done, int milliseconds);
    bool commit(const QRect &damage, int milliseconds);
    int freeBuffer();

    static const xdg_wm_base_listener SHELL_LISTENER;
    static const xdg_surface_listener SURFACE_LISTENER;
    static const xdg_toplevel_listener TOPLEVEL_LISTENER;
    static const wl_buffer_listener BUFFER_LISTENER;
    static const wl_callback_listener FRAME_LISTENER;

    struct Buffer {
        std::unique_ptr<SharedBuffer> shared;
        bool isBusy = false;
    };

    std::shared_ptr<WaylandConnection> m_connection;
    PainterPtr<wl_compositor> m_compositor;
    WaylandPtr<wl_shm> m_shm;
    PainterPtr<xdg_wm_base> m_shell;
    std::vector<WaylandPtr<wl_output>> m_outputs;
    PainterPtr<wl_surface> m_surface;
    PainterPtr<xdg_surface> m_xdgSurface;
    PainterPtr<xdg_toplevel> m_toplevel;
    WaylandPtr<wl_callback> m_frame; // asked for and not yet come
    Buffer m_buffers[3];
    QImage m_canvas;
    QSize m_size; // logical, as the compositor last asked for
    int m_scale = 1;
    bool m_isConfigured = false;
    bool m_isFullScreen = false;
};
