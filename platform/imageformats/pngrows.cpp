#include "imageformats/pngrows.h"

#include <QtEndian>

#include <algorithm>
#include <cstring>

#ifdef __x86_64__
#include <immintrin.h>
#endif

namespace
{
void packRgb32Plain(const QRgb *pixels, int width, uchar *out)
{
    for (int x = 0; x < width; ++x) {
        out[0] = static_cast<uchar>(qRed(pixels[x]));
        out[1] = static_cast<uchar>(qGreen(pixels[x]));
        out[2] = static_cast<uchar>(qBlue(pixels[x]));
        out += 3;
    }
}

#ifdef __x86_64__
__attribute__((target("ssse3"))) void packRgb32Ssse3(const QRgb *pixels, int width, uchar *out)
{
    const __m128i order = _mm_setr_epi8(2, 1, 0, 6, 5, 4, 10, 9, 8, 14, 13, 12, -1, -1, -1, -1);
    int x = 0;
    // Each store is 16 bytes for 12, so the last pixels of a row are left to the plain loop.
    for (; x + 8 <= width; x += 4) {
        const __m128i four = _mm_loadu_si128(reinterpret_cast<const __m128i *>(pixels + x));
        _mm_storeu_si128(reinterpret_cast<__m128i *>(out + 3 * static_cast<ptrdiff_t>(x)),
                         _mm_shuffle_epi8(four, order));
    }
    packRgb32Plain(pixels + x, width - x, out + 3 * static_cast<ptrdiff_t>(x));
}
#endif

void packRgb32(const QRgb *pixels, int width, uchar *out)
{
#ifdef __x86_64__
    if (__builtin_cpu_supports("ssse3")) {
        packRgb32Ssse3(pixels, width, out);
        return;
    }
#endif
    packRgb32Plain(pixels, width, out);
}

// Not left to QImage: Qt 5.15 writes beyond the end of the result when it converts between the two
// one-bit formats and the rows have more padding than its own.
void packMonoLsb(const uchar *row, size_t size, uchar *out)
{
    for (size_t i = 0; i < size; ++i) {
        unsigned bits = row[i];
        bits = (bits >> 4 & 0x0fU) | (bits << 4 & 0xf0U);
        bits = (bits >> 2 & 0x33U) | (bits << 2 & 0xccU);
        out[i] = static_cast<uchar>((bits >> 1 & 0x55U) | (bits << 1 & 0xaaU));
    }
}

void packRgbx64(const uchar *row, int width, uchar *out)
{
    constexpr int stored = 3 * sizeof(quint16);
    for (int x = 0; x < width; ++x) {
        qToBigEndian<quint16>(row + static_cast<ptrdiff_t>(x) * 8, 3, out);
        out += stored;
    }
}
} // namespace

PngRows::PngRows(const QImage &image) : m_image(image)
{
    switch (image.format()) {
    case QImage::Format_Mono:
    case QImage::Format_MonoLSB:
        m_colour = PngColour::Palette;
        m_bitDepth = 1;
        break;
    case QImage::Format_Indexed8:
        m_colour = image.isGrayscale() ? PngColour::Gray : PngColour::Palette;
        break;
    case QImage::Format_Grayscale8:
        m_colour = PngColour::Gray;
        break;
    case QImage::Format_Grayscale16:
        m_colour = PngColour::Gray;
        m_bitDepth = 16;
        break;
    case QImage::Format_RGBX64:
        m_bitDepth = 16;
        break;
    case QImage::Format_RGBA64:
    case QImage::Format_RGBA64_Premultiplied:
        m_colour = PngColour::Rgba;
        m_bitDepth = 16;
        break;
    default:
        m_colour = image.hasAlphaChannel() ? PngColour::Rgba : PngColour::Rgb;
        break;
    }
}

size_t PngRows::pixelBytes() const
{
    const size_t samples = m_colour == PngColour::Rgba ? 4 : (m_colour == PngColour::Rgb ? 3 : 1);
    return samples * static_cast<size_t>(m_bitDepth == 16 ? 2 : 1);
}

size_t PngRows::rowBytes() const
{
    const auto width = static_cast<size_t>(m_image.width());
    return m_bitDepth == 1 ? (width + 7) / 8 : width * pixelBytes();
}

QImage PngRows::converted(int first, int count) const
{
    QImage rows(m_image.constScanLine(first), m_image.width(), count, m_image.bytesPerLine(),
                m_image.format());
    switch (rows.format()) {
    case QImage::Format_Mono:
    case QImage::Format_MonoLSB:
    case QImage::Format_Indexed8:
    case QImage::Format_RGB32:
    case QImage::Format_RGB888:
    case QImage::Format_RGBA8888:
    case QImage::Format_Grayscale8:
    case QImage::Format_Grayscale16:
    case QImage::Format_RGBX64:
    case QImage::Format_RGBA64:
        return rows;
    case QImage::Format_RGBA64_Premultiplied:
        return rows.convertToFormat(QImage::Format_RGBA64);
    case QImage::Format_BGR888:
        return rows.convertToFormat(QImage::Format_RGB888);
    default:
        break;
    }
    if (m_colour == PngColour::Rgb) {
        return rows.convertToFormat(QImage::Format_RGB32);
    }
    // By way of ARGB32 as Qt's writer goes: the division by alpha must round as there.
    return rows.convertToFormat(QImage::Format_ARGB32).convertToFormat(QImage::Format_RGBA8888);
}

int PngRows::rowsAtOnce() const
{
    // From this many bytes on QImage spreads a conversion over a thread pool, which costs the
    // recorder more than it gains.
    constexpr int threaded = 128 << 10;
    const int rowSize = std::max(m_image.bytesPerLine(), m_image.width() * 4);
    return std::max(1, (threaded - 1) / rowSize);
}

void PngRows::pack(int first, int count, uchar *out) const
{
    const int step = rowsAtOnce();
    for (int done = 0; done < count; done += step) {
        const QImage rows = converted(first + done, std::min(step, count - done));
        for (int y = 0; y < rows.height(); ++y) {
            packRow(rows, y, out);
            out += rowBytes();
        }
    }
}

void PngRows::packRow(const QImage &rows, int y, uchar *out) const
{
    const uchar *row = rows.constScanLine(y);
    switch (rows.format()) {
    case QImage::Format_RGB32:
        packRgb32(reinterpret_cast<const QRgb *>(row), rows.width(), out);
        break;
    case QImage::Format_MonoLSB:
        packMonoLsb(row, rowBytes(), out);
        break;
    case QImage::Format_RGBX64:
        packRgbx64(row, rows.width(), out);
        break;
    case QImage::Format_RGBA64:
    case QImage::Format_Grayscale16:
        qToBigEndian<quint16>(row, static_cast<qsizetype>(rowBytes() / 2), out);
        break;
    default:
        std::memcpy(out, row, rowBytes());
        break;
    }
}
