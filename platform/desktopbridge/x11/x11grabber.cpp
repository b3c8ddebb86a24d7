#include "desktopbridge/x11/x11grabber.h"

#include "desktopbridge/filedescriptor.h"

#include <QtEndian>

#include <xcb/shm.h>

#include <algorithm>
#include <atomic>
#include <fcntl.h>
#include <sys/mman.h>

// Anonymous memory that the server writes pictures into.
class SharedSegment
{
public:
    SharedSegment(const XcbConnection &connection, size_t bytes);
    ~SharedSegment();
    Q_DISABLE_COPY(SharedSegment)

    bool isValid() const { return m_id != XCB_NONE; }

    /// Whether a picture shows this memory. The end of it, on whatever thread the picture is freed,
    /// comes after that thread's last look at the pixels.
    bool isHeld() const { return m_held.load(std::memory_order_acquire); }
    void setHeld(bool held) { m_held.store(held, std::memory_order_release); }

    size_t bytes() const { return m_bytes; }
    xcb_shm_seg_t id() const { return m_id; }
    const quint32 *pixels() const { return static_cast<const quint32 *>(m_memory); }

private:
    XcbConnection m_connection;
    size_t m_bytes;
    void *m_memory = MAP_FAILED;
    xcb_shm_seg_t m_id = XCB_NONE;
    std::atomic_bool m_held{false};
};

SharedSegment::SharedSegment(const XcbConnection &connection, size_t bytes)
    : m_connection(connection), m_bytes(bytes)
{
    FileDescriptor memory(::memfd_create("yestermark picture", MFD_CLOEXEC));
    if (!memory.isValid() || ::ftruncate(memory.get(), off_t(bytes)) != 0) {
        return;
    }
    m_memory = ::mmap(nullptr, bytes, PROT_READ, MAP_SHARED, memory.get(), 0);
    if (m_memory == MAP_FAILED) {
        return;
    }
    const xcb_shm_seg_t id = xcb_generate_id(connection.get());
    // The descriptor is XCB's from here on: it closes it once it is sent.
    const xcb_void_cookie_t attached =
        xcb_shm_attach_fd_checked(connection.get(), id, memory.release(), 0);
    const XcbPtr<xcb_generic_error_t> error(xcb_request_check(connection.get(), attached));
    if (!error && xcb_connection_has_error(connection.get()) == 0) {
        m_id = id;
    }
}

SharedSegment::~SharedSegment()
{
    if (isValid()) {
        xcb_shm_detach(m_connection.get(), m_id);
        xcb_flush(m_connection.get());
    }
    if (m_memory != MAP_FAILED) {
        ::munmap(m_memory, m_bytes);
    }
}

namespace
{
constexpr size_t MOST_IDLE_SEGMENTS = 2; // one to fetch into while the other is the last picture
constexpr uint32_t ALL_PLANES = ~0U;

bool hasDescriptorPassing(const XcbConnection &connection)
{
    const auto *extension = xcb_get_extension_data(connection.get(), &xcb_shm_id);
    if (extension == nullptr || extension->present == 0) {
        return false;
    }
    const auto version =
        xcbReply(connection, xcb_shm_query_version_reply, xcb_shm_query_version(connection.get()));
    return version && (version->major_version > 1 || version->minor_version >= 2);
}

size_t pictureBytes(const QRect &area)
{
    return size_t(area.width()) * size_t(area.height()) * sizeof(quint32);
}
} // namespace

X11Grabber::X11Grabber(XcbConnection connection, const xcb_screen_t *screen)
    : m_connection(std::move(connection))
    , m_root(screen->root)
    , m_shared(hasDescriptorPassing(m_connection))
    , m_largest(pictureBytes(QRect(0, 0, screen->width_in_pixels, screen->height_in_pixels)))
{
}

X11Grabber::~X11Grabber() = default;

