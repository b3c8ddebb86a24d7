#pragma once
// Owners for what XCB hands out, and the one way in which a reply is fetched. Any thread: XCB's
// connection is safe to share.

#include <xcb/xcb.h>

#include <cstdlib>
#include <memory>

struct XcbFree {
    void operator()(void *memory) const { std::free(memory); }
};

template <typename T>
using XcbPtr = std::unique_ptr<T, XcbFree>;

/// Shared, for shared memory must be detached before the connection goes.
using XcbConnection = std::shared_ptr<xcb_connection_t>;

/// Waits for the answer to @p cookie by @p fetch, one of XCB's reply functions. Null if the server
/// answered with an error, such as for a window that has just gone, or is gone itself.
template <typename Reply, typename Cookie>
XcbPtr<Reply> xcbReply(const XcbConnection &connection,
                       Reply *(*fetch)(xcb_connection_t *, Cookie, xcb_generic_error_t **),
                       Cookie cookie)
{
    xcb_generic_error_t *error = nullptr;
    XcbPtr<Reply> reply(fetch(connection.get(), cookie, &error));
    std::free(error);
    return reply;
}

/// The server's number for the atom @p name; XCB_ATOM_NONE if nobody has made it yet.
inline xcb_atom_t xcbAtom(const XcbConnection &connection, const char *name, uint16_t length)
{
    const auto reply = xcbReply(connection, xcb_intern_atom_reply,
                                xcb_intern_atom(connection.get(), 1, length, name));
    return reply ? reply->atom : xcb_atom_t(XCB_ATOM_NONE);
}
