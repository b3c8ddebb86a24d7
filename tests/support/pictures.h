#pragma once
// Pictures to record: each bears a number that survives the encoder, and no two look alike to the
// similarity gate. Any thread.

#include <QImage>

namespace Pictures
{
/// Picture number @p number (0 to 65535) in Format_RGB32: the number as a row of black and white
/// fields on top, below it shapes that differ from number to number.
QImage numbered(int number, const QSize &size = QSize(320, 240));

/// The number in a picture of @ref numbered, also after lossy coding or scaling.
int numberOf(const QImage &image);
} // namespace Pictures
