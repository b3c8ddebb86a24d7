#include "video/nv12frame.h"

extern "C" {
#include <libavutil/imgutils.h>
}

namespace
{
void weave(const uint8_t *blue, const uint8_t *red, uint8_t *both, int width)
{
    for (int column = 0; column < width; ++column) {
        *both++ = blue[column];
        *both++ = red[column];
    }
}
} // namespace

AvFramePtr nv12FrameOf(const AVFrame *frame)
{
    AvFramePtr woven(frame->format == AV_PIX_FMT_YUV420P ? av_frame_alloc() : nullptr);
    if (!woven) {
        return nullptr;
    }
    woven->format = AV_PIX_FMT_NV12;
    woven->width = frame->width;
    woven->height = frame->height;
    if (av_frame_get_buffer(woven.get(), 0) < 0) {
        return nullptr;
    }
    av_image_copy_plane(woven->data[0], woven->linesize[0], frame->data[0], frame->linesize[0],
                        frame->width, frame->height);
    for (int row = 0; row < AV_CEIL_RSHIFT(frame->height, 1); ++row) {
        weave(frame->data[1] + static_cast<ptrdiff_t>(row) * frame->linesize[1],
              frame->data[2] + static_cast<ptrdiff_t>(row) * frame->linesize[2],
              woven->data[1] + static_cast<ptrdiff_t>(row) * woven->linesize[1],
              AV_CEIL_RSHIFT(frame->width, 1));
    }
    return woven;
}
