#pragma once
// Owners for the proxies of libwayland. A proxy must go before its connection does. Any thread that
// may use the connection.

#include <wayland-client.h>

#include <memory>

struct WaylandDelete {
    void operator()(wl_buffer *buffer) const { wl_buffer_destroy(buffer); }
    void operator()(wl_callback *callback) const { wl_callback_destroy(callback); }
    void operator()(wl_display *display) const { wl_display_disconnect(display); }
    void operator()(wl_event_queue *queue) const { wl_event_queue_destroy(queue); }
    void operator()(wl_output *output) const
    {
        if (wl_output_get_version(output) >= WL_OUTPUT_RELEASE_SINCE_VERSION) {
            wl_output_release(output);
        } else {
            wl_output_destroy(output);
        }
    }
    void operator()(wl_registry *registry) const { wl_registry_destroy(registry); }
    void operator()(wl_shm *memory) const { wl_shm_destroy(memory); }
    void operator()(wl_shm_pool *pool) const { wl_shm_pool_destroy(pool); }
};

template <typename T>
using WaylandPtr = std::unique_ptr<T, WaylandDelete>;

/// A second handle to the same object, made by wl_proxy_create_wrapper(), so that what is created
/// through it belongs to another queue.
struct WaylandWrapperDelete {
    void operator()(void *wrapper) const { wl_proxy_wrapper_destroy(wrapper); }
};

template <typename T>
using WaylandWrapperPtr = std::unique_ptr<T, WaylandWrapperDelete>;
