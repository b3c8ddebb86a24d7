#include "video/frameextractor.h"

#include "systeminfo/tvsysinfo.h"

#include <QDebug>
#include <QElapsedTimer>

#include <limits>
#include <utility>

FrameExtractor::FrameExtractor(QObject *parent)
    : QObject(parent), m_productionLine(QString::fromUtf8(tdk_system_get_production_line()))
{
}

FrameExtractor::~FrameExtractor()
{
    unloadResource();
}

QString FrameExtractor::getAbsoluteVideoName() const
{
    return m_absoluteVideoName;
}

void FrameExtractor::setAbsoluteVideoName(const QString &name)
{
    if (name == m_absoluteVideoName) {
        return;
    }
    QElapsedTimer timer;
    timer.start();
    m_absoluteVideoName = name;
    unloadResource();
    m_isLoaded = loadResource();
    if (!m_isLoaded) {
        m_absoluteVideoName.clear();
    }
    qDebug() << "setAbsoluteVideoName"
             << "elapsed:" << timer.elapsed() << "ms";
}

bool FrameExtractor::loadResource()
{
    unloadResource();
    if (!openInput()) {
        qDebug() << "avformat_open_input fail" << m_absoluteVideoName;
        return false;
    }
    if (!findStream() || !openDecoder()) {
        unloadResource();
        return false;
    }
    const AVCodecContext *codec = m_codecContext.get();
    m_scaledFormat = codec->pix_fmt;
    m_scaledSize = {codec->width, codec->height};
    // The library ends the process over a format that it doesn't know, such as that of sound.
    if (sws_isSupportedInput(codec->pix_fmt)) {
        m_swsContext.reset(sws_getContext(codec->width, codec->height, codec->pix_fmt, codec->width,
                                          codec->height, AV_PIX_FMT_BGRA, SWS_BICUBIC, nullptr,
                                          nullptr, nullptr));
    }
    if (m_videoStreamIndex >= 0) {
        m_groupReader = std::make_unique<GroupReader>(m_formatContext.get(), m_videoStream,
                                                      [this] { return m_isToStop(); });
    }
    return true;
}

bool FrameExtractor::openInput()
{
    AVFormatContext *opened = nullptr;
    const int result =
        avformat_open_input(&opened, m_absoluteVideoName.toUtf8().constData(), nullptr, nullptr);
    m_formatContext.reset(result < 0 ? nullptr : opened);
    return result >= 0;
}

/// As the container tells it.
FrameExtractor::Setup FrameExtractor::setupOf() const
{
    if (m_formatContext->nb_streams != 1) {
        return {};
    }
    const AVCodecParameters *stream = m_formatContext->streams[0]->codecpar;
    if (stream->codec_id != AV_CODEC_ID_H264 || stream->extradata_size <= 0) {
        return {};
    }
    return {stream->codec_id,
            QByteArray(reinterpret_cast<const char *>(stream->extradata), stream->extradata_size),
            {stream->width, stream->height}};
}

/// The library decodes a picture to learn its format, nine tenths of the time in which a file of
/// 1920x1080 opens. A file whose decoder is set up by the same bytes as the one's before, as those
/// of one recorder are, has the same: then nothing is decoded.
int FrameExtractor::findStreamInfo()
{
    AVFormatContext *context = m_formatContext.get();
    const Setup setup = setupOf();
    const Learnt learnt = std::exchange(m_learnt, {});
    if (setup.codec != AV_CODEC_ID_NONE && setup == learnt.setup) {
        AVCodecParameters *stream = context->streams[0]->codecpar;
        stream->format = learnt.format;
        AVDictionary *options = nullptr;
        av_dict_set(&options, "skip_frame", "all", 0);
        const int result = avformat_find_stream_info(context, &options);
        av_dict_free(&options);
        if (result < 0 || (stream->format == learnt.format && stream->video_delay == learnt.delay &&
                           QSize(stream->width, stream->height) == setup.size)) {
            m_learnt = learnt;
            return result;
        }
        return openInput() ? findStreamInfo() : AVERROR(EIO);
    }
    const int result = avformat_find_stream_info(context, nullptr);
    if (result >= 0 && setup.codec != AV_CODEC_ID_NONE) {
        const AVCodecParameters *stream = context->streams[0]->codecpar;
        if (setupOf() == setup && stream->format != AV_PIX_FMT_NONE) {
            m_learnt = {setup, stream->format, stream->video_delay};
        }
    }
    return result;
}

/// Without a video stream the last stream is taken, with no index: such a file opens, and every
/// request to it finds nothing.
bool FrameExtractor::findStream()
{
    if (findStreamInfo() < 0) {
        qDebug() << "avformat_find_stream_info fail";
        return false;
    }
    for (unsigned int index = 0; index < m_formatContext->nb_streams; ++index) {
        m_videoStream = m_formatContext->streams[index];
        if (m_videoStream->codecpar->codec_type == AVMEDIA_TYPE_VIDEO) {
            m_videoStreamIndex = static_cast<qint32>(index);
            break;
        }
    }
    if (!m_videoStream) {
        qDebug() << "Failed to get video stream.";
        return false;
    }
    return true;
}

