#pragma once
// A PipeWire video node as a compositor makes one, whose pictures, damage and misbehaviour the test
// orders. Test thread only.

#include "desktopbridge/pipewire/pipewireremote.h"
#include "desktopbridge/pipewire/videoframe.h"

#include <QImage>

/// Pixels that look like no others, the same for the same @p seed.
QImage pattern(const QSize &size, int seed);

class VideoSource : public QObject
{
    Q_OBJECT

public:
    /// What comes with a frame.
    struct Extras {
        QVector<QRect> damage;        ///< in the buffer; none: not told
        quint32 transform = 0;        ///< number of FrameTransform
        bool isCorrupted = false;     ///< told in the header
        bool isWithoutPixels = false; ///< a chunk of no bytes
        bool isAfterALostOne = false; ///< as its number tells
    };

    /// @p format is one of SPA_VIDEO_FORMAT_*.
    VideoSource(PipeWireRemote &remote, const QSize &size, quint32 format);
    explicit VideoSource(PipeWireRemote &remote, const QSize &size = QSize(320, 200));
    ~VideoSource() override;

    /// Waits until the daemon has numbered the node; SPA_ID_INVALID if it does not.
    quint32 node();

    /// True while somebody reads.
    bool isStreaming() const { return m_streaming; }

    /// Sends @p picture, which has the source's size, in its format. False if there is no free
    /// buffer or nobody reads.
    bool send(const QImage &picture, const Extras &extras);
    bool send(const QImage &picture) { return send(picture, Extras()); }

    /// Writes wrong places of its pixels over those that were told with the last picture, in the
    /// memory that both ends share.
    void spoilLast();

    /// From now on pictures have another size; the reader must agree first.
    void resize(const QSize &size);

    void setActive(bool active);

    /// Frames a second that the reader asked for at most; 0 if it did not.
    quint32 mostFrames() const { return m_mostFrames; }

    /// The size agreed with the reader.
    QSize agreedSize() const { return m_agreedSize; }

private:
    struct Events;

    void onParameter(uint32_t id, const spa_pod *parameter);

    PwStreamPtr m_stream;
    spa_hook m_listener{};
    QSize m_size;
    quint32 m_format;
    QSize m_agreedSize;
    quint32 m_mostFrames = 0;
    bool m_streaming = false;
    spa_chunk *m_lastChunk = nullptr;
    quint64 m_sequence = 0;
};
