#include "waylandpainter.h"

#include <QPainter>
#include <QTest>

#include <algorithm>
#include <cstring>
#include <iterator>

namespace
{
constexpr quint32 COMPOSITOR_VERSION = 4; // with which damage is told in pixels of the buffer
constexpr int SHOW_TIME = 10000;
constexpr QSize FIRST_SIZE(64, 64);
} // namespace

const xdg_wm_base_listener WaylandPainter::SHELL_LISTENER = {
    [](void * /*data*/, xdg_wm_base *shell, uint32_t serial) { xdg_wm_base_pong(shell, serial); }};

const xdg_surface_listener WaylandPainter::SURFACE_LISTENER = {
    [](void *data, xdg_surface * /*surface*/, uint32_t serial) { of(data).configured(serial); }};

const xdg_toplevel_listener WaylandPainter::TOPLEVEL_LISTENER = {
    [](void *data, xdg_toplevel * /*toplevel*/, int32_t width, int32_t height, wl_array *states) {
        const auto *first = static_cast<const uint32_t *>(states->data);
        const auto *end = first + states->size / sizeof(uint32_t);
        of(data).m_size = QSize(width, height);
        of(data).m_isFullScreen = std::find(first, end, XDG_TOPLEVEL_STATE_FULLSCREEN) != end;
    },
    [](void * /*data*/, xdg_toplevel * /*toplevel*/) {},
    [](void * /*data*/, xdg_toplevel * /*toplevel*/, int32_t /*width*/, int32_t /*height*/) {},
    [](void * /*data*/, xdg_toplevel * /*toplevel*/, wl_array * /*capabilities*/) {}};

const wl_buffer_listener WaylandPainter::BUFFER_LISTENER = {
    [](void *busy, wl_buffer * /*buffer*/) { *static_cast<bool *>(busy) = false; }};

const wl_callback_listener WaylandPainter::FRAME_LISTENER = {
    [](void *data, wl_callback * /*callback*/, uint32_t /*time*/) { of(data).m_frame.reset(); }};

WaylandPainter::WaylandPainter()
{
    QString problem;
    m_connection =
        WaylandConnection::connectToDisplay(problem, WaylandConnection::FIRST_ANSWER_TIME);
    if (!m_connection) {
        qWarning() << problem;
        return;
    }
    m_compositor.reset(
        m_connection->bindFirst<wl_compositor>(wl_compositor_interface, COMPOSITOR_VERSION));
    m_shm.reset(m_connection->bindFirst<wl_shm>(wl_shm_interface, 1));
    m_shell.reset(m_connection->bindFirst<xdg_wm_base>(xdg_wm_base_interface, 1));
    if (m_shell) {
        xdg_wm_base_add_listener(m_shell.get(), &SHELL_LISTENER, this);
    }
}

WaylandPainter::~WaylandPainter()
{
    close();
}

bool WaylandPainter::showFullScreen(int output, int scale, QRgb colour)
{
    if (!isConnected()) {
        return false;
    }
    close();
    m_outputs.clear();
    for (const WaylandGlobal &global : m_connection->globals()) {
        if (global.interface == wl_output_interface.name) {
            m_outputs.emplace_back(m_connection->bind<wl_output>(global, wl_output_interface, 3));
        }
    }
    if (output >= int(m_outputs.size())) {
        return false;
    }
    makeWindow(scale);
    xdg_toplevel_set_fullscreen(m_toplevel.get(), m_outputs[size_t(output)].get());
    return showAsSoonAs([this] { return m_isFullScreen && !m_size.isEmpty(); }, colour);
}

bool WaylandPainter::showWindow(int scale, QRgb colour)
{
    if (!isConnected()) {
        return false;
    }
    close();
    makeWindow(scale);
    return showAsSoonAs([this] { return !m_size.isEmpty(); }, colour);
}

void WaylandPainter::makeWindow(int scale)
{
    m_scale = scale;
    m_surface.reset(wl_compositor_create_surface(m_compositor.get()));
    wl_surface_set_buffer_scale(m_surface.get(), scale);
    m_xdgSurface.reset(xdg_wm_base_get_xdg_surface(m_shell.get(), m_surface.get()));
    xdg_surface_add_listener(m_xdgSurface.get(), &SURFACE_LISTENER, this);
    m_toplevel.reset(xdg_surface_get_toplevel(m_xdgSurface.get()));
    xdg_toplevel_add_listener(m_toplevel.get(), &TOPLEVEL_LISTENER, this);
    xdg_toplevel_set_title(m_toplevel.get(), "painter");
    xdg_toplevel_set_app_id(m_toplevel.get(), "yestermark-painter");
}

