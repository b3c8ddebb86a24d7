#include "video/framepicture.h"

#include "video/nv12frame.h"

#include <algorithm>

extern "C" {
#include <libavutil/imgutils.h>
}

namespace
{
constexpr int STRIP = 8; // columns that the scaler handles at a time

bool scale(SwsContext *scaler, const uint8_t *const planes[], const int strides[], QImage &picture)
{
    int targetStrides[4] = {};
    av_image_fill_linesizes(targetStrides, AV_PIX_FMT_BGRA, picture.width());
    uint8_t *const target[] = {picture.bits(), nullptr, nullptr, nullptr};
    return sws_scale(scaler, planes, strides, 0, picture.height() - 1, target, targetStrides) >= 0;
}

QImage emptyPicture(const QSize &size)
{
    QImage picture(size.width(), size.height() + 1, QImage::Format_RGB32);
    if (!picture.isNull()) {
        std::fill_n(reinterpret_cast<QRgb *>(picture.scanLine(size.height())), size.width(),
                    qRgb(0, 0, 0));
    }
    return picture;
}

/// For planar 4:2:0 the scaler leaves the last columns of a width that isn't a multiple of 8 as
/// they were, which on a screen of 1366 pixels is a stripe of six. They are filled in from a strip
/// of their own; each pixel depends on its own three values only, so it doesn't matter where it
/// stands.
void fillLastColumns(QImage &picture, const QSize &size, const AVFrame *frame)
{
    const int missing = size.width() % STRIP;
    if (missing == 0 || size.width() < STRIP || frame->format != AV_PIX_FMT_YUV420P) {
        return;
    }
    const int left = (size.width() - STRIP) & ~1;
    const QSize stripSize(STRIP, size.height());
    const auto format = static_cast<AVPixelFormat>(frame->format);
    const SwsContextPtr scaler(sws_getContext(STRIP, size.height(), format, STRIP, size.height(),
                                              AV_PIX_FMT_BGRA, SWS_BICUBIC, nullptr, nullptr,
                                              nullptr));
    const uint8_t *const planes[] = {frame->data[0] + left, frame->data[1] + left / 2,
                                     frame->data[2] + left / 2, nullptr};
    QImage strip = emptyPicture(stripSize);
    if (!scaler || strip.isNull() || !scale(scaler.get(), planes, frame->linesize, strip)) {
        return;
    }
    for (int row = 0; row < size.height(); ++row) {
        const auto *source = reinterpret_cast<const QRgb *>(strip.constScanLine(row));
        auto *target = reinterpret_cast<QRgb *>(picture.scanLine(row)) + left;
        std::copy(source + STRIP - missing, source + STRIP, target + STRIP - missing);
    }
}
} // namespace

QImage pictureWithExtraRow(SwsContext *scaler, AVPixelFormat format, const QSize &size,
                           const AVFrame *frame)
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
    QImage picture = emptyPicture(size);
    if (picture.isNull() || !scale(scaler, frame->data, frame->linesize, picture)) {
        return {};
    }
    fillLastColumns(picture, size, frame);
    return picture;
}
