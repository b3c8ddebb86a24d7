#pragma once
// The one place that waits for a compositor, with a limit, so that a silent one cannot hang the
// bridge. Thread of the connection.

#include <functional>

struct wl_display;
struct wl_event_queue;

/// Sends all requests and dispatches @p queue, null for the default one, until @p done says so.
/// False once @p milliseconds have passed or the connection is lost.
bool waitForWayland(wl_display *display, wl_event_queue *queue, const std::function<bool()> &done,
                    int milliseconds);

/// The same until the compositor has answered all requests so far.
bool waylandRoundTrip(wl_display *display, wl_event_queue *queue, int milliseconds);
