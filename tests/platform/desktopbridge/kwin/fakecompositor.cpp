#include "fakecompositor.h"

#include <algorithm>
#include <wayland-server.h>
#include <zkde-screencast-unstable-v1-client-protocol.h>

namespace
{
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
};

FakeCompositor::FakeCompositor(const QSize &output) : WaylandServer(output)
{
    wl_global_create(display(), &zkde_screencast_unstable_v1_interface, 1, this,
                     Requests::bindScreencast);
    start();
}

FakeCompositor::~FakeCompositor()
{
    stop();
}

void FakeCompositor::endStreams()
{
    run([this] {
        for (wl_resource *stream : m_streams) {
            wl_resource_post_event(stream, Closed);
        }
    });
}
