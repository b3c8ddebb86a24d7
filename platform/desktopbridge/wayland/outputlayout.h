#pragma once
// Where the outputs of a Wayland session lie in device pixels. Pure functions; any thread.
//
// Compositors lay outputs out in logical units, and each output has its own number of device pixels
// for such a unit. The bridge speaks of device pixels of one virtual screen: every output keeps all
// of its own pixels, unscaled, and lies at its logical place times the largest scale of all
// outputs. So outputs never overlap unless they do so logically, and with one scale for all nothing
// lies between neighbours. With mixed scales there are gaps behind the outputs of smaller scale:
// they belong to no output and are black in a picture of the whole virtual screen.

#include <QPoint>
#include <QRect>
#include <QSize>
#include <QVector>

/// How an output's picture is turned before it is shown: the values of wl_output.transform.
enum class OutputTransform {
    Normal,
    Turned90, ///< counter-clockwise
    Turned180,
    Turned270,
    Flipped, ///< mirrored at the vertical axis, then turned
    Flipped90,
    Flipped180,
    Flipped270
};

struct OutputGeometry {
    QRect logical;      ///< in the compositor's units
    QSize devicePixels; ///< as seen: the mode with its sides exchanged if turned by 90 or 270

    /// Device pixels for a logical unit; 1 for an output without a size.
    double scale() const;

    bool operator==(const OutputGeometry &other) const
    {
        return logical == other.logical && devicePixels == other.devicePixels;
    }
};

/// @p size with its sides exchanged if @p transform turns by 90 or 270 degrees.
QSize transformedSize(const QSize &size, OutputTransform transform);

/// Where each output lies on the virtual screen, in device pixels and in the order given. The top
/// left corner of all is at (0, 0): compositors may use negative places.
QVector<QRect> layOutOutputs(const QVector<OutputGeometry> &outputs);

/// What @p screens span together.
QRect spannedBy(const QVector<QRect> &screens);

/// Edge of a comparison tile in device pixels: 16 times @p scale, rounded, at least 16.
int tileEdgeForScale(double scale);
