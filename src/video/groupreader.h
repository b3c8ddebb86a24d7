#pragma once
// Frames of an open video in less time than seeking, flushing and decoding from the key frame take:
// the decoder runs on where it can, decoded frames of the current group of pictures are kept, and
// what no wanted frame refers to is passed over. Owned by a FrameExtractor beside its input, and
// used on the same thread.
//
// Gives a frame only where decoding in the plain way would give the very same one before the end of
// the file; for all else it has no answer, and the caller decodes in the plain way. So it need not
// know what damaged or unusual files look like.

#include "video/avhandles.h"

#include <deque>
#include <functional>

class GroupReader
{
public:
    /// Asked before each packet, on the thread that reads.
    using IsToStop = std::function<bool()>;

    /// @p input must outlive this. The position in it changes with every call.
    GroupReader(AVFormatContext *input, const AVStream *stream, IsToStop isToStop);

    /// The frame with the time @p timestamp, in the stream's time base, until the next call; null
    /// where the plain way has to tell, and when it is to stop.
    const AVFrame *frameAt(qint64 timestamp);

private:
    /// How the next frame is reached.
    struct Approach {
        bool skipsOthers = false; ///< frames before it that nothing refers to are not decoded
        bool endsThere = false;   ///< the decoder is drained for it, and can't go on then
    };

    bool openDecoder();
    Approach approachTo(qint64 timestamp) const;
    const AVFrame *decodedFrame(qint64 timestamp) const;
    bool seek(qint64 timestamp);
    bool readPacket();
    bool goOnInGroup(qint64 timestamp);
    bool startGroup();
    const AVFrame *decodeUpTo(qint64 timestamp, Approach approach);
    bool decodePacket(qint64 timestamp, Approach approach);
    bool receiveFrames();
    bool comesAtTheEnd(qint64 timestamp) const;
    bool isFarFromTheEnd() const;
    int placeOf(qint64 timestamp) const;

    AVFormatContext *m_input;
    const AVStream *m_stream;
    const IsToStop m_isToStop;
    AvCodecContextPtr m_decoder; ///< opened with the first request
    AvPacketPtr m_packet;
    std::deque<AvFramePtr> m_frames; ///< of the current group, in order of time
    size_t m_frameLimit = 1;
    qint64 m_groupPosition = -1; ///< in the file, of the group's first packet; -1 for no group
    int m_sentPackets = 0;
    bool m_canGoOn = false; ///< the decoder is in the group's middle, with all of its frames so far
    qint64 m_endsFrom = INT64_MAX; ///< from this time on frames come at the end of the file
    qint64 m_lastTimestamp = AV_NOPTS_VALUE; ///< of the former request
};
