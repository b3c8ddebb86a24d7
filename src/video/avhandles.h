#pragma once
// Owners of FFmpeg's objects: one deleter struct and one alias each, for every user of FFmpeg in
// the program. A handle belongs to the thread that uses its object.

#include <QString>

#include <memory>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libswscale/swscale.h>
}

struct AvFrameDeleter {
    void operator()(AVFrame *frame) const { av_frame_free(&frame); }
};

struct AvPacketDeleter {
    void operator()(AVPacket *packet) const { av_packet_free(&packet); }
};

struct AvCodecContextDeleter {
    void operator()(AVCodecContext *context) const { avcodec_free_context(&context); }
};

/// Closes the file first: the context doesn't own the io that avio_open() gave it.
struct AvOutputContextDeleter {
    void operator()(AVFormatContext *context) const
    {
        if (!(context->oformat->flags & AVFMT_NOFILE)) {
            avio_closep(&context->pb);
        }
        avformat_free_context(context);
    }
};

/// An opened input owns its io, and only avformat_close_input() knows how to close it.
struct AvInputContextDeleter {
    void operator()(AVFormatContext *context) const { avformat_close_input(&context); }
};

struct SwsContextDeleter {
    void operator()(SwsContext *context) const { sws_freeContext(context); }
};

using AvFramePtr = std::unique_ptr<AVFrame, AvFrameDeleter>;
using AvPacketPtr = std::unique_ptr<AVPacket, AvPacketDeleter>;
using AvCodecContextPtr = std::unique_ptr<AVCodecContext, AvCodecContextDeleter>;
using AvOutputContextPtr = std::unique_ptr<AVFormatContext, AvOutputContextDeleter>;
using AvInputContextPtr = std::unique_ptr<AVFormatContext, AvInputContextDeleter>;
using SwsContextPtr = std::unique_ptr<SwsContext, SwsContextDeleter>;

/// FFmpeg's words for the negative result @p error, in storage of the caller's own. Any thread.
inline QString avErrorText(int error)
{
    char text[128] = {}; // the C library's words may be longer than FFmpeg's own
    av_strerror(error, text, sizeof text);
    return QString::fromUtf8(text);
}
