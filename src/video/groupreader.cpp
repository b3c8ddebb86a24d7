#include "video/groupreader.h"

#include <QThread>

#include <algorithm>
#include <limits>
#include <utility>

namespace
{
constexpr size_t FRAME_BYTES = 64'000'000; // kept at most: 20 frames of 1920x1080

constexpr int DELAY_MARGIN = 2; // packets, beyond what the decoder tells to hold back

constexpr int MOST_THREADS = 3; // each one more leaves one more frame to the plain way

size_t frameBytes(const AVCodecParameters *parameters)
{
    return static_cast<size_t>(std::max(1, parameters->width)) *
           static_cast<size_t>(std::max(1, parameters->height)) * 3 / 2;
}
} // namespace

GroupReader::GroupReader(AVFormatContext *input, const AVStream *stream, IsToStop isToStop)
    : m_input(input)
    , m_stream(stream)
    , m_isToStop(std::move(isToStop))
    , m_frameLimit(std::max<size_t>(1, FRAME_BYTES / frameBytes(stream->codecpar)))
{
}

const AVFrame *GroupReader::frameAt(qint64 timestamp)
{
    const Approach approach = approachTo(timestamp);
    m_lastTimestamp = timestamp;
    if (const AVFrame *frame = decodedFrame(timestamp)) {
        return frame;
    }
    if (timestamp >= m_endsFrom || (!m_decoder && !openDecoder()) || comesAtTheEnd(timestamp)) {
        return nullptr;
    }
    // The seek tells which group the frame is in; where that is the current one, it is left again.
    if (!seek(timestamp) || !readPacket() || (!goOnInGroup(timestamp) && !startGroup())) {
        m_canGoOn = false;
        av_packet_unref(m_packet.get());
        return nullptr;
    }
    const AVFrame *frame = decodeUpTo(timestamp, approach);
    av_packet_unref(m_packet.get());
    m_canGoOn = m_canGoOn && frame;
    return frame;
}

/// Frames on several threads: they come out later, so that none comes before the end of the file
/// here that would come at the end in the plain way.
bool GroupReader::openDecoder()
{
    const AVCodec *codec = avcodec_find_decoder(m_stream->codecpar->codec_id);
    AvCodecContextPtr decoder(codec ? avcodec_alloc_context3(codec) : nullptr);
    m_packet.reset(av_packet_alloc());
    if (!decoder || !m_packet ||
        avcodec_parameters_to_context(decoder.get(), m_stream->codecpar) < 0) {
        return false;
    }
    decoder->thread_count = std::clamp(QThread::idealThreadCount(), 1, MOST_THREADS);
    if (avcodec_open2(decoder.get(), codec, nullptr) < 0) {
        return false;
    }
    m_decoder = std::move(decoder);
    return true;
}

/// A step forward will be followed by others, which the decoder had better be ready for; one
/// backward wants the frames before it next, and any other request nothing but its own frame.
GroupReader::Approach GroupReader::approachTo(qint64 timestamp) const
{
    const qint64 second = av_rescale_q(1, {1, 1}, m_stream->time_base);
    const bool isNear = m_lastTimestamp != AV_NOPTS_VALUE &&
                        timestamp >= m_lastTimestamp - second &&
                        timestamp <= m_lastTimestamp + second;
    return {!isNear, !isNear || timestamp < m_lastTimestamp};
}

const AVFrame *GroupReader::decodedFrame(qint64 timestamp) const
{
    const auto found =
        std::find_if(m_frames.cbegin(), m_frames.cend(),
                     [timestamp](const AvFramePtr &frame) { return frame->pts == timestamp; });
    return found == m_frames.cend() ? nullptr : found->get();
}

bool GroupReader::seek(qint64 timestamp)
{
    return avformat_seek_file(m_input, m_stream->index, std::numeric_limits<qint64>::min(),
                              timestamp, std::numeric_limits<qint64>::max(),
                              AVSEEK_FLAG_BACKWARD) >= 0;
}

/// The next packet of the stream; false at the end.
bool GroupReader::readPacket()
{
    do {
        av_packet_unref(m_packet.get());
        if (av_read_frame(m_input, m_packet.get()) < 0) {
            return false;
        }
    } while (m_packet->stream_index != m_stream->index);
    return true;
}

