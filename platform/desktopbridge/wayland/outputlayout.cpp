#include "desktopbridge/wayland/outputlayout.h"

#include <QtMath>

#include <algorithm>

namespace
{
constexpr int TILE_PIXELS = 16;
} // namespace

// A fractional scale makes a logical size that is rounded, so the two sides may differ a little;
// the larger one keeps neighbours apart.
double OutputGeometry::scale() const
{
    if (logical.isEmpty() || devicePixels.isEmpty()) {
        return 1.0;
    }
    return std::max(double(devicePixels.width()) / logical.width(),
                    double(devicePixels.height()) / logical.height());
}

QSize transformedSize(const QSize &size, OutputTransform transform)
{
    switch (transform) {
    case OutputTransform::Turned90:
    case OutputTransform::Turned270:
    case OutputTransform::Flipped90:
    case OutputTransform::Flipped270:
        return size.transposed();
    default:
        return size;
    }
}

QVector<QRect> layOutOutputs(const QVector<OutputGeometry> &outputs)
{
    double scale = 0.0;
    QRect logical;
    for (const OutputGeometry &output : outputs) {
        scale = std::max(scale, output.scale());
        logical = logical.united(output.logical);
    }
    QVector<QRect> screens;
    screens.reserve(outputs.size());
    for (const OutputGeometry &output : outputs) {
        const QPointF place = QPointF(output.logical.topLeft() - logical.topLeft()) * scale;
        screens.append(QRect(place.toPoint(), output.devicePixels));
    }
    return screens;
}

QRect spannedBy(const QVector<QRect> &screens)
{
    QRect all;
    for (const QRect &screen : screens) {
        all = all.united(screen);
    }
    return all;
}

int tileEdgeForScale(double scale)
{
    return std::max(TILE_PIXELS, qRound(TILE_PIXELS * scale));
}