bool X11Grabber::canRead(const xcb_setup_t *setup, const xcb_screen_t *screen)
{
    const uint8_t ourOrder =
        Q_BYTE_ORDER == Q_LITTLE_ENDIAN ? XCB_IMAGE_ORDER_LSB_FIRST : XCB_IMAGE_ORDER_MSB_FIRST;
    const xcb_format_t *formats = xcb_setup_pixmap_formats(setup);
    const bool wide = std::any_of(
        formats, formats + xcb_setup_pixmap_formats_length(setup), [screen](xcb_format_t format) {
            return format.depth == screen->root_depth && format.bits_per_pixel == 32;
        });
    if (!wide || setup->image_byte_order != ourOrder) {
        return false;
    }
    for (auto depth = xcb_screen_allowed_depths_iterator(screen); depth.rem > 0;
         xcb_depth_next(&depth)) {
        for (auto visual = xcb_depth_visuals_iterator(depth.data); visual.rem > 0;
             xcb_visualtype_next(&visual)) {
            if (visual.data->visual_id == screen->root_visual) {
                return visual.data->red_mask == 0xff0000 && visual.data->green_mask == 0xff00 &&
                       visual.data->blue_mask == 0xff;
            }
        }
    }
    return false;
}

PicturePtr X11Grabber::fetch(const QRect &area)
{
    if (area.isEmpty()) {
        return nullptr;
    }
    m_largest = std::max(m_largest, pictureBytes(area));
    if (m_shared) {
        PicturePtr picture = fetchShared(area);
        if (picture || m_shared) {
            return picture;
        }
    }
    return fetchThroughSocket(area);
}

std::shared_ptr<SharedSegment> X11Grabber::idleSegment(size_t bytes)
{
    size_t idle = 0;
    const auto surplus = [&](const std::shared_ptr<SharedSegment> &segment) {
        return !segment->isHeld() && (segment->bytes() < bytes || ++idle > MOST_IDLE_SEGMENTS);
    };
    m_segments.erase(std::remove_if(m_segments.begin(), m_segments.end(), surplus),
                     m_segments.end());
    const auto free = std::find_if(
        m_segments.begin(), m_segments.end(),
        [](const std::shared_ptr<SharedSegment> &segment) { return !segment->isHeld(); });
    // One freed since then may be too small.
    if (free != m_segments.end() && (*free)->bytes() >= bytes) {
        return *free;
    }
    // Always for a whole screen: memory that is not written to costs nothing.
    auto segment = std::make_shared<SharedSegment>(m_connection, m_largest);
    if (!segment->isValid()) {
        m_shared = false; // a server that does not share this machine's memory
        return nullptr;
    }
    m_segments.push_back(segment);
    return segment;
}

PicturePtr X11Grabber::fetchShared(const QRect &area)
{
    const auto segment = idleSegment(pictureBytes(area));
    if (!segment) {
        return nullptr;
    }
    const auto reply =
        xcbReply(m_connection, xcb_shm_get_image_reply,
                 xcb_shm_get_image(m_connection.get(), m_root, int16_t(area.x()), int16_t(area.y()),
                                   uint16_t(area.width()), uint16_t(area.height()), ALL_PLANES,
                                   XCB_IMAGE_FORMAT_Z_PIXMAP, segment->id(), 0));
    if (!reply || reply->size < pictureBytes(area)) {
        return nullptr;
    }
    segment->setHeld(true);
    const auto giveBack = [segment](const quint32 * /*pixels*/) { segment->setHeld(false); };
    return std::make_shared<const Picture>(
        Picture{area, std::shared_ptr<const quint32>(segment->pixels(), giveBack)});
}

PicturePtr X11Grabber::fetchThroughSocket(const QRect &area)
{
    std::shared_ptr<xcb_get_image_reply_t> reply =
        xcbReply(m_connection, xcb_get_image_reply,
                 xcb_get_image(m_connection.get(), XCB_IMAGE_FORMAT_Z_PIXMAP, m_root,
                               int16_t(area.x()), int16_t(area.y()), uint16_t(area.width()),
                               uint16_t(area.height()), ALL_PLANES));
    if (!reply || size_t(xcb_get_image_data_length(reply.get())) < pictureBytes(area)) {
        return nullptr;
    }
    const auto *pixels = reinterpret_cast<const quint32 *>(xcb_get_image_data(reply.get()));
    return std::make_shared<const Picture>(
        Picture{area, std::shared_ptr<const quint32>(reply, pixels)});
}
