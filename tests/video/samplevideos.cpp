#include "samplevideos.h"

#include "support/pictures.h"
#include "video/avhandles.h"

#include <QDebug>
#include <QFile>
#include <QPainter>

namespace
{
constexpr int samplesPerSecond = 8000;

struct Writer {
    AvOutputContextPtr output;
    AVStream *soundStream = nullptr;
    AVStream *stream = nullptr;
    AvCodecContextPtr encoder;
};

AVStream *addSound(AVFormatContext *output)
{
    AVStream *stream = avformat_new_stream(output, nullptr);
    AVCodecParameters *parameters = stream->codecpar;
    parameters->codec_type = AVMEDIA_TYPE_AUDIO;
    parameters->codec_id = AV_CODEC_ID_PCM_S16BE; // what MOV takes without an encoder
    parameters->format = AV_SAMPLE_FMT_S16;
    parameters->sample_rate = samplesPerSecond;
    parameters->bits_per_coded_sample = 16;
    parameters->block_align = 2;
    av_channel_layout_default(&parameters->ch_layout, 1);
    stream->time_base = {1, samplesPerSecond};
    return stream;
}

AVPixelFormat pixelFormatOf(AVCodecID codec)
{
    switch (codec) {
    case AV_CODEC_ID_PNG:
        return AV_PIX_FMT_RGB24;
    case AV_CODEC_ID_MJPEG:
        return AV_PIX_FMT_YUVJ420P;
    default:
        return AV_PIX_FMT_YUV420P;
    }
}

bool openEncoder(Writer &writer, const SampleVideo &sample)
{
    const auto id = sample.codec == 0 ? AV_CODEC_ID_H264 : static_cast<AVCodecID>(sample.codec);
    const AVCodec *codec = avcodec_find_encoder(id);
    writer.encoder.reset(codec ? avcodec_alloc_context3(codec) : nullptr);
    AVCodecContext *encoder = writer.encoder.get();
    if (!encoder) {
        return false;
    }
    encoder->width = sample.size.width();
    encoder->height = sample.size.height();
    encoder->pix_fmt = pixelFormatOf(id);
    encoder->time_base = {sample.secondsPerFrame, sample.framesPerSecond};
    encoder->framerate = {sample.framesPerSecond, sample.secondsPerFrame};
    encoder->gop_size = sample.groupOfPictures;
    encoder->max_b_frames = sample.bFrames;
    if (writer.output->oformat->flags & AVFMT_GLOBALHEADER) {
        encoder->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
    }
    writer.stream = avformat_new_stream(writer.output.get(), nullptr);
    writer.stream->time_base = encoder->time_base;
    return avcodec_open2(encoder, codec, nullptr) >= 0 &&
           avcodec_parameters_from_context(writer.stream->codecpar, encoder) >= 0;
}

AvFramePtr frameOf(int number, const AVCodecContext *encoder)
{
    const QImage image = likePicture(number, {encoder->width, encoder->height});
    AvFramePtr frame(av_frame_alloc());
    frame->format = encoder->pix_fmt;
    frame->width = encoder->width;
    frame->height = encoder->height;
    av_frame_get_buffer(frame.get(), 0);
    const SwsContextPtr scaler(sws_getContext(encoder->width, encoder->height, AV_PIX_FMT_BGRA,
                                              encoder->width, encoder->height, encoder->pix_fmt,
                                              SWS_BICUBIC, nullptr, nullptr, nullptr));
    const uint8_t *const source[] = {image.constBits()};
    const int stride[] = {image.bytesPerLine()};
    sws_scale(scaler.get(), source, stride, 0, encoder->height, frame->data, frame->linesize);
    return frame;
}

void writePackets(Writer &writer, const AVFrame *frame)
{
    const AvPacketPtr packet(av_packet_alloc());
    avcodec_send_frame(writer.encoder.get(), frame);
    while (avcodec_receive_packet(writer.encoder.get(), packet.get()) == 0) {
        packet->stream_index = writer.stream->index;
        packet->duration = 1;
        av_packet_rescale_ts(packet.get(), writer.encoder->time_base, writer.stream->time_base);
        av_interleaved_write_frame(writer.output.get(), packet.get());
    }
}

void writeSound(Writer &writer, int second)
{
    const AvPacketPtr packet(av_packet_alloc());
    av_new_packet(packet.get(), 2 * samplesPerSecond);
    std::fill_n(packet->data, packet->size, uint8_t{0});
    packet->stream_index = writer.soundStream->index;
    packet->pts = static_cast<qint64>(second) * samplesPerSecond;
    packet->dts = packet->pts;
    packet->duration = samplesPerSecond;
    av_packet_rescale_ts(packet.get(), {1, samplesPerSecond}, writer.soundStream->time_base);
    av_interleaved_write_frame(writer.output.get(), packet.get());
}
} // namespace

bool SampleVideo::write(const QString &path) const
{
    const bool hasSound = soundFirst || !pictures;
    AVFormatContext *output = nullptr;
    avformat_alloc_output_context2(&output, nullptr, hasSound ? "mov" : nullptr,
                                   path.toUtf8().constData());
    if (!output) {
        qWarning() << "no container for" << path;
        return false;
    }
    Writer writer;
    writer.output.reset(output);
    if (hasSound) {
        writer.soundStream = addSound(output);
    }
    if ((pictures && !openEncoder(writer, *this)) ||
        avio_open(&output->pb, path.toUtf8().constData(), AVIO_FLAG_WRITE) < 0 ||
        avformat_write_header(output, nullptr) < 0) {
        qWarning() << "no sample video at" << path;
        return false;
    }
    for (int index = 0; index < frames; ++index) {
        if (hasSound) {
            writeSound(writer, index);
        }
        if (pictures) {
            const AvFramePtr frame = frameOf(index + 1, writer.encoder.get());
            frame->pts = firstTimestamp + index;
            writePackets(writer, frame.get());
        }
    }
    if (pictures) {
        writePackets(writer, nullptr);
    }
    return av_write_trailer(output) >= 0;
}

QImage likePicture(int number, const QSize &size)
{
    QImage image = Pictures::numbered(0, size);
    QPainter painter(&image);
    const QRect numberBand(0, 0, size.width(), size.height() / 8);
    painter.drawImage(numberBand, Pictures::numbered(number, size), numberBand);
    // Something that moves, so that frames refer to one another in earnest.
    painter.fillRect((number * 7) % size.width(), size.height() / 2, 20, 20, Qt::red);
    return image;
}

bool writeFileWithoutStreams(const QString &path)
{
    // A file of metadata alone is a container to FFmpeg, whatever it is called.
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(";FFMETADATA1\ntitle=t\n") > 0;
}
