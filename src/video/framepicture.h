#pragma once
// Decoded frames as pictures. Any thread.

#include "video/avhandles.h"

#include <QImage>

/// @p frame in Format_RGB32 and with one row more, black, below its last one. @p scaler was made
/// for frames of @p format and of the size @p size. Null for a frame of another format or size, and
/// without a scaler.
QImage pictureWithExtraRow(SwsContext *scaler, AVPixelFormat format, const QSize &size,
                           const AVFrame *frame);
