#include "desktopbridge/pipewire/videoframe.h"

#include <QtEndian>

#include <cstring>
#include <spa/param/video/raw.h>

namespace
{
// Places of the colours in the four bytes of a pixel.
struct ByteOrder {
    quint32 format;
    int red, green, blue;
};

constexpr ByteOrder BYTE_ORDERS[] = {
    {SPA_VIDEO_FORMAT_BGRx, 2, 1, 0}, {SPA_VIDEO_FORMAT_BGRA, 2, 1, 0},
    {SPA_VIDEO_FORMAT_RGBx, 0, 1, 2}, {SPA_VIDEO_FORMAT_RGBA, 0, 1, 2},
    {SPA_VIDEO_FORMAT_xRGB, 1, 2, 3}, {SPA_VIDEO_FORMAT_ARGB, 1, 2, 3},
    {SPA_VIDEO_FORMAT_xBGR, 3, 2, 1}, {SPA_VIDEO_FORMAT_ABGR, 3, 2, 1}};

// The same as shifts of a word in this machine's byte order.
struct Shifts {
    int red, green, blue;

    bool areOurs() const { return red == 16 && green == 8 && blue == 0; }
    quint32 read(quint32 word) const
    {
        return (word >> red & 0xff) << 16 | (word >> green & 0xff) << 8 | (word >> blue & 0xff);
    }
};

int shiftOf(int byte)
{
    return Q_BYTE_ORDER == Q_LITTLE_ENDIAN ? byte * 8 : 24 - byte * 8;
}

std::optional<Shifts> shiftsOf(quint32 format)
{
    for (const ByteOrder &order : BYTE_ORDERS) {
        if (order.format == format) {
            return Shifts{shiftOf(order.red), shiftOf(order.green), shiftOf(order.blue)};
        }
    }
    return std::nullopt;
}

bool isMirrored(FrameTransform transform)
{
    return transform >= FrameTransform::Mirror;
}

int quarterTurns(FrameTransform transform)
{
    return int(transform) % 4;
}

bool isOnItsSide(FrameTransform transform)
{
    return quarterTurns(transform) % 2 == 1;
}

// Where a point of the upright picture of @p size lies in the buffer.
QPoint toBuffer(FrameTransform transform, QSize size, QPoint point)
{
    if (isMirrored(transform)) {
        point.setX(size.width() - 1 - point.x());
    }
    for (int turn = quarterTurns(transform); turn > 0; --turn) {
        point = QPoint(point.y(), size.width() - 1 - point.x());
        size.transpose();
    }
    return point;
}

// And back.
QPoint toUpright(FrameTransform transform, QSize bufferSize, QPoint point)
{
    QSize size = bufferSize;
    for (int turn = quarterTurns(transform); turn > 0; --turn) {
        size.transpose();
        point = QPoint(size.width() - 1 - point.y(), point.x());
    }
    if (isMirrored(transform)) {
        point.setX(size.width() - 1 - point.x());
    }
    return point;
}

void copyRow(const quint32 *source, const Shifts &shifts, quint32 *target, int count)
{
    if (shifts.areOurs()) {
        std::memcpy(target, source, size_t(count) * sizeof(quint32));
        return;
    }
    for (int x = 0; x < count; ++x) {
        target[x] = shifts.read(source[x]);
    }
}
} // namespace

QSize FrameLayout::uprightSize() const
{
    return isOnItsSide(transform) ? bufferSize.transposed() : bufferSize;
}

QRect FrameLayout::upright(const QRect &inBuffer) const
{
    const QPoint first = toUpright(transform, bufferSize, inBuffer.topLeft());
    const QPoint last = toUpright(transform, bufferSize, inBuffer.bottomRight());
    return QRect(first, QSize(1, 1)).united(QRect(last, QSize(1, 1)));
}

const QVector<quint32> &readableFormats()
{
    static const QVector<quint32> formats = [] {
        QVector<quint32> all;
        for (const ByteOrder &order : BYTE_ORDERS) {
            all.append(order.format);
        }
        return all;
    }();
    return formats;
}

void copyUpright(const FrameLayout &layout, const FrameMemory &memory, const QRect &area,
                 quint32 *target, int targetWidth)
{
    const std::optional<Shifts> shifts = shiftsOf(layout.format);
    if (!shifts) {
        return;
    }
    const auto pixel = [&memory](QPoint point) {
        return reinterpret_cast<const quint32 *>(memory.pixels +
                                                 qptrdiff(point.y()) * memory.rowBytes) +
               point.x();
    };
    for (int y = 0; y < area.height(); ++y) {
        quint32 *row = target + qptrdiff(y) * targetWidth;
        const QPoint start(area.left(), area.top() + y);
        if (layout.transform == FrameTransform::None) {
            copyRow(pixel(start), *shifts, row, area.width());
            continue;
        }
        const QSize size = layout.uprightSize();
        const QPoint first = toBuffer(layout.transform, size, start);
        const QPoint step = toBuffer(layout.transform, size, start + QPoint(1, 0)) - first;
        for (int x = 0; x < area.width(); ++x) {
            row[x] = shifts->read(*pixel(first + x * step));
        }
    }
}
