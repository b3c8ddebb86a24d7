// The calls that write a video, and the C library's that bring it to the disk, as libraryfaults.h
// tells.

#include "faultpoint.h"
#include "libraryfaults.h"

#include "video/avhandles.h"

#include <QFile>

#include <cerrno>
#include <memory>
#include <unistd.h>

extern "C" {
#include <libavutil/opt.h>
#include <libavutil/pixdesc.h>
}

using namespace FaultPoint;
using LibraryFaults::Fault;

namespace
{
QString rationalText(AVRational value)
{
    return QStringLiteral("%1/%2").arg(value.num).arg(value.den);
}

QString frameText(int width, int height, AVPixelFormat format)
{
    return QStringLiteral("%1x%2 %3")
        .arg(width)
        .arg(height)
        .arg(QLatin1String(av_get_pix_fmt_name(format)));
}

QString tuneOf(const AVCodecContext *encoder)
{
    uint8_t *text = nullptr;
    if (av_opt_get(encoder->priv_data, "tune", 0, &text) < 0) {
        return QStringLiteral("unknown");
    }
    const std::unique_ptr<uint8_t, decltype(&av_free)> owner(text, &av_free);
    return QString::fromUtf8(reinterpret_cast<const char *>(text));
}

QString settingsOf(const AVCodecContext *encoder, AVDictionary **options)
{
    const bool hasGlobalHeader = encoder->flags & AV_CODEC_FLAG_GLOBAL_HEADER;
    return QStringLiteral("%1, time base %2, frame rate %3, group %4, %5, tune %6, %7")
        .arg(frameText(encoder->width, encoder->height, encoder->pix_fmt),
             rationalText(encoder->time_base), rationalText(encoder->framerate))
        .arg(encoder->gop_size)
        .arg(hasGlobalHeader ? QStringLiteral("global header") : QStringLiteral("local headers"),
             tuneOf(encoder), options ? QStringLiteral("options") : QStringLiteral("no options"));
}

QString nameOf(int descriptor)
{
    const QString path = QFile::symLinkTarget(QStringLiteral("/proc/self/fd/%1").arg(descriptor));
    return path.section(QLatin1Char('/'), -1);
}
} // namespace

