#pragma once
// What every compositor that a test plays is built on: a Wayland socket of its own, served by a
// thread of its own, as its clients wait for answers. Test thread only, but for the thread's work.

#include "desktopbridge/filedescriptor.h"

#include <QByteArray>
#include <QRect>

#include <functional>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

struct wl_client;
struct wl_display;
struct wl_event_source;
struct wl_resource;

class WaylandServer
{
public:
    /// WAYLAND_DISPLAY names it from now on until the object goes. It has one output.
    explicit WaylandServer(const QSize &output);
    virtual ~WaylandServer();
    WaylandServer(const WaylandServer &) = delete;
    WaylandServer &operator=(const WaylandServer &) = delete;

protected:
    /// Serves from now on. For the constructor of a derived class, after its globals are made.
    void start();

    /// Ends the thread. For the destructor of a derived class.
    void stop();

    /// Has @p task done by the thread that serves, and waits until it is.
    void run(const std::function<void()> &task);

    wl_display *display() const { return m_display.get(); }
    const QSize &size() const { return m_size; }

    /// Destroys the resource of a request without arguments, as the requests of that name want it.
    static void destroy(wl_client *client, wl_resource *resource);

private:
    struct Handlers;
    struct ServerDelete {
        void operator()(wl_display *display) const;
        void operator()(wl_event_source *source) const;
    };

    const QByteArray m_formerDisplay;
    const QSize m_size;
    std::mutex m_mutex;
    std::vector<std::function<void()>> m_tasks;
    FileDescriptor m_wake; // an event counter: there are tasks
    std::unique_ptr<wl_display, ServerDelete> m_display;
    std::unique_ptr<wl_event_source, ServerDelete> m_wakeSource;
    std::thread m_thread;
};
