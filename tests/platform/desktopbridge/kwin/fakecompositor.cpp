#include "fakecompositor.h"

#include <algorithm>
#include <sys/eventfd.h>
#include <wayland-server.h>
#include <zkde-screencast-unstable-v1-client-protocol.h>

namespace
{
const char SOCKET[] = "wayland-fake";

// Numbers of the events in the protocol's description.
enum StreamEvent { Closed = 0, Created = 1, Failed = 2 };
} // namespace

struct FakeCompositor::Requests {
    // In the order of the protocol's description, version 1.
    struct Screencast {
        void (*streamOutput)(wl_client *, wl_resource *, uint32_t, wl_resource *, uint32_t);
        void (*streamWindow)(wl_client *, wl_resource *, uint32_t, const char *, uint32_t);
        void (*destroy)(wl_client *, wl_resource *);
    };
    struct Stream {
        void (*close)(wl_client *, wl_resource *);
    };

    static FakeCompositor &of(wl_resource *resource)
    {
        return *static_cast<FakeCompositor *>(wl_resource_get_user_data(resource));
    }

    static void destroy(wl_client * /*client*/, wl_resource *resource)
    {
        wl_resource_destroy(resource);
    }

    static void forgetStream(wl_resource *stream)
    {
        FakeCompositor &self = of(stream);
        self.m_streams.erase(std::find(self.m_streams.begin(), self.m_streams.end(), stream));
        self.m_openCount = int(self.m_streams.size());
    }

    static void streamOutput(wl_client *client, wl_resource *resource, uint32_t id,
                             wl_resource * /*output*/, uint32_t pointer)
    {
        static const Stream requests = {destroy};
        FakeCompositor &self = of(resource);
        wl_resource *stream =
            wl_resource_create(client, &zkde_screencast_stream_unstable_v1_interface, 1, int(id));
        wl_resource_set_implementation(stream, &requests, &self, forgetStream);
        self.m_streams.push_back(stream);
        self.m_openCount = int(self.m_streams.size());
        self.m_pointerMode = pointer;
        ++self.m_asked;
        if (const quint32 node = self.m_node) {
            wl_resource_post_event(stream, Created, node);
        } else {
            wl_resource_post_event(stream, Failed, "as ordered");
        }
    }

    static void bindScreencast(wl_client *client, void *self, uint32_t version, uint32_t id)
    {
        static const Screencast requests = {streamOutput, nullptr, destroy};
        wl_resource *resource =
            wl_resource_create(client, &zkde_screencast_unstable_v1_interface, int(version), id);
        wl_resource_set_implementation(resource, &requests, self, nullptr);
    }

    static void bindOutput(wl_client *client, void *data, uint32_t version, uint32_t id)
    {
        static const struct wl_output_interface requests = {destroy};
        const QSize size = static_cast<FakeCompositor *>(data)->m_size;
        wl_resource *output = wl_resource_create(client, &wl_output_interface, int(version), id);
        wl_resource_set_implementation(output, &requests, data, nullptr);
        wl_output_send_geometry(output, 0, 0, 0, 0, 0, "", "", 0);
        wl_output_send_mode(output, WL_OUTPUT_MODE_CURRENT, size.width(), size.height(), 60000);
        wl_output_send_done(output);
    }

    static int endStreams(int counter, uint32_t /*mask*/, void *self)
    {
        eventfd_t count = 0;
        ::eventfd_read(counter, &count);
        for (wl_resource *stream : static_cast<FakeCompositor *>(self)->m_streams) {
            wl_resource_post_event(stream, Closed);
        }
        return 0;
    }

    static int stop(int /*counter*/, uint32_t /*mask*/, void *self)
    {
        wl_display_terminate(static_cast<FakeCompositor *>(self)->m_display.get());
        return 0;
    }
};

void FakeCompositor::ServerDelete::operator()(wl_display *display) const
{
    wl_display_destroy_clients(display);
    wl_display_destroy(display);
}

void FakeCompositor::ServerDelete::operator()(wl_event_source *source) const
{
    wl_event_source_remove(source);
}

FakeCompositor::FakeCompositor(const QSize &output)
    : m_formerDisplay(qgetenv("WAYLAND_DISPLAY"))
    , m_size(output)
    , m_end(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK))
    , m_stop(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK))
    , m_display(wl_display_create())
{
    wl_global_create(m_display.get(), &wl_output_interface, 2, this, Requests::bindOutput);
    wl_global_create(m_display.get(), &zkde_screencast_unstable_v1_interface, 1, this,
                     Requests::bindScreencast);
    wl_event_loop *loop = wl_display_get_event_loop(m_display.get());
    m_endSource.reset(
        wl_event_loop_add_fd(loop, m_end.get(), WL_EVENT_READABLE, Requests::endStreams, this));
    m_stopSource.reset(
        wl_event_loop_add_fd(loop, m_stop.get(), WL_EVENT_READABLE, Requests::stop, this));
    wl_display_add_socket(m_display.get(), SOCKET);
    qputenv("WAYLAND_DISPLAY", SOCKET);
    m_thread = std::thread([this] { wl_display_run(m_display.get()); });
}

FakeCompositor::~FakeCompositor()
{
    ::eventfd_write(m_stop.get(), 1);
    m_thread.join();
    qputenv("WAYLAND_DISPLAY", m_formerDisplay);
}

void FakeCompositor::endStreams()
{
    ::eventfd_write(m_end.get(), 1);
}
