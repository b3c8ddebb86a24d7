#include "xclient.h"

#include <cstdlib>
#include <cstring>
#include <vector>

namespace
{
template <typename T>
using Reply = std::unique_ptr<T, decltype(&std::free)>;

template <typename T>
Reply<T> owned(T *reply)
{
    return Reply<T>(reply, &std::free);
}
} // namespace

PrivateXServer::PrivateXServer(const QStringList &arguments, const QString &screen)
    : PrivateXServer(QStringLiteral("Xvfb"),
                     QStringList{QStringLiteral("-screen"), QStringLiteral("0"), screen} +
                         arguments)
{
}

PrivateXServer::PrivateXServer(const QString &program, const QStringList &arguments)
{
    m_process.setStandardErrorFile(QProcess::nullDevice());
    m_process.start(program, QStringList{QStringLiteral("-displayfd"), QStringLiteral("1"),
                                         QStringLiteral("-nolisten"), QStringLiteral("tcp"),
                                         QStringLiteral("-noreset")} +
                                 arguments);
    while (!m_process.canReadLine() && m_process.waitForReadyRead(10000)) {
    }
    m_display = ":" + m_process.readLine().trimmed();
}

PrivateXServer::~PrivateXServer()
{
    m_process.terminate();
    if (!m_process.waitForFinished(5000)) {
        kill();
    }
}

void PrivateXServer::kill()
{
    m_process.kill();
    m_process.waitForFinished();
}

DisplayVariable::DisplayVariable(const QByteArray &display) : m_former(qgetenv("DISPLAY"))
{
    qputenv("DISPLAY", display);
}

DisplayVariable::~DisplayVariable()
{
    qputenv("DISPLAY", m_former);
}

XClient::XClient(const QByteArray &display)
    : m_connection(xcb_connect(display.isEmpty() ? nullptr : display.constData(), nullptr))
{
    if (isConnected()) {
        m_screen = xcb_setup_roots_iterator(xcb_get_setup(m_connection)).data;
    }
}

XClient::~XClient()
{
    xcb_disconnect(m_connection);
}

bool XClient::isConnected() const
{
    return xcb_connection_has_error(m_connection) == 0;
}

void XClient::sync()
{
    owned(xcb_get_input_focus_reply(m_connection, xcb_get_input_focus(m_connection), nullptr));
}

QSize XClient::rootSize()
{
    const auto geometry = owned(
        xcb_get_geometry_reply(m_connection, xcb_get_geometry(m_connection, root()), nullptr));
    return geometry ? QSize(geometry->width, geometry->height) : QSize();
}

QImage XClient::grab(const QRect &area)
{
    const auto reply = owned(xcb_get_image_reply(
        m_connection,
        xcb_get_image(m_connection, XCB_IMAGE_FORMAT_Z_PIXMAP, root(), int16_t(area.x()),
                      int16_t(area.y()), uint16_t(area.width()), uint16_t(area.height()), ~0U),
        nullptr));
    if (!reply) {
        return QImage();
    }
    QImage image(area.size(), QImage::Format_RGB32);
    std::memcpy(image.bits(), xcb_get_image_data(reply.get()), size_t(image.sizeInBytes()));
    for (int y = 0; y < image.height(); ++y) {
        auto *row = reinterpret_cast<quint32 *>(image.scanLine(y));
        for (int x = 0; x < image.width(); ++x) {
            row[x] |= 0xff000000;
        }
    }
    return image;
}

xcb_window_t XClient::makeWindow(const QRect &area, quint32 colour)
{
    const xcb_window_t window = xcb_generate_id(m_connection);
    const uint32_t values[] = {colour, 1};
    xcb_create_window(m_connection, XCB_COPY_FROM_PARENT, window, root(), int16_t(area.x()),
                      int16_t(area.y()), uint16_t(area.width()), uint16_t(area.height()), 0,
                      XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT,
                      XCB_CW_BACK_PIXEL | XCB_CW_OVERRIDE_REDIRECT, values);
    xcb_map_window(m_connection, window);
    sync();
    return window;
}

void XClient::destroyWindow(xcb_window_t window)
{
    xcb_destroy_window(m_connection, window);
    sync();
}

void XClient::fill(xcb_window_t window, const QRect &area, quint32 colour)
{
    const xcb_gcontext_t context = xcb_generate_id(m_connection);
    xcb_create_gc(m_connection, context, window, XCB_GC_FOREGROUND, &colour);
    const xcb_rectangle_t rectangle{int16_t(area.x()), int16_t(area.y()), uint16_t(area.width()),
                                    uint16_t(area.height())};
    xcb_poly_fill_rectangle(m_connection, window, context, 1, &rectangle);
    xcb_free_gc(m_connection, context);
    sync();
}