/// Passes over what the decoder has got already; the packet behind that is read then. False if the
/// group at hand is another one, or the frame can't come any more.
bool GroupReader::goOnInGroup(qint64 timestamp)
{
    if (!m_canGoOn || m_packet->pos != m_groupPosition ||
        (!m_frames.empty() && m_frames.back()->pts > timestamp)) {
        return false;
    }
    for (int packet = 0; packet < m_sentPackets; ++packet) {
        if (!readPacket()) {
            // At the end of the file; a new start would come to the same end.
            return false;
        }
    }
    return true;
}

/// Makes the packet at hand the first one of the current group.
bool GroupReader::startGroup()
{
    if (m_packet->pos < 0 || !(m_packet->flags & AV_PKT_FLAG_KEY)) {
        return false;
    }
    avcodec_flush_buffers(m_decoder.get());
    m_frames.clear();
    m_groupPosition = m_packet->pos;
    m_sentPackets = 0;
    m_canGoOn = true;
    return true;
}

const AVFrame *GroupReader::decodeUpTo(qint64 timestamp, Approach approach)
{
    do {
        if (m_isToStop() || !decodePacket(timestamp, approach)) {
            m_canGoOn = false;
            return nullptr;
        }
        if (const AVFrame *frame = decodedFrame(timestamp)) {
            return frame;
        }
        if (!m_frames.empty() && m_frames.back()->pts > timestamp) {
            return nullptr; // no frame has this time
        }
    } while (readPacket());
    m_endsFrom = std::min(m_endsFrom, timestamp);
    return nullptr;
}

/// False if anything isn't as in an undamaged file.
bool GroupReader::decodePacket(qint64 timestamp, Approach approach)
{
    const bool isBefore = m_packet->pts < timestamp;
    const bool isLast = m_packet->pts == timestamp && approach.endsThere && isFarFromTheEnd();
    m_decoder->skip_frame = approach.skipsOthers && isBefore ? AVDISCARD_NONREF : AVDISCARD_DEFAULT;
    if (m_packet->pts == AV_NOPTS_VALUE ||
        avcodec_send_packet(m_decoder.get(), m_packet.get()) < 0 || !receiveFrames()) {
        return false;
    }
    ++m_sentPackets;
    if (approach.skipsOthers && isBefore) {
        m_canGoOn = false; // frames are missing among those behind
    }
    if (isLast) {
        m_canGoOn = false;
        return avcodec_send_packet(m_decoder.get(), nullptr) >= 0 && receiveFrames();
    }
    return true;
}

bool GroupReader::receiveFrames()
{
    while (true) {
        AvFramePtr frame(av_frame_alloc());
        const int received = frame ? avcodec_receive_frame(m_decoder.get(), frame.get()) : -1;
        if (received == AVERROR(EAGAIN) || received == AVERROR_EOF) {
            return true;
        }
        const bool isIntact = received >= 0 && frame->decode_error_flags == 0 &&
                              !(frame->flags & AV_FRAME_FLAG_CORRUPT);
        // Out of order only in a file that nobody should guess about.
        if (!isIntact || (!m_frames.empty() && frame->pts <= m_frames.back()->pts)) {
            return false;
        }
        m_frames.push_back(std::move(frame));
        if (m_frames.size() > m_frameLimit) {
            m_frames.pop_front();
        }
    }
}

/// The threads hold back as many frames until the end of the file: to decode up to there would be
/// in vain, and be done again in the plain way.
bool GroupReader::comesAtTheEnd(qint64 timestamp) const
{
    const int entries = avformat_index_get_entries_count(m_stream);
    return entries > 0 && entries - placeOf(timestamp) < m_decoder->thread_count;
}

/// A frame with as many packets behind its own as the decoder holds back comes out before the end
/// of the file in the plain way too.
bool GroupReader::isFarFromTheEnd() const
{
    const int delay = std::max(m_decoder->has_b_frames, m_stream->codecpar->video_delay);
    const int place = placeOf(m_packet->dts);
    return m_stream->codecpar->codec_id == AV_CODEC_ID_H264 && place >= 0 &&
           avformat_index_get_entries_count(m_stream) - place > delay + DELAY_MARGIN;
}

/// In the file's index; negative for a time before the first packet.
int GroupReader::placeOf(qint64 timestamp) const
{
    // The search leaves the index as it is, but isn't declared so.
    auto *stream =
        const_cast<AVStream *>(m_stream); // NOLINT(cppcoreguidelines-pro-type-const-cast)
    return av_index_search_timestamp(stream, timestamp, AVSEEK_FLAG_ANY | AVSEEK_FLAG_BACKWARD);
}
