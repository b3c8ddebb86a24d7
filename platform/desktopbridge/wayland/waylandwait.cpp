#include "desktopbridge/wayland/waylandwait.h"

#include "desktopbridge/wayland/waylandhandles.h"

#include <QDeadlineTimer>

#include <cerrno>
#include <poll.h>

namespace
{
int dispatchPending(wl_display *display, wl_event_queue *queue)
{
    return queue != nullptr ? wl_display_dispatch_queue_pending(display, queue)
                            : wl_display_dispatch_pending(display);
}

int prepareRead(wl_display *display, wl_event_queue *queue)
{
    return queue != nullptr ? wl_display_prepare_read_queue(display, queue)
                            : wl_display_prepare_read(display);
}

// What cannot be sent at once is sent by the next round, as soon as the socket takes it.
bool pollSocket(wl_display *display, const QDeadlineTimer &deadline)
{
    pollfd socket = {};
    socket.fd = wl_display_get_fd(display);
    socket.events = POLLIN;
    if (wl_display_flush(display) < 0) {
        if (errno != EAGAIN) {
            return false;
        }
        socket.events |= POLLOUT;
    }
    const int ready = ::poll(&socket, 1, int(deadline.remainingTime()));
    return ready > 0 || (ready < 0 && errno == EINTR);
}

bool readAndDispatch(wl_display *display, wl_event_queue *queue, const QDeadlineTimer &deadline)
{
    if (prepareRead(display, queue) != 0) {
        return dispatchPending(display, queue) >= 0;
    }
    if (!pollSocket(display, deadline)) {
        wl_display_cancel_read(display);
        return false;
    }
    return wl_display_read_events(display) >= 0 && dispatchPending(display, queue) >= 0;
}

void noteAnswer(void *answered, wl_callback * /*callback*/, uint32_t /*serial*/)
{
    *static_cast<bool *>(answered) = true;
}
} // namespace

bool waitForWayland(wl_display *display, wl_event_queue *queue, const std::function<bool()> &done,
                    int milliseconds)
{
    const QDeadlineTimer deadline(milliseconds);
    while (!done()) {
        if (deadline.hasExpired() || wl_display_get_error(display) != 0 ||
            !readAndDispatch(display, queue, deadline)) {
            return done();
        }
    }
    return true;
}

bool waylandRoundTrip(wl_display *display, wl_event_queue *queue, int milliseconds)
{
    static const wl_callback_listener LISTENER = {noteAnswer};
    bool answered = false;
    WaylandWrapperPtr<wl_display> wrapper;
    wl_display *asked = display;
    if (queue != nullptr) {
        wrapper.reset(static_cast<wl_display *>(wl_proxy_create_wrapper(display)));
        asked = wrapper.get();
        wl_proxy_set_queue(reinterpret_cast<wl_proxy *>(asked), queue);
    }
    const WaylandPtr<wl_callback> callback(wl_display_sync(asked));
    wl_callback_add_listener(callback.get(), &LISTENER, &answered);
    return waitForWayland(
        display, queue, [&answered] { return answered; }, milliseconds);
}