bool WaylandPainter::showAsSoonAs(const std::function<bool()> &isPlaced, QRgb colour)
{
    wl_surface_commit(m_surface.get());
    if (!waitFor([this] { return m_isConfigured; }, SHOW_TIME)) {
        return false;
    }
    // Some compositors tell the size only once the window is there.
    if (!isPlaced()) {
        m_canvas = QImage(FIRST_SIZE * m_scale, QImage::Format_RGB32);
        m_canvas.fill(colour);
        if (!commit(m_canvas.rect(), 0) || !waitFor(isPlaced, SHOW_TIME)) {
            return false;
        }
    }
    m_canvas = QImage(m_size * m_scale, QImage::Format_RGB32);
    return fill(m_canvas.rect(), colour, SHOW_TIME);
}

void WaylandPainter::close()
{
    m_frame.reset();
    m_toplevel.reset();
    m_xdgSurface.reset();
    m_surface.reset();
    for (Buffer &buffer : m_buffers) {
        buffer = Buffer();
    }
    m_canvas = QImage();
    m_size = QSize();
    m_isConfigured = m_isFullScreen = false;
    if (m_connection) {
        m_connection->flush();
    }
}

void WaylandPainter::configured(uint32_t serial)
{
    xdg_surface_ack_configure(m_xdgSurface.get(), serial);
    m_isConfigured = true;
    m_connection->flush();
}

bool WaylandPainter::fill(const QRect &area, QRgb colour, int milliseconds)
{
    QPainter(&m_canvas).fillRect(area, QColor(colour));
    return commit(area, milliseconds);
}

bool WaylandPainter::draw(const QPoint &position, const QImage &image, int milliseconds)
{
    QPainter(&m_canvas).drawImage(position, image);
    return commit(QRect(position, image.size()), milliseconds);
}

bool WaylandPainter::fillWithPattern()
{
    for (int y = 0; y < m_canvas.height(); ++y) {
        auto *row = reinterpret_cast<QRgb *>(m_canvas.scanLine(y));
        for (int x = 0; x < m_canvas.width(); ++x) {
            row[x] = 0xff000000 | (quint32(y * m_canvas.width() + x) * 7919 & 0xffffff);
        }
    }
    return commit(m_canvas.rect(), SHOW_TIME);
}

bool WaylandPainter::waitFor(const std::function<bool()> &done, int milliseconds)
{
    m_connection->flush();
    return QTest::qWaitFor(done, milliseconds);
}

int WaylandPainter::freeBuffer()
{
    for (int index = 0; index < int(std::size(m_buffers)); ++index) {
        if (!m_buffers[index].isBusy) {
            return index;
        }
    }
    return -1;
}

// Each commit is a whole picture in a buffer that the compositor does not read any more.
bool WaylandPainter::commit(const QRect &damage, int milliseconds)
{
    if (!waitFor([this] { return freeBuffer() >= 0; }, SHOW_TIME)) {
        return false;
    }
    Buffer &buffer = m_buffers[freeBuffer()];
    if (!buffer.shared || buffer.shared->size() != m_canvas.size()) {
        buffer.shared = SharedBuffer::create(m_shm.get(), m_canvas.size(),
                                             int(m_canvas.bytesPerLine()), WL_SHM_FORMAT_XRGB8888);
        wl_buffer_add_listener(buffer.shared->buffer(), &BUFFER_LISTENER, &buffer.isBusy);
    }
    std::memcpy(buffer.shared->row(0), m_canvas.constBits(), size_t(m_canvas.sizeInBytes()));
    buffer.isBusy = true;
    wl_surface_attach(m_surface.get(), buffer.shared->buffer(), 0, 0);
    wl_surface_damage_buffer(m_surface.get(), damage.x(), damage.y(), damage.width(),
                             damage.height());
    m_frame.reset(wl_surface_frame(m_surface.get()));
    wl_callback_add_listener(m_frame.get(), &FRAME_LISTENER, this);
    wl_surface_commit(m_surface.get());
    m_connection->flush();
    return milliseconds == 0 || waitFor([this] { return m_frame == nullptr; }, milliseconds);
}
