#include "desktopbridge/kwin/rawpicture.h"

#include <QtEndian>

namespace
{
constexpr uint LONGEST_EDGE = 1U << 15; // of the textures that a screen is drawn into
constexpr uint PIXEL_BYTES = 4;

// Values of QImage::Format with four bytes a pixel. What is behind the colours is of no interest:
// a screen is opaque.
enum Format : quint32 {
    Rgb32 = 4, // words 0xAARRGGBB, as Picture wants them
    Argb32 = 5,
    Argb32Premultiplied = 6,
    Rgbx8888 = 16, // bytes in the order R, G, B, A
    Rgba8888 = 17,
    Rgba8888Premultiplied = 18
};

bool isReadable(quint32 format)
{
    return (format >= Rgb32 && format <= Argb32Premultiplied) ||
           (format >= Rgbx8888 && format <= Rgba8888Premultiplied);
}
} // namespace

std::optional<RawPicture> readDescription(const QVariantMap &results, QString &problem)
{
    if (results.value(QStringLiteral("type")).toString() != QLatin1String("raw")) {
        problem = QStringLiteral("KWin's picture does not come as raw pixels");
        return std::nullopt;
    }
    const uint width = results.value(QStringLiteral("width")).toUInt();
    const uint height = results.value(QStringLiteral("height")).toUInt();
    const uint stride = results.value(QStringLiteral("stride")).toUInt();
    const uint format = results.value(QStringLiteral("format")).toUInt();
    if (!isReadable(format)) {
        problem = QStringLiteral("KWin's picture has a format that is not served: %1").arg(format);
        return std::nullopt;
    }
    if (width == 0 || height == 0 || width > LONGEST_EDGE || height > LONGEST_EDGE ||
        stride < width * PIXEL_BYTES || stride > 2 * LONGEST_EDGE * PIXEL_BYTES ||
        stride % PIXEL_BYTES != 0) {
        problem = QStringLiteral("KWin's picture has impossible sides: %1 x %2, %3 bytes a row")
                      .arg(width)
                      .arg(height)
                      .arg(stride);
        return std::nullopt;
    }
    return RawPicture{QSize(int(width), int(height)), int(stride), format};
}

void orderColours(quint32 format, quint32 *row, int pixels)
{
    if (format < Rgbx8888) {
        return;
    }
    for (int x = 0; x < pixels; ++x) {
        row[x] = qFromBigEndian(row[x]) >> 8;
    }
}
