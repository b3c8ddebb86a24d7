#include "foreignwindow.h"

#include <QCoreApplication>

#include <cstdlib>
#include <cstring>

namespace
{
xcb_atom_t atomOf(xcb_connection_t *connection, const char *name)
{
    const xcb_intern_atom_cookie_t cookie =
        xcb_intern_atom(connection, 0, static_cast<quint16>(std::strlen(name)), name);
    xcb_intern_atom_reply_t *reply = xcb_intern_atom_reply(connection, cookie, nullptr);
    const xcb_atom_t atom = reply ? reply->atom : xcb_atom_t{XCB_ATOM_NONE};
    std::free(reply); // NOLINT(cppcoreguidelines-no-malloc): allocated by the library
    return atom;
}
} // namespace

ForeignWindow::ForeignWindow() : m_connection(xcb_connect(nullptr, nullptr))
{
    xcb_connection_t *connection = m_connection.get();
    const xcb_screen_t *screen = xcb_setup_roots_iterator(xcb_get_setup(connection)).data;
    m_userTime = atomOf(connection, "_NET_WM_USER_TIME");
    m_window = xcb_generate_id(connection);
    xcb_create_window(connection, XCB_COPY_FROM_PARENT, m_window, screen->root, 0, 0, 300, 200, 0,
                      XCB_WINDOW_CLASS_INPUT_OUTPUT, screen->root_visual, 0, nullptr);
    xcb_map_window(connection, m_window);
    xcb_flush(connection);
}

void ForeignWindow::noteKeyPress()
{
    ++m_time;
    xcb_change_property(m_connection.get(), XCB_PROP_MODE_REPLACE, m_window, m_userTime,
                        XCB_ATOM_CARDINAL, 32, 1, &m_time);
    xcb_flush(m_connection.get());
}

void ForeignWindow::widen()
{
    const quint32 width = 350;
    xcb_configure_window(m_connection.get(), m_window, XCB_CONFIG_WINDOW_WIDTH, &width);
    xcb_flush(m_connection.get());
}

ToldEvents::ToldEvents(const ForeignWindow &window)
    : m_window(window.id()), m_keyPressTime(window.keyPressTime())
{
    QCoreApplication::instance()->installNativeEventFilter(this);
}

ToldEvents::~ToldEvents()
{
    QCoreApplication::instance()->removeNativeEventFilter(this);
}

bool ToldEvents::nativeEventFilter(const QByteArray & /*type*/, void *message, long * /*result*/)
{
    const auto *event = static_cast<const xcb_generic_event_t *>(message);
    const int kind = event->response_type & 0x7f;
    if (kind == XCB_PROPERTY_NOTIFY) {
        const auto *property = reinterpret_cast<const xcb_property_notify_event_t *>(event);
        m_keyPresses += property->window == m_window && property->atom == m_keyPressTime ? 1 : 0;
    } else if (kind == XCB_CONFIGURE_NOTIFY) {
        const auto *place = reinterpret_cast<const xcb_configure_notify_event_t *>(event);
        m_resizes += place->window == m_window ? 1 : 0;
    }
    return false;
}
