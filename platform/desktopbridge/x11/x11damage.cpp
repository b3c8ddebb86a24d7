#include "desktopbridge/x11/x11damage.h"

namespace
{
constexpr uint8_t SENT_EVENT_BIT = 0x80;

bool isPresent(const XcbConnection &connection, xcb_extension_t *extension)
{
    const auto *data = xcb_get_extension_data(connection.get(), extension);
    return data != nullptr && data->present != 0;
}
} // namespace

X11Damage::X11Damage(XcbConnection connection, xcb_window_t root)
    : m_connection(std::move(connection)), m_root(root)
{
    if (!isPresent(m_connection, &xcb_damage_id) || !isPresent(m_connection, &xcb_xfixes_id)) {
        return;
    }
    // Both extensions refuse their requests to who has not told its version.
    const auto damage =
        xcbReply(m_connection, xcb_damage_query_version_reply,
                 xcb_damage_query_version(m_connection.get(), XCB_DAMAGE_MAJOR_VERSION,
                                          XCB_DAMAGE_MINOR_VERSION));
    const auto fixes =
        xcbReply(m_connection, xcb_xfixes_query_version_reply,
                 xcb_xfixes_query_version(m_connection.get(), XCB_XFIXES_MAJOR_VERSION,
                                          XCB_XFIXES_MINOR_VERSION));
    m_available = damage && fixes && fixes->major_version >= 2; // regions came with version 2
    m_firstEvent = xcb_get_extension_data(m_connection.get(), &xcb_damage_id)->first_event;
}

X11Damage::~X11Damage()
{
    stop();
}

bool X11Damage::start()
{
    if (!m_available || m_damage != XCB_NONE) {
        return m_available;
    }
    m_region = xcb_generate_id(m_connection.get());
    xcb_xfixes_create_region(m_connection.get(), m_region, 0, nullptr);
    m_damage = xcb_generate_id(m_connection.get());
    xcb_damage_create(m_connection.get(), m_damage, m_root, XCB_DAMAGE_REPORT_LEVEL_NON_EMPTY);
    xcb_flush(m_connection.get());
    return true;
}

void X11Damage::stop()
{
    if (m_damage == XCB_NONE) {
        return;
    }
    xcb_damage_destroy(m_connection.get(), m_damage);
    xcb_xfixes_destroy_region(m_connection.get(), m_region);
    xcb_flush(m_connection.get());
    m_damage = m_region = XCB_NONE;
}

QVector<QRect> X11Damage::take()
{
    QVector<QRect> areas;
    if (m_damage == XCB_NONE) {
        return areas;
    }
    xcb_damage_subtract(m_connection.get(), m_damage, XCB_NONE, m_region);
    const auto region = xcbReply(m_connection, xcb_xfixes_fetch_region_reply,
                                 xcb_xfixes_fetch_region(m_connection.get(), m_region));
    if (!region) {
        return areas;
    }
    const xcb_rectangle_t *rectangles = xcb_xfixes_fetch_region_rectangles(region.get());
    const int count = xcb_xfixes_fetch_region_rectangles_length(region.get());
    areas.reserve(count);
    for (int index = 0; index < count; ++index) {
        const xcb_rectangle_t &area = rectangles[index];
        areas.append(QRect(area.x, area.y, area.width, area.height));
    }
    return areas;
}

bool X11Damage::isReport(const xcb_generic_event_t &event) const
{
    if (m_damage == XCB_NONE ||
        (event.response_type & ~SENT_EVENT_BIT) != m_firstEvent + XCB_DAMAGE_NOTIFY) {
        return false;
    }
    return reinterpret_cast<const xcb_damage_notify_event_t &>(event).damage == m_damage;
}
