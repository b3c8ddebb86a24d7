#pragma once
// How KWin describes the bytes of a screenshot, and their way into a picture. Pure functions; any
// thread.

#include <QSize>
#include <QString>
#include <QVariantMap>

#include <optional>

struct RawPicture {
    QSize size;         ///< in device pixels
    int rowBytes = 0;   ///< from one row to the next; whole pixels, at least those of a row
    quint32 format = 0; ///< a value of QImage::Format that isReadable() knows

    qint64 bytes() const { return qint64(rowBytes) * size.height(); }
};

/// What KWin's answer says of the bytes in the pipe. None, with the reason in @p problem, if it is
/// no such answer, describes pixels that cannot be read, or more of them than a screen has.
std::optional<RawPicture> readDescription(const QVariantMap &results, QString &problem);

/// Puts a row of @p pixels words as they lie in the pipe into the order of Picture, in place.
void orderColours(quint32 format, quint32 *row, int pixels);
