#include "fakescreencopy.h"

#include <algorithm>
#include <utility>
#include <wayland-server.h>
#include <wlr-screencopy-unstable-v1-client-protocol.h>

namespace
{
constexpr int VERSION = 3;
constexpr int PIXEL_BYTES = 4;

// Numbers of the events in the protocol's description.
enum FrameEvent { Buffer = 0, Flags = 1, Ready = 2, Failed = 3, Damage = 4, BufferDone = 6 };

void fill(wl_resource *buffer, quint32 colour)
{
    wl_shm_buffer *shared = wl_shm_buffer_get(buffer);
    wl_shm_buffer_begin_access(shared);
    auto *bytes = static_cast<unsigned char *>(wl_shm_buffer_get_data(shared));
    for (int y = 0; y < wl_shm_buffer_get_height(shared); ++y) {
        auto *row =
            reinterpret_cast<quint32 *>(bytes + qptrdiff(y) * wl_shm_buffer_get_stride(shared));
        std::fill_n(row, wl_shm_buffer_get_width(shared), colour);
    }
    wl_shm_buffer_end_access(shared);
}
} // namespace

struct FakeScreencopy::Requests {
    // In the order of the protocol's description, version 3.
    struct Manager {
        void (*captureOutput)(wl_client *, wl_resource *, uint32_t, int32_t, wl_resource *);
        void (*captureRegion)(wl_client *, wl_resource *, uint32_t, int32_t, wl_resource *, int32_t,
                              int32_t, int32_t, int32_t);
        void (*destroy)(wl_client *, wl_resource *);
    };
    struct Frame {
        void (*copy)(wl_client *, wl_resource *, wl_resource *);
        void (*destroy)(wl_client *, wl_resource *);
        void (*copyWithDamage)(wl_client *, wl_resource *, wl_resource *);
    };

    static FakeScreencopy &of(wl_resource *resource)
    {
        return *static_cast<FakeScreencopy *>(wl_resource_get_user_data(resource));
    }

    static void forget(wl_resource *frame)
    {
        std::vector<Waiting> &waiting = of(frame).m_waiting;
        waiting.erase(std::remove_if(waiting.begin(), waiting.end(),
                                     [frame](const Waiting &one) { return one.frame == frame; }),
                      waiting.end());
    }

    static void ask(wl_client *client, wl_resource *manager, uint32_t id, const QSize &size)
    {
        static const Frame requests = {copy, destroy, copyWithDamage};
        FakeScreencopy &self = of(manager);
        wl_resource *frame = wl_resource_create(client, &zwlr_screencopy_frame_v1_interface,
                                                wl_resource_get_version(manager), id);
        wl_resource_set_implementation(frame, &requests, &self, forget);
        ++self.m_asked;
        self.offer(frame, size);
    }

    static void captureOutput(wl_client *client, wl_resource *manager, uint32_t id,
                              int32_t /*pointer*/, wl_resource * /*output*/)
    {
        ask(client, manager, id, of(manager).size());
    }

    static void captureRegion(wl_client *client, wl_resource *manager, uint32_t id,
                              int32_t /*pointer*/, wl_resource * /*output*/, int32_t /*x*/,
                              int32_t /*y*/, int32_t width, int32_t height)
    {
        ask(client, manager, id, QSize(width, height));
    }

    static void copy(wl_client * /*client*/, wl_resource *frame, wl_resource *buffer)
    {
        of(frame).copy(frame, buffer, false);
    }

    static void copyWithDamage(wl_client * /*client*/, wl_resource *frame, wl_resource *buffer)
    {
        FakeScreencopy &self = of(frame);
        if (self.m_isDrawn) {
            self.copy(frame, buffer, true);
        } else {
            self.m_waiting.push_back({frame, buffer});
        }
    }

    static void bind(wl_client *client, void *self, uint32_t version, uint32_t id)
    {
        static const Manager requests = {captureOutput, captureRegion, destroy};
        wl_resource *manager =
            wl_resource_create(client, &zwlr_screencopy_manager_v1_interface, int(version), id);
        wl_resource_set_implementation(manager, &requests, self, nullptr);
    }
};

FakeScreencopy::FakeScreencopy(const QSize &output) : WaylandServer(output)
{
    wl_display_init_shm(display());
    wl_global_create(display(), &zwlr_screencopy_manager_v1_interface, VERSION, this,
                     Requests::bind);
    start();
}

FakeScreencopy::~FakeScreencopy()
{
    stop();
}

void FakeScreencopy::draw(quint32 colour)
{
    run([this, colour] {
        m_colour = colour;
        m_isDrawn = true;
        if (m_isAsleep) {
            return;
        }
        for (const Waiting &one : std::exchange(m_waiting, {})) {
            copy(one.frame, one.buffer, true);
        }
    });
}

void FakeScreencopy::setAsleep(bool isAsleep)
{
    run([this, isAsleep] {
        m_isAsleep = isAsleep;
        if (isAsleep) {
            for (const Waiting &one : std::exchange(m_waiting, {})) {
                wl_resource_post_event(one.frame, Failed);
            }
        } else {
            m_isDrawn = true;
        }
    });
}

void FakeScreencopy::failNext(int frames, Stage stage)
{
    run([this, frames, stage] {
        m_failures = frames;
        m_stage = stage;
    });
}

void FakeScreencopy::setStride(int bytes)
{
    run([this, bytes] { m_stride = bytes; });
}

bool FakeScreencopy::takeFailure(Stage stage)
{
    if (m_isAsleep) {
        return true;
    }
    const bool fails = m_stage == stage && m_failures > 0;
    m_failures -= fails ? 1 : 0;
    return fails;
}

void FakeScreencopy::offer(wl_resource *frame, const QSize &size)
{
    if (takeFailure(Stage::Offer)) {
        wl_resource_post_event(frame, Failed);
        return;
    }
    const int stride = m_stride != 0 ? m_stride : size.width() * PIXEL_BYTES;
    wl_resource_post_event(frame, Buffer, quint32(WL_SHM_FORMAT_XRGB8888), quint32(size.width()),
                           quint32(size.height()), quint32(stride));
    wl_resource_post_event(frame, BufferDone);
}

void FakeScreencopy::copy(wl_resource *frame, wl_resource *buffer, bool tellsDamage)
{
    if (takeFailure(Stage::Copy)) {
        wl_resource_post_event(frame, Failed);
        return;
    }
    fill(buffer, m_colour);
    wl_resource_post_event(frame, Flags, 0U);
    if (tellsDamage) {
        m_isDrawn = false;
        wl_resource_post_event(frame, Damage, 0U, 0U, quint32(size().width()),
                               quint32(size().height()));
    }
    wl_resource_post_event(frame, Ready, 0U, 0U, 0U);
}
