// The calls that read a video, and the C library's that renames files, as libraryfaults.h tells.

#include "faultpoint.h"

#include "video/avhandles.h"

#include <QFile>

#include <cerrno>
#include <cstdio>

using namespace FaultPoint;

namespace
{
QString nameIn(const char *path)
{
    return QFile::decodeName(path).section(QLatin1Char('/'), -1);
}
} // namespace

extern "C" {
int avformat_open_input(AVFormatContext **context, const char *url, const AVInputFormat *format,
                        AVDictionary **options)
{
    return FAILS(avformat_open_input) ? AVERROR(ENOMEM)
                                      : NEXT(avformat_open_input)(context, url, format, options);
}

int avformat_find_stream_info(AVFormatContext *context, AVDictionary **options)
{
    return FAILS(avformat_find_stream_info) ? AVERROR(EIO)
                                            : NEXT(avformat_find_stream_info)(context, options);
}

const AVCodec *avcodec_find_decoder(AVCodecID id)
{
    return FAILS(avcodec_find_decoder) ? nullptr : NEXT(avcodec_find_decoder)(id);
}

int avcodec_parameters_to_context(AVCodecContext *context, const AVCodecParameters *parameters)
{
    return FAILS(avcodec_parameters_to_context)
               ? AVERROR(ENOMEM)
               : NEXT(avcodec_parameters_to_context)(context, parameters);
}

int avcodec_parameters_copy(AVCodecParameters *target, const AVCodecParameters *source)
{
    return FAILS(avcodec_parameters_copy) ? AVERROR(ENOMEM)
                                          : NEXT(avcodec_parameters_copy)(target, source);
}

int avformat_seek_file(AVFormatContext *context, int stream, int64_t minimum, int64_t target,
                       int64_t maximum, int flags)
{
    return FAILS(avformat_seek_file)
               ? AVERROR(EIO)
               : NEXT(avformat_seek_file)(context, stream, minimum, target, maximum, flags);
}

/// A packet that couldn't be read is lost, not kept for the next call.
int av_read_frame(AVFormatContext *context, AVPacket *packet)
{
    const bool failing = FAILS(av_read_frame);
    const int result = NEXT(av_read_frame)(context, packet);
    if (failing && result >= 0) {
        av_packet_unref(packet);
    }
    return failing ? AVERROR(EIO) : result;
}

int avcodec_send_packet(AVCodecContext *context, const AVPacket *packet)
{
    return FAILS(avcodec_send_packet) ? AVERROR_INVALIDDATA
                                      : NEXT(avcodec_send_packet)(context, packet);
}

/// Called by Qt's library for the program, so from outside.
int renameat2(int sourceDirectory, const char *source, int directory, const char *path,
              unsigned int flags) noexcept
{
    note(QStringLiteral("rename %1 to %2").arg(nameIn(source), nameIn(path)));
    if (fails("renameat2")) {
        errno = EACCES;
        return -1;
    }
    return NEXT(renameat2)(sourceDirectory, source, directory, path, flags);
}
}
