#pragma once
// How the pixels of a stream lie in memory, and their way into a picture. Plain values, any thread.

#include <QRect>
#include <QVector>

#include <optional>

/// Turns and mirrors as PipeWire counts them: first mirrored at the vertical axis, then turned
/// counter-clockwise. This is what was done to the upright picture to get the buffer.
enum class FrameTransform {
    None,
    Turn90,
    Turn180,
    Turn270,
    Mirror,
    Mirror90,
    Mirror180,
    Mirror270
};

/// What two frames of one stream have in common.
struct FrameLayout {
    quint32 format = 0; ///< SPA_VIDEO_FORMAT_*
    QSize bufferSize;   ///< before it is put upright
    FrameTransform transform = FrameTransform::None;

    QSize uprightSize() const;

    /// Where the area @p inBuffer is in the upright picture.
    QRect upright(const QRect &inBuffer) const;

    bool operator==(const FrameLayout &other) const
    {
        return format == other.format && bufferSize == other.bufferSize &&
               transform == other.transform;
    }
};

struct FrameMemory {
    const quint8 *pixels = nullptr; ///< the first row; aligned for 32 bit words
    int rowBytes = 0;
};

/// The formats that can be read, the cheapest first: four bytes a pixel, with or without alpha.
const QVector<quint32> &readableFormats();

/// Copies @p area of the upright picture, which lies inside of it, as 0x00RRGGBB with an undefined
/// top byte to @p target, whose rows are @p targetWidth pixels apart. Nothing for a format that is
/// not readable.
void copyUpright(const FrameLayout &layout, const FrameMemory &memory, const QRect &area,
                 quint32 *target, int targetWidth);
