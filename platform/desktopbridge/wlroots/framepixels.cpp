#include "desktopbridge/wlroots/framepixels.h"

#include <wayland-client-protocol.h>

#include <algorithm>
#include <cstring>
#include <iterator>

namespace
{
// Where a pixel as seen lies in the buffer: the first one, and the way to its neighbours in bytes.
struct Walk {
    qptrdiff first = 0;
    qptrdiff perColumn = 0;
    qptrdiff perRow = 0;
};

// The buffer's pixel that is seen at @p seen.
QPoint pixelInBuffer(const QPoint &seen, const QSize &buffer, OutputTransform transform)
{
    const int right = buffer.width() - 1;
    const int bottom = buffer.height() - 1;
    switch (transform) {
    case OutputTransform::Turned90:
        return {seen.y(), bottom - seen.x()};
    case OutputTransform::Turned180:
        return {right - seen.x(), bottom - seen.y()};
    case OutputTransform::Turned270:
        return {right - seen.y(), seen.x()};
    case OutputTransform::Flipped:
        return {right - seen.x(), seen.y()};
    case OutputTransform::Flipped90:
        return {seen.y(), seen.x()};
    case OutputTransform::Flipped180:
        return {seen.x(), bottom - seen.y()};
    case OutputTransform::Flipped270:
        return {right - seen.y(), bottom - seen.x()};
    case OutputTransform::Normal:
        break;
    }
    return seen;
}

OutputTransform inverse(OutputTransform transform)
{
    switch (transform) {
    case OutputTransform::Turned90:
        return OutputTransform::Turned270;
    case OutputTransform::Turned270:
        return OutputTransform::Turned90;
    default:
        return transform; // all others undo themselves
    }
}

qptrdiff offsetOf(const FramePixels &frame, const QPoint &seen, int pixelBytes)
{
    const QPoint pixel = pixelInBuffer(seen, frame.size, frame.transform);
    const int row = frame.isInverted ? frame.size.height() - 1 - pixel.y() : pixel.y();
    return qptrdiff(row) * frame.stride + qptrdiff(pixel.x()) * pixelBytes;
}

Walk walkOver(const FramePixels &frame, const QPoint &start, int pixelBytes)
{
    Walk walk;
    walk.first = offsetOf(frame, start, pixelBytes);
    walk.perColumn = offsetOf(frame, start + QPoint(1, 0), pixelBytes) - walk.first;
    walk.perRow = offsetOf(frame, start + QPoint(0, 1), pixelBytes) - walk.first;
    return walk;
}

quint32 wordAt(const unsigned char *pixel)
{
    quint32 word = 0;
    std::memcpy(&word, pixel, sizeof(word));
    return word;
}

quint32 colour(quint32 red, quint32 green, quint32 blue)
{
    return (red & 0xff) << 16 | (green & 0xff) << 8 | (blue & 0xff);
}

// Each reads one pixel of the format after which it is named, highest bits first.
struct XRgb8 {
    static constexpr int BYTES = 4;
    static quint32 read(const unsigned char *pixel) { return wordAt(pixel); }
};

struct XBgr8 {
    static constexpr int BYTES = 4;
    static quint32 read(const unsigned char *pixel)
    {
        const quint32 word = wordAt(pixel);
        return colour(word, word >> 8, word >> 16);
    }
};

struct RgbX8 {
    static constexpr int BYTES = 4;
    static quint32 read(const unsigned char *pixel) { return wordAt(pixel) >> 8; }
};

struct BgrX8 {
    static constexpr int BYTES = 4;
    static quint32 read(const unsigned char *pixel)
    {
        const quint32 word = wordAt(pixel);
        return colour(word >> 8, word >> 16, word >> 24);
    }
};

struct XRgb10 {
    static constexpr int BYTES = 4;
    static quint32 read(const unsigned char *pixel)
    {
        const quint32 word = wordAt(pixel);
        return colour(word >> 22, word >> 12, word >> 2);
    }
};

struct XBgr10 {
    static constexpr int BYTES = 4;
    static quint32 read(const unsigned char *pixel)
    {
        const quint32 word = wordAt(pixel);
        return colour(word >> 2, word >> 12, word >> 22);
    }
};

struct Rgb24 {
    static constexpr int BYTES = 3;
    static quint32 read(const unsigned char *pixel) { return colour(pixel[2], pixel[1], pixel[0]); }
};

struct Bgr24 {
    static constexpr int BYTES = 3;
    static quint32 read(const unsigned char *pixel) { return colour(pixel[0], pixel[1], pixel[2]); }
};

template <typename Format>
void copyPixels(const FramePixels &frame, const QRect &area, quint32 *target, int targetWidth)
{
    const Walk walk = walkOver(frame, area.topLeft(), Format::BYTES);
    for (int y = 0; y < area.height(); ++y) {
        const unsigned char *pixel = frame.data + walk.first + y * walk.perRow;
        quint32 *row = target + qptrdiff(y) * targetWidth;
        for (int x = 0; x < area.width(); ++x, pixel += walk.perColumn) {
            row[x] = Format::read(pixel);
        }
    }
}

struct KnownFormat {
    quint32 format;
    int pixelBytes;
    void (*copy)(const FramePixels &, const QRect &, quint32 *, int);
};

template <typename Format>
constexpr KnownFormat readAs(quint32 format)
{
    return {format, Format::BYTES, copyPixels<Format>};
}

const KnownFormat KNOWN_FORMATS[] = {
    readAs<XRgb8>(WL_SHM_FORMAT_XRGB8888),     readAs<XRgb8>(WL_SHM_FORMAT_ARGB8888),
    readAs<XBgr8>(WL_SHM_FORMAT_XBGR8888),     readAs<XBgr8>(WL_SHM_FORMAT_ABGR8888),
    readAs<RgbX8>(WL_SHM_FORMAT_RGBX8888),     readAs<RgbX8>(WL_SHM_FORMAT_RGBA8888),
    readAs<BgrX8>(WL_SHM_FORMAT_BGRX8888),     readAs<BgrX8>(WL_SHM_FORMAT_BGRA8888),
    readAs<XRgb10>(WL_SHM_FORMAT_XRGB2101010), readAs<XRgb10>(WL_SHM_FORMAT_ARGB2101010),
    readAs<XBgr10>(WL_SHM_FORMAT_XBGR2101010), readAs<XBgr10>(WL_SHM_FORMAT_ABGR2101010),
    readAs<Rgb24>(WL_SHM_FORMAT_RGB888),       readAs<Bgr24>(WL_SHM_FORMAT_BGR888),
};

const KnownFormat *find(quint32 format)
{
    const auto *found =
        std::find_if(std::begin(KNOWN_FORMATS), std::end(KNOWN_FORMATS),
                     [format](const KnownFormat &known) { return known.format == format; });
    return found == std::end(KNOWN_FORMATS) ? nullptr : found;
}
} // namespace

bool FramePixels::isPlain() const
{
    return (format == WL_SHM_FORMAT_XRGB8888 || format == WL_SHM_FORMAT_ARGB8888) &&
           stride == size.width() * int(sizeof(quint32)) && !isInverted &&
           transform == OutputTransform::Normal;
}

bool isReadable(quint32 format, const QSize &size, int stride)
{
    const KnownFormat *known = find(format);
    return known != nullptr && !size.isEmpty() &&
           qint64(size.width()) * known->pixelBytes <= stride;
}

void copyFramePixels(const FramePixels &frame, const QRect &area, quint32 *target, int targetWidth)
{
    find(frame.format)->copy(frame, area, target, targetWidth);
}

QRect seenArea(const QRect &area, const QSize &bufferSize, OutputTransform transform)
{
    const QSize seen = transformedSize(bufferSize, transform);
    const QPoint first = pixelInBuffer(area.topLeft(), seen, inverse(transform));
    const QPoint second = pixelInBuffer(area.bottomRight(), seen, inverse(transform));
    return QRect(QPoint(std::min(first.x(), second.x()), std::min(first.y(), second.y())),
                 QPoint(std::max(first.x(), second.x()), std::max(first.y(), second.y())));
}
