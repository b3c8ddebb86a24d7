#include "plainreader.h"

#include <limits>

PlainReader::PlainReader(const QString &file) : m_isOpen(open(file)) {}

bool PlainReader::open(const QString &file)
{
    AVFormatContext *opened = nullptr;
    if (avformat_open_input(&opened, file.toUtf8().constData(), nullptr, nullptr) < 0) {
        return false;
    }
    m_input.reset(opened);
    if (avformat_find_stream_info(opened, nullptr) < 0) {
        return false;
    }
    const AVCodec *codec = nullptr;
    for (unsigned int index = 0; index < opened->nb_streams && m_stream < 0; ++index) {
        if (opened->streams[index]->codecpar->codec_type == AVMEDIA_TYPE_VIDEO) {
            m_stream = static_cast<int>(index);
            codec = avcodec_find_decoder(opened->streams[index]->codecpar->codec_id);
        }
    }
    m_decoder.reset(codec ? avcodec_alloc_context3(codec) : nullptr);
    AVCodecContext *decoder = m_decoder.get();
    if (!decoder ||
        avcodec_parameters_to_context(decoder, opened->streams[m_stream]->codecpar) < 0 ||
        avcodec_open2(decoder, codec, nullptr) < 0) {
        return false;
    }
    m_scaler.reset(sws_getContext(decoder->width, decoder->height, decoder->pix_fmt, decoder->width,
                                  decoder->height, AV_PIX_FMT_BGRA, SWS_BICUBIC, nullptr, nullptr,
                                  nullptr));
    return m_scaler != nullptr;
}

bool PlainReader::receive(AVFrame *frame, qint64 timestamp)
{
    while (avcodec_receive_frame(m_decoder.get(), frame) >= 0) {
        if (frame->pts >= timestamp) {
            return true;
        }
    }
    return false;
}

QImage PlainReader::toImage(const AVFrame *frame) const
{
    QImage image(frame->width, frame->height + 1, QImage::Format_RGB32);
    uint8_t *const plane[] = {image.bits()};
    const int stride[] = {image.bytesPerLine()};
    sws_scale(m_scaler.get(), frame->data, frame->linesize, 0, frame->height, plane, stride);
    return image.copy(0, 0, frame->width, frame->height);
}

PlainReader::Result PlainReader::read(int second)
{
    if (!m_isOpen) {
        return {};
    }
    const qint64 timestamp = av_rescale_q(second, {1, 1}, m_input->streams[m_stream]->time_base);
    if (avformat_seek_file(m_input.get(), m_stream, std::numeric_limits<qint64>::min(), timestamp,
                           std::numeric_limits<qint64>::max(), AVSEEK_FLAG_BACKWARD) < 0) {
        return {};
    }
    avcodec_flush_buffers(m_decoder.get());
    const AvPacketPtr packet(av_packet_alloc());
    const AvFramePtr frame(av_frame_alloc());
    while (av_read_frame(m_input.get(), packet.get()) >= 0) {
        const bool isSent = packet->stream_index == m_stream &&
                            avcodec_send_packet(m_decoder.get(), packet.get()) >= 0;
        av_packet_unref(packet.get());
        if (isSent && receive(frame.get(), timestamp)) {
            return {Place::Forward, toImage(frame.get())};
        }
    }
    if (avcodec_send_packet(m_decoder.get(), nullptr) >= 0 && receive(frame.get(), timestamp)) {
        return {Place::AtEnd, toImage(frame.get())};
    }
    return {};
}
