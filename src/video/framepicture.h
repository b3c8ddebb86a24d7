#pragma once
// Decoded frames as pictures. Any thread.

#include "video/avhandles.h"

#include <QImage>

enum class Rows {
    AsMany,  ///< as the frame has
    OneMore, ///< and a black one below
};

/// @p frame in Format_RGB32. @p scaler was made for frames of @p format and of the size @p size.
/// Null for a frame of another format or size, and without a scaler.
QImage pictureOf(SwsContext *scaler, AVPixelFormat format, const QSize &size, const AVFrame *frame,
                 Rows rows);
