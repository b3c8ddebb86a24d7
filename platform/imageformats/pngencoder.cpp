#include "imageformats/pngencoder.h"

#include "imageformats/deflater.h"
#include "imageformats/pngfilter.h"
#include "imageformats/pngrows.h"
#include "imageformats/pngtext.h"

#include <QColorSpace>

#include <algorithm>
#include <cmath>

namespace
{
constexpr int longestSide = 1000000; // libpng's limit, for reading as for writing
constexpr int stripRows = 64;        // rows that share one choice of filter
constexpr size_t stripBytes = 8U << 20U;
constexpr int dataChunkBytes = 64 << 10;

bool isWritable(const QImage &image, const PngRows &rows)
{
    return !image.isNull() && image.width() <= longestSide && image.height() <= longestSide &&
           (rows.colour() != PngColour::Palette || image.colorCount() > 0);
}
} // namespace

PngEncoder::PngEncoder(QIODevice *device) : m_chunks(device) {}

bool PngEncoder::encode(const QImage &image, const QString &description, float gamma)
{
    const PngRows rows(image);
    return isWritable(image, rows) && m_chunks.writeSignature() && writeHeader(image, rows) &&
           writeColourSpace(image, rows, gamma) && writePalette(image, rows) &&
           writePlacement(image) && writeTexts(image, description) && writePixels(image, rows) &&
           m_chunks.writeChunk("IEND", {});
}

bool PngEncoder::writeHeader(const QImage &image, const PngRows &rows)
{
    QByteArray header = pngNumber(static_cast<quint32>(image.width())) +
                        pngNumber(static_cast<quint32>(image.height()));
    header.append(static_cast<char>(rows.bitDepth()));
    header.append(static_cast<char>(rows.colour()));
    header.append(QByteArray(3, '\0')); // deflate, the five filters, not interlaced
    return m_chunks.writeChunk("IHDR", header);
}

bool PngEncoder::writeColourSpace(const QImage &image, const PngRows &rows, float gamma)
{
    QColorSpace space = image.colorSpace();
    if (!space.isValid()) {
        if (gamma == 0.0F) {
            return true;
        }
        return m_chunks.writeChunk("gAMA",
                                   pngNumber(static_cast<quint32>(std::lround(1e5 / gamma))));
    }
    if (rows.colour() == PngColour::Gray) {
        return true; // Qt's profiles are of RGB, which PNG forbids in gray images
    }
    if (gamma != 0.0F && !qFuzzyCompare(space.gamma(), 1.0F / gamma)) {
        space = space.withTransferFunction(QColorSpace::TransferFunction::Gamma, 1.0F / gamma);
    }
    constexpr int lengthPrefix = 4; // qCompress puts the length before the zlib stream
    return m_chunks.writeChunk("iCCP", QByteArrayLiteral("Custom\0\0") +
                                           qCompress(space.iccProfile()).mid(lengthPrefix));
}

bool PngEncoder::writePalette(const QImage &image, const PngRows &rows)
{
    if (rows.colour() != PngColour::Palette) {
        return true;
    }
    QByteArray colours;
    QByteArray alphas;
    int translucent = 0; // how many colours up to the last that is not opaque
    const int count = std::min(image.colorCount(), 1 << rows.bitDepth());
    for (int index = 0; index < count; ++index) {
        const QRgb colour = image.color(index);
        colours.append(static_cast<char>(qRed(colour)));
        colours.append(static_cast<char>(qGreen(colour)));
        colours.append(static_cast<char>(qBlue(colour)));
        alphas.append(static_cast<char>(qAlpha(colour)));
        if (qAlpha(colour) < 255) {
            translucent = index + 1;
        }
    }
    return m_chunks.writeChunk("PLTE", colours) &&
           (translucent == 0 || m_chunks.writeChunk("tRNS", alphas.left(translucent)));
}

bool PngEncoder::writePlacement(const QImage &image)
{
    const QPoint offset = image.offset();
    if (!offset.isNull() &&
        !m_chunks.writeChunk("oFFs", pngNumber(static_cast<quint32>(offset.x())) +
                                         pngNumber(static_cast<quint32>(offset.y())) + '\0')) {
        return false;
    }
    if (image.dotsPerMeterX() <= 0 && image.dotsPerMeterY() <= 0) {
        return true;
    }
    return m_chunks.writeChunk("pHYs", pngNumber(static_cast<quint32>(image.dotsPerMeterX())) +
                                           pngNumber(static_cast<quint32>(image.dotsPerMeterY())) +
                                           '\1');
}

bool PngEncoder::writeTexts(const QImage &image, const QString &description)
{
    const QMap<QString, QString> texts = pngTexts(image, description);
    for (auto text = texts.begin(); text != texts.end(); ++text) {
        const PngTextChunk chunk = pngTextChunk(text.key(), text.value());
        if (chunk.type && !m_chunks.writeChunk(chunk.type, chunk.data)) {
            return false;
        }
    }
    return true;
}

bool PngEncoder::writePixels(const QImage &image, const PngRows &rows)
{
    const size_t rowBytes = rows.rowBytes();
    const int strip = static_cast<int>(
        std::clamp(stripBytes / rowBytes, size_t{1}, static_cast<size_t>(stripRows)));
    // The row above the strip stays in front of it, as the filters need it.
    std::vector<uchar> packed(rowBytes * static_cast<size_t>(strip + 1));
    std::vector<uchar> filtered((rowBytes + 1) * static_cast<size_t>(strip));
    PngFilter filter(rowBytes, rows.pixelBytes());
    Deflater deflater(dataChunkBytes, [this](const QByteArray &piece) {
        return m_chunks.writeChunk("IDAT", piece);
    });
    const bool filterable = rows.bitDepth() >= 8 && rows.colour() != PngColour::Palette;
    for (int y = 0; y < image.height(); y += strip) {
        const int count = std::min(strip, image.height() - y);
        rows.pack(y, count, packed.data() + rowBytes);
        filter.apply(packed.data() + rowBytes, count, filterable, filtered.data());
        const auto size = static_cast<quint32>((rowBytes + 1) * static_cast<size_t>(count));
        if (!deflater.write(filtered.data(), size, y + count == image.height())) {
            return false;
        }
        std::copy_n(packed.data() + rowBytes * static_cast<size_t>(count), rowBytes, packed.data());
    }
    return true;
}
