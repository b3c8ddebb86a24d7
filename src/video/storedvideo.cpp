#include "video/storedvideo.h"

#include "video/avhandles.h"

namespace
{
AvInputContextPtr openVideo(const QString &videoFile)
{
    AVFormatContext *opened = nullptr;
    if (avformat_open_input(&opened, videoFile.toUtf8().constData(), nullptr, nullptr) < 0) {
        return nullptr;
    }
    AvInputContextPtr input(opened);
    if (avformat_find_stream_info(opened, nullptr) < 0) {
        return nullptr;
    }
    return input;
}

const AVStream *firstVideoStream(const AVFormatContext *input)
{
    for (unsigned int index = 0; index < input->nb_streams; ++index) {
        if (input->streams[index]->codecpar->codec_type == AVMEDIA_TYPE_VIDEO) {
            return input->streams[index];
        }
    }
    return nullptr;
}

AvCodecContextPtr openDecoder(const AVStream *stream)
{
    const AVCodec *codec = avcodec_find_decoder(stream->codecpar->codec_id);
    AvCodecContextPtr decoder(codec ? avcodec_alloc_context3(codec) : nullptr);
    if (!decoder || avcodec_parameters_to_context(decoder.get(), stream->codecpar) < 0) {
        return nullptr;
    }
    decoder->thread_count = 0; // as many as there are processors
    // A decoder that conceals damage would report a grey picture as a good one.
    decoder->err_recognition = AV_EF_EXPLODE | AV_EF_BITSTREAM | AV_EF_BUFFER;
    if (avcodec_open2(decoder.get(), codec, nullptr) < 0) {
        return nullptr;
    }
    return decoder;
}

/// Sends @p packet, null to drain, and gives the number of undamaged frames that came out.
unsigned int decode(AVCodecContext *decoder, const AVPacket *packet, AVFrame *frame)
{
    unsigned int intact = 0;
    avcodec_send_packet(decoder, packet);
    while (avcodec_receive_frame(decoder, frame) >= 0) {
        if (frame->decode_error_flags == 0 && !(frame->flags & AV_FRAME_FLAG_CORRUPT)) {
            ++intact;
        }
    }
    return intact;
}
} // namespace

namespace StoredVideo
{
unsigned int declaredFrames(const QString &videoFile)
{
    const AvInputContextPtr input = openVideo(videoFile);
    const AVStream *stream = input ? firstVideoStream(input.get()) : nullptr;
    return stream ? static_cast<unsigned int>(stream->nb_frames) : 0;
}

unsigned int intactFrames(const QString &videoFile)
{
    const AvInputContextPtr input = openVideo(videoFile);
    const AVStream *stream = input ? firstVideoStream(input.get()) : nullptr;
    const AvCodecContextPtr decoder = stream ? openDecoder(stream) : nullptr;
    const AvPacketPtr packet(av_packet_alloc());
    const AvFramePtr frame(av_frame_alloc());
    if (!decoder || !packet || !frame) {
        return 0;
    }
    unsigned int intact = 0;
    while (av_read_frame(input.get(), packet.get()) >= 0) {
        if (packet->stream_index == stream->index) {
            intact += decode(decoder.get(), packet.get(), frame.get());
        }
        av_packet_unref(packet.get());
    }
    return intact + decode(decoder.get(), nullptr, frame.get());
}
} // namespace StoredVideo
