#pragma once
// A picture of a screen as an image that can be compared. Any thread.

#include "desktopbridge/picture.h"

#include <QImage>

/// The pixels without what lies in their top bytes; null for no picture.
inline QImage imageOf(const PicturePtr &picture)
{
    if (!picture) {
        return {};
    }
    QImage image(picture->area.size(), QImage::Format_RGB32);
    for (int y = 0; y < image.height(); ++y) {
        auto *row = reinterpret_cast<quint32 *>(image.scanLine(y));
        for (int x = 0; x < image.width(); ++x) {
            row[x] = 0xff000000 | picture->row(y)[x];
        }
    }
    return image;
}
