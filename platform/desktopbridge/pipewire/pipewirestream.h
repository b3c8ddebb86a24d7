#pragma once
// The pictures of one PipeWire video node, as a compositor makes them of a screen. The newest one
// stays in the producer's memory until the next comes, and is copied only when it is fetched. Owned
// by a screen backend; main thread. While nothing is drawn there is no wake-up.

#include "desktopbridge/picture.h"
#include "desktopbridge/pipewire/pipewireremote.h"
#include "desktopbridge/pipewire/videoframe.h"

class PipeWireStream : public QObject
{
    Q_OBJECT

public:
    /// Two a second keep a picture at most half a second behind the screen, where a change is told
    /// and a picture taken at most once a second; a video then costs the compositor 2 copies of
    /// the screen a second and not 60.
    static constexpr quint32 USUAL_RATE = 2;

    /// Reads @p node, the producer's number at the daemon of @p remote, which must outlive this
    /// object. The producer is asked for at most @p framesPerSecond.
    PipeWireStream(PipeWireRemote &remote, quint32 node, quint32 framesPerSecond = USUAL_RATE);
    ~PipeWireStream() override;

    /// True while the producer runs and has given a picture since it began to. A picture of before
    /// an interruption is never given out.
    bool isLive() const { return m_held != nullptr; }

    /// Size of the upright picture; empty while not live.
    QSize size() const;

    /// Copies @p area, which must lie in the picture, as Picture describes, to @p target with rows
    /// @p targetWidth pixels apart. False, and nothing copied, while not live or if the area is not
    /// wholly in the picture.
    bool copy(const QRect &area, quint32 *target, int targetWidth) const;

    /// The areas of the picture drawn to since the last call; damaged() is sent again only after
    /// this call. A frame without this knowledge counts as drawn everywhere.
    QVector<QRect> takeDamage();

    /// False once ended() is on its way: no further picture comes.
    bool hasEnded() const { return m_ended; }

Q_SIGNALS:
    // All are delivered from the event loop, so that the receiver may delete this object.
    void damaged();
    void liveChanged(); ///< live or no longer, or live with another size
    void ended();       ///< the producer or the daemon is gone, or no format suits both; sent once

private:
    struct Events;

    void start(quint32 node, quint32 framesPerSecond);
    void onState(pw_stream_state state);
    void onParameter(uint32_t id, const spa_pod *parameter);
    void onProcess();
    void onBufferRemoved(const pw_buffer *buffer);

    std::optional<FrameMemory> memoryOf(const pw_buffer *buffer) const;
    FrameLayout layoutOf(const pw_buffer *buffer) const;
    bool followsALostFrame(const pw_buffer *buffer);
    void addDamageOf(const pw_buffer *buffer, const FrameLayout &layout);
    void hold(pw_buffer *buffer, const FrameMemory &memory);
    void drop(bool giveBack);
    void end();

    PwStreamPtr m_stream;
    spa_hook m_listener{};
    quint32 m_format = 0; // SPA_VIDEO_FORMAT_*
    QSize m_bufferSize;
    bool m_streaming = false;
    pw_buffer *m_held = nullptr; // the stream's; the newest picture
    FrameLayout m_layout;        // of the held one
    FrameMemory m_memory;        // the same
    QVector<QRect> m_damage;
    quint64 m_sequence = 0; // the newest frame's number
    bool m_damageTold = false;
    bool m_ended = false;
};
