#pragma once
// Events of some objects apart from all others, so that a call can wait for its own answer without
// running anybody else's listeners. Main thread.

#include "desktopbridge/wayland/waylandconnection.h"

#include <functional>

class WaylandQueue
{
public:
    explicit WaylandQueue(std::shared_ptr<WaylandConnection> connection);

    /// A second handle to @p object: what is created through it sends its events to this queue.
    template <typename T>
    WaylandWrapperPtr<T> wrap(T *object) const
    {
        auto *wrapper = static_cast<T *>(wl_proxy_create_wrapper(object));
        wl_proxy_set_queue(reinterpret_cast<wl_proxy *>(wrapper), m_queue.get());
        return WaylandWrapperPtr<T>(wrapper);
    }

    /// Sends all requests and dispatches this queue until @p done. False once @p milliseconds have
    /// passed or the connection is lost.
    bool waitUntil(const std::function<bool()> &done,
                   int milliseconds = WaylandConnection::ANSWER_TIME);

    /// The same until the compositor has answered all requests so far.
    bool roundTrip(int milliseconds = WaylandConnection::ANSWER_TIME);

private:
    std::shared_ptr<WaylandConnection> m_connection;
    WaylandPtr<wl_event_queue> m_queue;
};
