#include "videofacts.h"

#include "support/pictures.h"
#include "video/avhandles.h"

#include <QtEndian>

#include <numeric>

namespace
{
QImage toImage(const AVFrame *frame)
{
    QImage image(frame->width, frame->height, QImage::Format_RGB32);
    const SwsContextPtr scaler(sws_getContext(
        frame->width, frame->height, static_cast<AVPixelFormat>(frame->format), frame->width,
        frame->height, AV_PIX_FMT_BGRA, SWS_BICUBIC, nullptr, nullptr, nullptr));
    uint8_t *const plane[] = {image.bits()};
    const int stride[] = {image.bytesPerLine()};
    sws_scale(scaler.get(), frame->data, frame->linesize, 0, frame->height, plane, stride);
    return image;
}

bool isKeyFrame(const AVFrame *frame)
{
#ifdef AV_FRAME_FLAG_KEY // since FFmpeg 6.1, which deprecates the field below
    return frame->flags & AV_FRAME_FLAG_KEY;
#else
    return frame->key_frame;
#endif
}

void readFrames(VideoFacts &facts, AVCodecContext *decoder, const AVPacket *packet,
                const AVStream *stream)
{
    const AvFramePtr frame(av_frame_alloc());
    avcodec_send_packet(decoder, packet);
    while (avcodec_receive_frame(decoder, frame.get()) >= 0) {
        if (isKeyFrame(frame.get())) {
            facts.keyFrames += facts.seconds.size();
        }
        facts.seconds += static_cast<double>(frame->pts) * av_q2d(stream->time_base);
        facts.pictures += toImage(frame.get());
    }
}

void readStream(VideoFacts &facts, AVFormatContext *input, const AVStream *stream)
{
    const AVCodec *codec = avcodec_find_decoder(stream->codecpar->codec_id);
    const AvCodecContextPtr decoder(avcodec_alloc_context3(codec));
    avcodec_parameters_to_context(decoder.get(), stream->codecpar);
    if (avcodec_open2(decoder.get(), codec, nullptr) < 0) {
        return;
    }
    const AvPacketPtr packet(av_packet_alloc());
    while (av_read_frame(input, packet.get()) >= 0) {
        if (facts.firstPacket.isEmpty()) {
            facts.firstPacket =
                QByteArray(reinterpret_cast<const char *>(packet->data), packet->size);
        }
        readFrames(facts, decoder.get(), packet.get(), stream);
        av_packet_unref(packet.get());
    }
    readFrames(facts, decoder.get(), nullptr, stream);
}

/// Whether a unit of @p packet, each behind its length in four bytes, is a parameter set.
bool holdsParameterSet(const QByteArray &packet)
{
    constexpr int sequenceParameterSet = 7;
    for (int place = 0; place + 4 < packet.size();) {
        if ((packet.at(place + 4) & 0x1f) == sequenceParameterSet) {
            return true;
        }
        place += 4 + qFromBigEndian<qint32>(packet.constData() + place);
    }
    return false;
}
} // namespace

VideoFacts VideoFacts::of(const QString &file)
{
    VideoFacts facts;
    AVFormatContext *opened = nullptr;
    if (avformat_open_input(&opened, file.toUtf8().constData(), nullptr, nullptr) < 0) {
        return facts;
    }
    const AvInputContextPtr input(opened);
    if (avformat_find_stream_info(opened, nullptr) < 0) {
        return facts;
    }
    facts.isReadable = true;
    facts.container = QString::fromLatin1(opened->iformat->name);
    facts.streams = static_cast<int>(opened->nb_streams);
    if (opened->nb_streams == 0) {
        return facts;
    }
    const AVStream *stream = opened->streams[0];
    facts.codec = stream->codecpar->codec_id;
    facts.pixelFormat = stream->codecpar->format;
    facts.size = {stream->codecpar->width, stream->codecpar->height};
    facts.averageFrameRate = av_q2d(stream->avg_frame_rate);
    facts.declaredFrames = static_cast<int>(stream->nb_frames);
    facts.duration = static_cast<double>(stream->duration) * av_q2d(stream->time_base);
    readStream(facts, opened, stream);
    facts.hasGlobalHeader =
        stream->codecpar->extradata_size > 0 && !holdsParameterSet(facts.firstPacket);
    return facts;
}

QVector<int> VideoFacts::numbers() const
{
    QVector<int> result;
    for (const QImage &picture : pictures) {
        result += Pictures::numberOf(picture);
    }
    return result;
}

QVector<int> numbersFrom(int first, int last)
{
    QVector<int> numbers(last - first + 1);
    std::iota(numbers.begin(), numbers.end(), first);
    return numbers;
}

QVector<int> numbersUpTo(int last)
{
    return numbersFrom(1, last);
}

QVector<QImage> numberedBatch(const QVector<int> &numbers)
{
    QVector<QImage> images;
    for (const int number : numbers) {
        images += Pictures::numbered(number);
    }
    return images;
}

QVector<QImage> numberedBatch(int count)
{
    return numberedBatch(numbersUpTo(count));
}
