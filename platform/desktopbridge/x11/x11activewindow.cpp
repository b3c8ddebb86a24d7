#include "desktopbridge/x11/x11activewindow.h"

#include <xcb/res.h>

#include <cstring>

namespace
{
const char ACTIVE_WINDOW[] = "_NET_ACTIVE_WINDOW";
const char PROCESS_ID[] = "_NET_WM_PID";

// Client ids came with version 1.2 of the extension.
bool hasClientIds(const XcbConnection &connection)
{
    const auto *extension = xcb_get_extension_data(connection.get(), &xcb_res_id);
    if (extension == nullptr || extension->present == 0) {
        return false;
    }
    const auto version = xcbReply(
        connection, xcb_res_query_version_reply,
        xcb_res_query_version(connection.get(), XCB_RES_MAJOR_VERSION, XCB_RES_MINOR_VERSION));
    return version && (version->server_major > 1 || version->server_minor >= 2);
}
} // namespace

X11ActiveWindow::X11ActiveWindow(XcbConnection connection, xcb_window_t root)
    : m_connection(std::move(connection)), m_root(root), m_serverKnows(hasClientIds(m_connection))
{
}

quint32 X11ActiveWindow::processId()
{
    const xcb_window_t window = activeWindow();
    if (window == XCB_WINDOW_NONE) {
        return 0;
    }
    const quint32 processId = m_serverKnows ? processIdFromServer(window) : 0;
    return processId != 0 ? processId : processIdFromWindow(window);
}

xcb_window_t X11ActiveWindow::activeWindow()
{
    if (m_activeWindowAtom == XCB_ATOM_NONE) {
        m_activeWindowAtom = xcbAtom(m_connection, ACTIVE_WINDOW, sizeof(ACTIVE_WINDOW) - 1);
    }
    return firstWord(m_root, m_activeWindowAtom, XCB_ATOM_WINDOW);
}

quint32 X11ActiveWindow::processIdFromServer(xcb_window_t window)
{
    const xcb_res_client_id_spec_t spec{window, XCB_RES_CLIENT_ID_MASK_LOCAL_CLIENT_PID};
    const auto ids = xcbReply(m_connection, xcb_res_query_client_ids_reply,
                              xcb_res_query_client_ids(m_connection.get(), 1, &spec));
    if (!ids) {
        return 0;
    }
    for (auto id = xcb_res_query_client_ids_ids_iterator(ids.get()); id.rem > 0;
         xcb_res_client_id_value_next(&id)) {
        if ((id.data->spec.mask & XCB_RES_CLIENT_ID_MASK_LOCAL_CLIENT_PID) != 0 &&
            xcb_res_client_id_value_value_length(id.data) > 0) {
            return *xcb_res_client_id_value_value(id.data);
        }
    }
    return 0; // the client is on another machine
}

quint32 X11ActiveWindow::processIdFromWindow(xcb_window_t window)
{
    if (m_processIdAtom == XCB_ATOM_NONE) {
        m_processIdAtom = xcbAtom(m_connection, PROCESS_ID, sizeof(PROCESS_ID) - 1);
    }
    return firstWord(window, m_processIdAtom, XCB_ATOM_CARDINAL);
}

quint32 X11ActiveWindow::firstWord(xcb_window_t window, xcb_atom_t property, xcb_atom_t type)
{
    if (property == XCB_ATOM_NONE) {
        return 0;
    }
    const auto reply =
        xcbReply(m_connection, xcb_get_property_reply,
                 xcb_get_property(m_connection.get(), 0, window, property, type, 0, 1));
    quint32 word = 0;
    if (reply && reply->format == 32 &&
        xcb_get_property_value_length(reply.get()) >= int(sizeof(word))) {
        std::memcpy(&word, xcb_get_property_value(reply.get()), sizeof(word));
    }
    return word;
}
