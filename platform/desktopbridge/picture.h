#pragma once
// A picture of a part of the screen. Immutable and shared: the window to the screen makes it, the
// content watch compares with it and a writer thread reads it, whoever is last frees it.

#include <QRect>

#include <memory>

struct Picture {
    QRect area; ///< in device pixels of the virtual screen; never empty

    /// Rows of area.width() pixels without a gap, 0x00RRGGBB in host byte order. The top byte is
    /// undefined: display servers leave in it whatever a client happened to draw.
    std::shared_ptr<const quint32> pixels;

    const quint32 *row(int y) const { return pixels.get() + qptrdiff(y) * area.width(); }
};

using PicturePtr = std::shared_ptr<const Picture>;