bool FrameExtractor::openDecoder()
{
    const AVCodec *codec = avcodec_find_decoder(m_videoStream->codecpar->codec_id);
    m_codecContext.reset(avcodec_alloc_context3(codec));
    if (!m_codecContext) {
        qDebug() << "video avcodec_alloc_context3 fail";
        return false;
    }
    if (avcodec_parameters_to_context(m_codecContext.get(), m_videoStream->codecpar) < 0) {
        qDebug() << "video avcodec_parameters_to_context";
        return false;
    }
    if (m_productionLine == QLatin1String("Wayland")) {
        m_codecContext->pix_fmt = AV_PIX_FMT_NV12;
    }
    if (avcodec_open2(m_codecContext.get(), codec, nullptr) < 0) {
        qDebug() << "video avcodec_open2() fail";
        return false;
    }
    return true;
}

bool FrameExtractor::unloadResource()
{
    m_groupReader.reset();
    m_formatContext.reset();
    m_swsContext.reset();
    m_codecContext.reset();
    m_videoStream = nullptr;
    m_videoStreamIndex = -1;
    m_isLoaded = false;
    return true;
}

void FrameExtractor::clearVideoFile()
{
    m_absoluteVideoName.clear();
    unloadResource();
}

void FrameExtractor::setStop(GroupReader::IsToStop isToStop)
{
    m_isToStop = std::move(isToStop);
}

QImage FrameExtractor::requestGetFrame(int frameIndex)
{
    if (!m_isLoaded) {
        return {};
    }
    const qint64 timestamp = timestampOf(frameIndex);
    const AVFrame *frame = m_groupReader ? m_groupReader->frameAt(timestamp) : nullptr;
    if (frame) {
        return toPicture(frame, Rows::AsMany);
    }
    return m_isToStop() ? QImage() : readPlainly(timestamp);
}

/// Seeks to the key frame, flushes and decodes from there.
QImage FrameExtractor::readPlainly(qint64 timestamp)
{
    if (avformat_seek_file(m_formatContext.get(), m_videoStreamIndex,
                           std::numeric_limits<qint64>::min(), timestamp,
                           std::numeric_limits<qint64>::max(), AVSEEK_FLAG_BACKWARD) < 0) {
        qDebug() << "Error on av_seek_frame";
        return {};
    }
    avcodec_flush_buffers(m_codecContext.get());
    const AvPacketPtr packet(av_packet_alloc());
    const AvFramePtr frame(av_frame_alloc());
    if (!packet || !frame) {
        return {};
    }
    if (readForward(packet.get(), frame.get(), timestamp)) {
        return toPicture(frame.get(), Rows::AsMany);
    }
    // One row taller on purpose: that is how frames from the end of the file are handed out.
    return !m_isToStop() && readAtEnd(frame.get(), timestamp)
               ? toPicture(frame.get(), Rows::OneMore)
               : QImage();
}

QImage FrameExtractor::toPicture(const AVFrame *frame, Rows rows) const
{
    return pictureOf(m_swsContext.get(), m_scaledFormat, m_scaledSize, frame, rows);
}

/// In the stream's time base. The index is a second, since videos have one frame a second; the
/// product wraps around at 32 bits, far beyond the hundred frames of a video.
qint64 FrameExtractor::timestampOf(int frameIndex) const
{
    constexpr quint32 microseconds = 1'000'000;
    const auto product = static_cast<qint32>(static_cast<quint32>(frameIndex) * microseconds);
    return av_rescale_q(product, {1, static_cast<int>(microseconds)}, m_videoStream->time_base);
}

/// Receives until @p frame is the first one at or behind @p timestamp; false if there is none yet.
bool FrameExtractor::receiveFrame(AVFrame *frame, qint64 timestamp)
{
    while (avcodec_receive_frame(m_codecContext.get(), frame) >= 0) {
        if (frame->pts >= timestamp) {
            return true;
        }
    }
    return false;
}

bool FrameExtractor::readForward(AVPacket *packet, AVFrame *frame, qint64 timestamp)
{
    while (!m_isToStop() && av_read_frame(m_formatContext.get(), packet) >= 0) {
        const bool isSent = packet->stream_index == m_videoStreamIndex &&
                            avcodec_send_packet(m_codecContext.get(), packet) >= 0;
        av_packet_unref(packet);
        if (isSent && receiveFrame(frame, timestamp)) {
            return true;
        }
    }
    return false;
}

bool FrameExtractor::readAtEnd(AVFrame *frame, qint64 timestamp)
{
    return avcodec_send_packet(m_codecContext.get(), nullptr) >= 0 &&
           receiveFrame(frame, timestamp);
}