extern "C" {
int avformat_alloc_output_context2(AVFormatContext **context, const AVOutputFormat *oformat,
                                   const char *format, const char *file)
{
    return FAILS(avformat_alloc_output_context2)
               ? AVERROR(ENOMEM)
               : NEXT(avformat_alloc_output_context2)(context, oformat, format, file);
}

AVStream *avformat_new_stream(AVFormatContext *context, const AVCodec *codec)
{
    return FAILS(avformat_new_stream) ? nullptr : NEXT(avformat_new_stream)(context, codec);
}

const AVCodec *avcodec_find_encoder(AVCodecID id)
{
    return FAILS(avcodec_find_encoder) ? nullptr : NEXT(avcodec_find_encoder)(id);
}

AVCodecContext *avcodec_alloc_context3(const AVCodec *codec)
{
    return FAILS(avcodec_alloc_context3) ? nullptr : NEXT(avcodec_alloc_context3)(codec);
}

int avcodec_open2(AVCodecContext *context, const AVCodec *codec, AVDictionary **options)
{
    if (isCallOfThisProgram(__builtin_return_address(0)) && codec && av_codec_is_encoder(codec)) {
        noteEncoder(settingsOf(context, options));
    }
    return FAILS(avcodec_open2) ? AVERROR(EINVAL) : NEXT(avcodec_open2)(context, codec, options);
}

int avio_open(AVIOContext **context, const char *url, int flags)
{
    return FAILS(avio_open) ? AVERROR(EACCES) : NEXT(avio_open)(context, url, flags);
}

int avformat_write_header(AVFormatContext *context, AVDictionary **options)
{
    noteHeader(QStringLiteral("time base %1, average rate %2")
                   .arg(rationalText(context->streams[0]->time_base),
                        rationalText(context->streams[0]->avg_frame_rate)));
    return FAILS(avformat_write_header) ? AVERROR(EIO)
                                        : NEXT(avformat_write_header)(context, options);
}

AVFrame *av_frame_alloc()
{
    return FAILS(av_frame_alloc) ? nullptr : NEXT(av_frame_alloc)();
}

int av_frame_get_buffer(AVFrame *frame, int align)
{
    const bool ours = isCallOfThisProgram(__builtin_return_address(0));
    if (ours && fails("av_frame_get_buffer")) {
        return AVERROR(ENOMEM);
    }
    const int result = NEXT(av_frame_get_buffer)(frame, align);
    if (ours && strikes("av_frame_get_buffer", Fault::Spoils)) {
        frame->data[0] = nullptr;
    }
    return result;
}

SwsContext *sws_getContext(int sourceWidth, int sourceHeight, AVPixelFormat sourceFormat, int width,
                           int height, AVPixelFormat format, int flags, SwsFilter *sourceFilter,
                           SwsFilter *filter, const double *parameter)
{
    if (isCallOfThisProgram(__builtin_return_address(0))) {
        noteScaling(
            QStringLiteral("%1 to %2, %3")
                .arg(frameText(sourceWidth, sourceHeight, sourceFormat),
                     frameText(width, height, format),
                     flags == SWS_BICUBIC ? QStringLiteral("bicubic") : QString::number(flags)));
    }
    return FAILS(sws_getContext)
               ? nullptr
               : NEXT(sws_getContext)(sourceWidth, sourceHeight, sourceFormat, width, height,
                                      format, flags, sourceFilter, filter, parameter);
}

int sws_scale(SwsContext *context, const uint8_t *const source[], const int sourceStride[],
              int sourceY, int sourceHeight, uint8_t *const planes[], const int strides[])
{
    return FAILS(sws_scale) ? AVERROR(ENOMEM)
                            : NEXT(sws_scale)(context, source, sourceStride, sourceY, sourceHeight,
                                              planes, strides);
}

AVPacket *av_packet_alloc()
{
    return FAILS(av_packet_alloc) ? nullptr : NEXT(av_packet_alloc)();
}

int avcodec_send_frame(AVCodecContext *context, const AVFrame *frame)
{
    return FAILS(avcodec_send_frame) ? AVERROR(EIO) : NEXT(avcodec_send_frame)(context, frame);
}

/// A packet that couldn't be received is lost, not kept for the next call.
int avcodec_receive_packet(AVCodecContext *context, AVPacket *packet)
{
    const int result = NEXT(avcodec_receive_packet)(context, packet);
    if (result == 0 && FAILS(avcodec_receive_packet)) {
        av_packet_unref(packet);
        return AVERROR_EXTERNAL;
    }
    if (result == 0 && isCallOfThisProgram(__builtin_return_address(0))) {
        noteReceived(static_cast<double>(packet->duration) * av_q2d(context->time_base));
    }
    return result;
}

int av_interleaved_write_frame(AVFormatContext *context, AVPacket *packet)
{
    noteDuration(static_cast<double>(packet->duration) *
                 av_q2d(context->streams[packet->stream_index]->time_base));
    return FAILS(av_interleaved_write_frame) ? AVERROR(EINVAL)
                                             : NEXT(av_interleaved_write_frame)(context, packet);
}

int av_write_trailer(AVFormatContext *context)
{
    note(QStringLiteral("av_write_trailer"));
    return FAILS(av_write_trailer) ? AVERROR(EIO) : NEXT(av_write_trailer)(context);
}

int avio_closep(AVIOContext **context)
{
    note(QStringLiteral("avio_closep"));
    const bool failing = FAILS(avio_closep);
    const int result = NEXT(avio_closep)(context);
    return failing ? AVERROR(EIO) : result;
}

int fsync(int descriptor)
{
    note(QStringLiteral("fsync ") + nameOf(descriptor));
    if (FAILS(fsync)) {
        errno = EIO;
        return -1;
    }
    return NEXT(fsync)(descriptor);
}

/// Called by Qt's library for the program, so from outside.
int unlink(const char *path) noexcept
{
    note(QStringLiteral("unlink ") + QFile::decodeName(path).section(QLatin1Char('/'), -1));
    if (fails("unlink")) {
        errno = EACCES;
        return -1;
    }
    return NEXT(unlink)(path);
}
}
