#pragma once
// The rows of a QImage of any format as PNG stores them: which kind of PNG it becomes, and the
// packed bytes, a few rows at a time. The conversions are those of Qt's own writer, so that
// reading back gives the same pixels and the same format. On the encoder's stack, one thread.

#include <QImage>

enum class PngColour : quint8 { Gray = 0, Rgb = 2, Palette = 3, Rgba = 6 };

class PngRows
{
public:
    /// @p image must outlive this object. An image with an alpha channel stays one, whatever its
    /// values.
    explicit PngRows(const QImage &image);

    PngColour colour() const { return m_colour; }
    int bitDepth() const { return m_bitDepth; }

    /// Bytes from one sample to the same sample of the next pixel; 1 below eight bits.
    size_t pixelBytes() const;
    size_t rowBytes() const;

    /// Writes @p count rows from row @p first on to @p out, which has room for count * rowBytes().
    void pack(int first, int count, uchar *out) const;

private:
    int rowsAtOnce() const;
    QImage converted(int first, int count) const;
    void packRow(const QImage &rows, int y, uchar *out) const;

    const QImage &m_image;
    PngColour m_colour = PngColour::Rgb;
    int m_bitDepth = 8;
};