void XClient::fillWithPattern(xcb_window_t window, const QSize &size)
{
    const xcb_gcontext_t context = xcb_generate_id(m_connection);
    xcb_create_gc(m_connection, context, window, 0, nullptr);
    std::vector<quint32> row(static_cast<size_t>(size.width()));
    for (int y = 0; y < size.height(); ++y) {
        for (int x = 0; x < size.width(); ++x) {
            row[size_t(x)] = quint32(x * 7919 + y * 104729) & 0xffffff;
        }
        xcb_put_image(m_connection, XCB_IMAGE_FORMAT_Z_PIXMAP, window, context,
                      uint16_t(size.width()), 1, 0, int16_t(y), 0, m_screen->root_depth,
                      uint32_t(row.size() * sizeof(quint32)),
                      reinterpret_cast<const uint8_t *>(row.data()));
    }
    xcb_free_gc(m_connection, context);
    sync();
}

void XClient::movePointer(const QPoint &position)
{
    xcb_warp_pointer(m_connection, XCB_NONE, root(), 0, 0, 0, 0, int16_t(position.x()),
                     int16_t(position.y()));
    sync();
}

xcb_atom_t XClient::atom(const QByteArray &name)
{
    const auto reply = owned(xcb_intern_atom_reply(
        m_connection, xcb_intern_atom(m_connection, 0, uint16_t(name.size()), name.constData()),
        nullptr));
    return reply->atom;
}

void XClient::setProperty(xcb_window_t window, const QByteArray &name, xcb_atom_t type,
                          quint32 value)
{
    xcb_change_property(m_connection, XCB_PROP_MODE_REPLACE, window, atom(name), type, 32, 1,
                        &value);
    sync();
}

void XClient::deleteProperty(xcb_window_t window, const QByteArray &name)
{
    xcb_delete_property(m_connection, window, atom(name));
    sync();
}

void XClient::setResources(const QByteArray &text)
{
    if (text.isEmpty()) {
        xcb_delete_property(m_connection, root(), XCB_ATOM_RESOURCE_MANAGER);
    } else {
        xcb_change_property(m_connection, XCB_PROP_MODE_REPLACE, root(), XCB_ATOM_RESOURCE_MANAGER,
                            XCB_ATOM_STRING, 8, uint32_t(text.size()), text.constData());
    }
    sync();
}

quint32 XClient::property(xcb_window_t window, const QByteArray &name)
{
    const auto reply = owned(xcb_get_property_reply(
        m_connection,
        xcb_get_property(m_connection, 0, window, atom(name), XCB_GET_PROPERTY_TYPE_ANY, 0, 1),
        nullptr));
    quint32 value = 0;
    if (reply && xcb_get_property_value_length(reply.get()) >= int(sizeof(value))) {
        std::memcpy(&value, xcb_get_property_value(reply.get()), sizeof(value));
    }
    return value;
}

bool XClient::setCrtc(xcb_randr_crtc_t crtc, xcb_randr_mode_t mode, xcb_randr_output_t output)
{
    const auto reply = owned(xcb_randr_set_crtc_config_reply(
        m_connection,
        xcb_randr_set_crtc_config(m_connection, crtc, XCB_CURRENT_TIME, XCB_CURRENT_TIME, 0, 0,
                                  mode, XCB_RANDR_ROTATION_ROTATE_0, mode == XCB_NONE ? 0 : 1,
                                  &output),
        nullptr));
    return reply && reply->status == XCB_RANDR_SET_CONFIG_SUCCESS;
}

bool XClient::resizeScreen(const QSize &size)
{
    const auto resources = owned(xcb_randr_get_screen_resources_reply(
        m_connection, xcb_randr_get_screen_resources(m_connection, root()), nullptr));
    if (!resources || resources->num_crtcs == 0) {
        return false;
    }
    const xcb_randr_crtc_t crtc = xcb_randr_get_screen_resources_crtcs(resources.get())[0];
    const xcb_randr_output_t output = xcb_randr_get_screen_resources_outputs(resources.get())[0];
    xcb_randr_mode_info_t info{};
    info.width = uint16_t(size.width());
    info.height = uint16_t(size.height());
    const QByteArray name =
        QByteArray::number(size.width()) + "x" + QByteArray::number(size.height()) + " of the test";
    info.name_len = uint16_t(name.size());
    const auto mode = owned(xcb_randr_create_mode_reply(
        m_connection,
        xcb_randr_create_mode(m_connection, root(), info, uint32_t(name.size()), name.constData()),
        nullptr));
    if (!mode) {
        return false;
    }
    xcb_randr_add_output_mode(m_connection, output, mode->mode);
    // Off first: a screen must always hold its outputs.
    if (!setCrtc(crtc, XCB_NONE, output)) {
        return false;
    }
    xcb_randr_set_screen_size(m_connection, root(), info.width, info.height, 500, 300);
    return setCrtc(crtc, mode->mode, output) && rootSize() == size;
}
