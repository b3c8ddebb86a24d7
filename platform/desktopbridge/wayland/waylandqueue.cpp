#include "desktopbridge/wayland/waylandqueue.h"

#include "desktopbridge/wayland/waylandwait.h"

WaylandQueue::WaylandQueue(std::shared_ptr<WaylandConnection> connection)
    : m_connection(std::move(connection)), m_queue(wl_display_create_queue(m_connection->display()))
{
}

bool WaylandQueue::waitUntil(const std::function<bool()> &done, int milliseconds)
{
    const bool arrived = waitForWayland(m_connection->display(), m_queue.get(), done, milliseconds);
    m_connection->dispatchLater();
    return arrived;
}

bool WaylandQueue::roundTrip(int milliseconds)
{
    const bool answered = waylandRoundTrip(m_connection->display(), m_queue.get(), milliseconds);
    m_connection->dispatchLater();
    return answered;
}
