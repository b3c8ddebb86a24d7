#include "desktopbridge/wlroots/screencopyframe.h"

#include "desktopbridge/peerarea.h"
#include "desktopbridge/wlroots/framepixels.h"

const zwlr_screencopy_frame_v1_listener ScreencopyFrame::LISTENER = {
    [](void *data, zwlr_screencopy_frame_v1 * /*frame*/, uint32_t format, uint32_t width,
       uint32_t height, uint32_t stride) {
        of(data).noteOffer(format, QSize(int(width), int(height)), int(stride));
    },
    [](void *data, zwlr_screencopy_frame_v1 * /*frame*/, uint32_t flags) {
        of(data).m_isInverted = (flags & ZWLR_SCREENCOPY_FRAME_V1_FLAGS_Y_INVERT) != 0;
    },
    [](void *data, zwlr_screencopy_frame_v1 * /*frame*/, uint32_t /*secondsHigh*/,
       uint32_t /*secondsLow*/, uint32_t /*nanoseconds*/) { of(data).moveTo(State::Ready); },
    [](void *data, zwlr_screencopy_frame_v1 * /*frame*/) { of(data).moveTo(State::Failed); },
    [](void *data, zwlr_screencopy_frame_v1 * /*frame*/, uint32_t x, uint32_t y, uint32_t width,
       uint32_t height) {
        of(data).m_damage.append(PeerArea{x, y, width, height}.within(of(data).m_size));
    },
    [](void * /*data*/, zwlr_screencopy_frame_v1 * /*frame*/, uint32_t /*format*/,
       uint32_t /*width*/, uint32_t /*height*/) {},
    [](void *data, zwlr_screencopy_frame_v1 * /*frame*/) { of(data).finishOffers(); }};

ScreencopyFrame::ScreencopyFrame(zwlr_screencopy_frame_v1 *frame, std::function<void()> changed)
    : m_frame(frame), m_changed(std::move(changed))
{
    zwlr_screencopy_frame_v1_add_listener(frame, &LISTENER, this);
}

void ScreencopyFrame::noteOffer(quint32 format, const QSize &size, int stride)
{
    if (m_size.isEmpty() && isReadable(format, size, stride)) {
        m_format = format;
        m_size = size;
        m_stride = stride;
    }
    // The end of the offers is told since version 3; before, there is one.
    if (zwlr_screencopy_frame_v1_get_version(m_frame.get()) <
        ZWLR_SCREENCOPY_FRAME_V1_BUFFER_DONE_SINCE_VERSION) {
        finishOffers();
    }
}

void ScreencopyFrame::finishOffers()
{
    moveTo(m_size.isEmpty() ? State::Failed : State::Offered);
}

void ScreencopyFrame::moveTo(State state)
{
    if (isFinished()) {
        return;
    }
    m_state = state;
    if (m_changed) {
        const std::function<void()> changed = m_changed; // which may destroy this object
        changed();
    }
}

bool ScreencopyFrame::fits(const SharedBuffer &buffer) const
{
    return buffer.size() == m_size && buffer.stride() == m_stride && buffer.format() == m_format;
}

void ScreencopyFrame::copyInto(const SharedBuffer &buffer)
{
    m_state = State::Copying;
    zwlr_screencopy_frame_v1_copy(m_frame.get(), buffer.buffer());
}

void ScreencopyFrame::copyDamagedInto(const SharedBuffer &buffer)
{
    m_state = State::Copying;
    zwlr_screencopy_frame_v1_copy_with_damage(m_frame.get(), buffer.buffer());
}
