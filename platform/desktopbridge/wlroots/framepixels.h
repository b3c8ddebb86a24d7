#pragma once
// From the pixels of a buffer as a compositor fills it to those of a picture: other formats, rows
// from below, outputs that are turned. Pure functions; any thread.

#include "desktopbridge/wayland/outputlayout.h"

#include <QRect>

struct FramePixels {
    const unsigned char *data = nullptr;
    QSize size; ///< of the buffer, as the hardware shows it
    int stride = 0;
    quint32 format = 0;      ///< a value of wl_shm.format
    bool isInverted = false; ///< the lowest row comes first
    OutputTransform transform = OutputTransform::Normal;

    /// Size of what the user sees.
    QSize seenSize() const { return transformedSize(size, transform); }

    /// True if the pixels are a picture's already, row after row.
    bool isPlain() const;
};

/// True for the formats that are understood (8 bits a colour in 24 or 32 bits, 10 bits in 32) if a
/// row of @p stride bytes holds its pixels.
bool isReadable(quint32 format, const QSize &size, int stride);

/// Copies @p area, in pixels as seen, to @p target, whose rows are @p targetWidth pixels apart, as
/// 0x00RRGGBB. The area must lie inside and the frame be readable.
void copyFramePixels(const FramePixels &frame, const QRect &area, quint32 *target, int targetWidth);

/// An area of the buffer as the user sees it.
QRect seenArea(const QRect &area, const QSize &bufferSize, OutputTransform transform);
