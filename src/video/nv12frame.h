#pragma once
// Decoded frames with their two colour planes woven into one (NV12). Any thread.

#include "video/avhandles.h"

/// @p frame, planar 4:2:0 (AV_PIX_FMT_YUV420P), as a new frame in AV_PIX_FMT_NV12 with the same
/// values; null for other formats and without memory.
AvFramePtr nv12FrameOf(const AVFrame *frame);
