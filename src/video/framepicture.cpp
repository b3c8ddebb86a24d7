#include "video/framepicture.h"

#include "video/nv12frame.h"

#include <algorithm>

namespace
{
constexpr int GROUP = 32; // columns that the scaler handles at a time, at most

/// The scaler writes whole groups of columns. The last group of a row it leaves out, which on a
/// screen of 1366 pixels is a stripe of six, or writes beyond the row, also beyond the last one; so
/// each row gets room for all of them. What is left out even then, as one odd column may be, is
/// black.
QImage roomFor(const QSize &size)
{
    const int columns = (size.width() + GROUP - 1) / GROUP * GROUP;
    QImage room(columns, size.height() + 1, QImage::Format_RGB32);
    if (columns != size.width()) {
        room.fill(Qt::black);
    }
    return room;
}

bool scale(SwsContext *scaler, const AVFrame *frame, QImage &picture)
{
    uint8_t *const target[4] = {picture.bits()};
    const int stride[4] = {picture.bytesPerLine()};
    return sws_scale(scaler, frame->data, frame->linesize, 0, frame->height, target, stride) >= 0;
}
} // namespace

QImage pictureOf(SwsContext *scaler, AVPixelFormat format, const QSize &size, const AVFrame *frame,
                 Rows rows)
{
    AvFramePtr woven;
    if (format == AV_PIX_FMT_NV12 && frame->format == AV_PIX_FMT_YUV420P) {
        woven = nv12FrameOf(frame);
        frame = woven.get();
    }
    if (!scaler || !frame || frame->format != format ||
        QSize(frame->width, frame->height) != size) {
        return {};
    }
    QImage room = roomFor(size);
    if (room.isNull() || !scale(scaler, frame, room)) {
        return {};
    }
    std::fill_n(reinterpret_cast<QRgb *>(room.scanLine(size.height())), room.width(),
                qRgb(0, 0, 0));
    return room.copy(0, 0, size.width(), size.height() + (rows == Rows::OneMore ? 1 : 0));
}
