#pragma once
// Areas as another program tells them, whose numbers may be anything. Plain values, any thread.

#include <QRect>

#include <algorithm>

struct PeerArea {
    qint64 x = 0;
    qint64 y = 0;
    qint64 width = 0;
    qint64 height = 0;

    /// What of it lies in (0, 0) to @p whole; empty if nothing does. Reckoned in 64 bits, for the
    /// right edge of an area may lie beyond an int.
    QRect within(const QSize &whole) const
    {
        if (whole.isEmpty()) {
            return {};
        }
        const qint64 left = std::clamp<qint64>(x, 0, whole.width());
        const qint64 top = std::clamp<qint64>(y, 0, whole.height());
        const qint64 right = std::clamp<qint64>(x + width, 0, whole.width());
        const qint64 bottom = std::clamp<qint64>(y + height, 0, whole.height());
        return right > left && bottom > top
                   ? QRect(int(left), int(top), int(right - left), int(bottom - top))
                   : QRect();
    }
};
