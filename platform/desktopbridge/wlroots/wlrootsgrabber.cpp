#include "desktopbridge/wlroots/wlrootsgrabber.h"

#include <QDebug>

#include <algorithm>
#include <cmath>
#include <cstring>

namespace
{
// One to copy into beside the picture that others compare with and the last one.
constexpr size_t MOST_IDLE_BUFFERS = 3;

// The scale of an output of which a region may be asked for, else 0. Regions are told in logical
// units: with a fraction in the scale nobody knows which pixels the compositor takes for them. And
// wlroots 0.15 turns the region the wrong way round where the output is turned by 90 or 270.
int scaleForRegions(const WaylandOutput &output)
{
    if (output.transform == OutputTransform::Turned90 ||
        output.transform == OutputTransform::Turned270) {
        return 0;
    }
    const OutputGeometry &geometry = output.geometry;
    const int scale = int(std::lround(geometry.scale()));
    return geometry.logical.size() * scale == geometry.devicePixels ? scale : 0;
}

// @p area, which lies in the output, grown to logical units.
QRect wholeUnits(const QRect &area, int scale)
{
    const QPoint first(area.left() / scale * scale, area.top() / scale * scale);
    const QPoint last((area.right() / scale + 1) * scale - 1,
                      (area.bottom() / scale + 1) * scale - 1);
    return QRect(first, last);
}

std::shared_ptr<quint32> blackPixels(const QSize &size)
{
    return std::shared_ptr<quint32>(new quint32[size_t(size.width()) * size_t(size.height())](),
                                    std::default_delete<quint32[]>());
}

PicturePtr makePicture(const QRect &area, std::shared_ptr<const quint32> pixels)
{
    return std::make_shared<const Picture>(Picture{area, std::move(pixels)});
}
} // namespace

WlrootsGrabber::WlrootsGrabber(const std::shared_ptr<WaylandConnection> &connection,
                               const WaylandOutputs &outputs)
    : m_connection(connection)
    , m_outputs(outputs)
    , m_queue(connection)
    , m_shm(connection->bindFirst<wl_shm>(wl_shm_interface, 1))
    , m_manager(connection->bindFirst<zwlr_screencopy_manager_v1>(
          zwlr_screencopy_manager_v1_interface, SCREENCOPY_VERSION))
    , m_ownManager(m_queue.wrap(m_manager.get()))
{
}

PicturePtr WlrootsGrabber::fetch(const QRect &area)
{
    for (const WaylandOutput &output : m_outputs.outputs()) {
        if (output.screen.contains(area)) {
            return fetchPart(output, area);
        }
    }
    return m_outputs.virtualScreen().contains(area) ? fetchComposed(area) : nullptr;
}

void WlrootsGrabber::forgetKept()
{
    m_kept.clear();
    m_fetchedPart = false;
}

// Each request waits for a frame of the compositor. So who looks at several parts in a row gets the
// first one by itself, the others out of one copy of the whole output.
PicturePtr WlrootsGrabber::fetchPart(const WaylandOutput &output, const QRect &area)
{
    const bool isPart = area != output.screen;
    m_last.remove(output.global);
    const auto kept = std::find_if(m_kept.begin(), m_kept.end(),
                                   [&](const Shot &shot) { return shot.area.contains(area); });
    Shot shot;
    if (isPart && kept != m_kept.end()) {
        shot = *kept;
    } else if (!capture(output, isPart && !m_fetchedPart ? area : output.screen, shot)) {
        return nullptr;
    } else if (isPart && m_fetchedPart) {
        m_kept.push_back(shot);
    }
    m_fetchedPart = m_fetchedPart || isPart;
    if (!isPart && shot.pixels.isPlain()) {
        PicturePtr picture = makePicture(area, pixelsOf(*shot.buffer));
        m_last.insert(output.global, picture);
        return picture;
    }
    const std::shared_ptr<quint32> pixels = blackPixels(area.size());
    copyFramePixels(shot.pixels, area.translated(-shot.area.topLeft()), pixels.get(), area.width());
    return makePicture(area, pixels);
}

// Only the memory goes along: the buffer's proxy belongs to the main thread.
std::shared_ptr<const quint32> WlrootsGrabber::pixelsOf(const Buffer &buffer)
{
    const std::shared_ptr<SharedMemory> memory = buffer.shared->memory();
    const std::shared_ptr<std::atomic_bool> isHeld = buffer.isHeld;
    isHeld->store(true, std::memory_order_release);
    return {reinterpret_cast<const quint32 *>(memory->data()),
            [memory, isHeld](const quint32 * /*pixels*/) {
                isHeld->store(false, std::memory_order_release);
            }};
}

