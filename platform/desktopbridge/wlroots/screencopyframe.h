#pragma once
// One request for a picture of an output by wlr-screencopy, from the offer to the filled buffer.
// Owned by who asked; main thread.

#include "desktopbridge/wayland/sharedbuffer.h"

#include <QRect>
#include <QVector>

#include <functional>
#include <wlr-screencopy-unstable-v1-client-protocol.h>

struct ScreencopyDelete {
    void operator()(zwlr_screencopy_manager_v1 *manager) const
    {
        zwlr_screencopy_manager_v1_destroy(manager);
    }
    void operator()(zwlr_screencopy_frame_v1 *frame) const
    {
        zwlr_screencopy_frame_v1_destroy(frame);
    }
};

using ScreencopyManagerPtr = std::unique_ptr<zwlr_screencopy_manager_v1, ScreencopyDelete>;

/// Version 2 tells damage.
constexpr quint32 SCREENCOPY_VERSION = 3;

class ScreencopyFrame
{
public:
    enum class State {
        Asked,
        Offered, ///< size and format are known, a buffer is wanted
        Copying,
        Ready,
        Failed ///< no output, no picture, or no offer that can be read
    };

    /// Takes over @p frame. @p changed is called from the dispatching of events for each of
    /// Offered, Ready and Failed; it may destroy this object.
    ScreencopyFrame(zwlr_screencopy_frame_v1 *frame, std::function<void()> changed);
    ScreencopyFrame(const ScreencopyFrame &) = delete;
    ScreencopyFrame &operator=(const ScreencopyFrame &) = delete;

    State state() const { return m_state; }
    bool isFinished() const { return m_state == State::Ready || m_state == State::Failed; }

    /// Of what is offered.
    QSize size() const { return m_size; }
    int stride() const { return m_stride; }
    quint32 format() const { return m_format; }
    bool fits(const SharedBuffer &buffer) const;

    /// Once Offered, with a buffer that fits: fills it with the next frame.
    void copyInto(const SharedBuffer &buffer);

    /// The same with the first frame that differs from the last one so filled.
    void copyDamagedInto(const SharedBuffer &buffer);

    /// Of what is Ready.
    bool isInverted() const { return m_isInverted; }
    const QVector<QRect> &damage() const { return m_damage; } ///< in the buffer

private:
    static ScreencopyFrame &of(void *data) { return *static_cast<ScreencopyFrame *>(data); }
    void noteOffer(quint32 format, const QSize &size, int stride);
    void finishOffers();
    void moveTo(State state);

    static const zwlr_screencopy_frame_v1_listener LISTENER;

    std::unique_ptr<zwlr_screencopy_frame_v1, ScreencopyDelete> m_frame;
    std::function<void()> m_changed;
    State m_state = State::Asked;
    QSize m_size;
    int m_stride = 0;
    quint32 m_format = 0;
    bool m_isInverted = false;
    QVector<QRect> m_damage;
};
