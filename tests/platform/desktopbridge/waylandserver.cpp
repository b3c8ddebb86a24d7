#include "waylandserver.h"

#include <future>
#include <sys/eventfd.h>
#include <wayland-server.h>

namespace
{
const char SOCKET[] = "wayland-fake";
constexpr int OUTPUT_VERSION = 2;
} // namespace

struct WaylandServer::Handlers {
    static void bindOutput(wl_client *client, void *data, uint32_t version, uint32_t id)
    {
        static const struct wl_output_interface requests = {destroy};
        const QSize size = static_cast<WaylandServer *>(data)->m_size;
        wl_resource *output = wl_resource_create(client, &wl_output_interface, int(version), id);
        wl_resource_set_implementation(output, &requests, data, nullptr);
        wl_output_send_geometry(output, 0, 0, 0, 0, 0, "", "", 0);
        wl_output_send_mode(output, WL_OUTPUT_MODE_CURRENT, size.width(), size.height(), 60000);
        wl_output_send_done(output);
    }

    static int runTasks(int counter, uint32_t /*mask*/, void *self)
    {
        auto *server = static_cast<WaylandServer *>(self);
        eventfd_t count = 0;
        ::eventfd_read(counter, &count);
        std::vector<std::function<void()>> tasks;
        {
            const std::lock_guard<std::mutex> lock(server->m_mutex);
            tasks.swap(server->m_tasks);
        }
        for (const std::function<void()> &task : tasks) {
            task();
        }
        return 0;
    }
};

void WaylandServer::ServerDelete::operator()(wl_display *display) const
{
    wl_display_destroy_clients(display);
    wl_display_destroy(display);
}

void WaylandServer::ServerDelete::operator()(wl_event_source *source) const
{
    wl_event_source_remove(source);
}

WaylandServer::WaylandServer(const QSize &output)
    : m_formerDisplay(qgetenv("WAYLAND_DISPLAY"))
    , m_size(output)
    , m_wake(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK))
    , m_display(wl_display_create())
{
    wl_global_create(m_display.get(), &wl_output_interface, OUTPUT_VERSION, this,
                     Handlers::bindOutput);
    m_wakeSource.reset(wl_event_loop_add_fd(wl_display_get_event_loop(m_display.get()),
                                            m_wake.get(), WL_EVENT_READABLE, Handlers::runTasks,
                                            this));
    wl_display_add_socket(m_display.get(), SOCKET);
    qputenv("WAYLAND_DISPLAY", SOCKET);
}

WaylandServer::~WaylandServer()
{
    stop();
    qputenv("WAYLAND_DISPLAY", m_formerDisplay);
}

void WaylandServer::start()
{
    m_thread = std::thread([this] { wl_display_run(m_display.get()); });
}

// The clients go here: their resources know the derived object.
void WaylandServer::stop()
{
    if (m_thread.joinable()) {
        run([this] { wl_display_terminate(m_display.get()); });
        m_thread.join();
        wl_display_destroy_clients(m_display.get());
    }
}

void WaylandServer::run(const std::function<void()> &task)
{
    std::promise<void> done;
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_tasks.emplace_back([&task, &done] {
            task();
            done.set_value();
        });
    }
    ::eventfd_write(m_wake.get(), 1);
    done.get_future().wait();
}

void WaylandServer::destroy(wl_client * /*client*/, wl_resource *resource)
{
    wl_resource_destroy(resource);
}