bool WlrootsGrabber::lastWas(const WaylandOutput &output, const FramePixels &pixels) const
{
    const PicturePtr last = m_last.value(output.global);
    return last && pixels.isPlain() && last->area == output.screen &&
           last->area.size() == pixels.size &&
           std::memcmp(last->pixels.get(), pixels.data,
                       size_t(pixels.stride) * size_t(pixels.size.height())) == 0;
}

PicturePtr WlrootsGrabber::fetchComposed(const QRect &area)
{
    const std::shared_ptr<quint32> pixels = blackPixels(area.size());
    for (const WaylandOutput &output : m_outputs.outputs()) {
        const QRect part = output.screen.intersected(area);
        if (part.isEmpty()) {
            continue;
        }
        m_last.remove(output.global);
        Shot shot;
        if (!capture(output, output.screen, shot)) {
            return nullptr;
        }
        const QPoint place = part.topLeft() - area.topLeft();
        copyFramePixels(shot.pixels, part.translated(-shot.area.topLeft()),
                        pixels.get() + qptrdiff(place.y()) * area.width() + place.x(),
                        area.width());
    }
    return makePicture(area, pixels);
}

bool WlrootsGrabber::capture(const WaylandOutput &output, const QRect &area, Shot &shot)
{
    ScreencopyFrame frame(ask(output, area, shot.area), nullptr);
    const bool isOffered =
        m_queue.waitUntil([&frame] { return frame.state() != ScreencopyFrame::State::Asked; });
    // A size that is not awaited: the output is being changed.
    if (isOffered && !frame.isFinished() &&
        transformedSize(frame.size(), output.transform) == shot.area.size()) {
        shot.buffer = bufferFor(frame, shot.area == output.screen);
        if (shot.buffer) {
            frame.copyInto(*shot.buffer->shared);
            m_queue.waitUntil([&frame] { return frame.isFinished(); });
        }
    }
    const bool isReady = frame.state() == ScreencopyFrame::State::Ready;
    tellOnce(output, isReady);
    if (isReady) {
        const SharedBuffer &buffer = *shot.buffer->shared;
        shot.pixels = {buffer.row(0),   buffer.size(),      buffer.stride(),
                       buffer.format(), frame.isInverted(), output.transform};
    }
    return isReady;
}

zwlr_screencopy_frame_v1 *WlrootsGrabber::ask(const WaylandOutput &output, const QRect &area,
                                              QRect &asked)
{
    const int scale = scaleForRegions(output);
    if (scale == 0 || area == output.screen) {
        asked = output.screen;
        return zwlr_screencopy_manager_v1_capture_output(m_ownManager.get(), 0, output.proxy);
    }
    const QPoint origin = output.screen.topLeft();
    const QRect units = wholeUnits(area.translated(-origin), scale);
    asked = units.translated(origin);
    return zwlr_screencopy_manager_v1_capture_output_region(
        m_ownManager.get(), 0, output.proxy, units.x() / scale, units.y() / scale,
        units.width() / scale, units.height() / scale);
}

// Fresh memory costs the kernel more than the copy, so that of whole outputs is kept.
std::shared_ptr<WlrootsGrabber::Buffer> WlrootsGrabber::bufferFor(const ScreencopyFrame &frame,
                                                                  bool isWhole)
{
    const auto isIdle = [](const std::shared_ptr<Buffer> &buffer) {
        return buffer.use_count() == 1 && !buffer->isHeld->load(std::memory_order_acquire);
    };
    const auto fitting = std::find_if(m_buffers.begin(), m_buffers.end(),
                                      [&](const std::shared_ptr<Buffer> &buffer) {
                                          return isIdle(buffer) && frame.fits(*buffer->shared);
                                      });
    if (fitting != m_buffers.end()) {
        return *fitting;
    }
    auto buffer = std::make_shared<Buffer>();
    buffer->shared =
        SharedBuffer::create(m_shm.get(), frame.size(), frame.stride(), frame.format());
    buffer->isHeld = std::make_shared<std::atomic_bool>(false);
    if (!buffer->shared) {
        return nullptr;
    }
    if (isWhole) {
        if (m_buffers.size() >= MOST_IDLE_BUFFERS) {
            m_buffers.erase(m_buffers.begin());
        }
        m_buffers.push_back(buffer);
    }
    return buffer;
}

void WlrootsGrabber::tellOnce(const WaylandOutput &output, bool hasPicture)
{
    if (hasPicture) {
        m_dark.remove(output.global);
    } else if (!m_dark.contains(output.global)) {
        m_dark.insert(output.global);
        qWarning() << "The compositor gives no picture of the output" << output.name;
    }
}
