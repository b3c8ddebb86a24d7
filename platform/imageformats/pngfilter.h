#pragma once
// Chooses and applies PNG's row filters. Text and flat areas compress best unfiltered, since the
// same glyphs come back byte for byte; photographs and gradients best as differences. The choice
// is made for a strip of rows at a time by a count that costs a fraction of a trial. On the
// encoder's stack, one thread.

#include <QtGlobal>

class PngFilter
{
public:
    /// @p pixelBytes as PNG counts it; rows of @p rowBytes bytes.
    PngFilter(size_t rowBytes, size_t pixelBytes);

    /// Filters @p count rows that lie behind each other at @p rows; the row before them (zeros for
    /// the first of an image) lies at rows - rowBytes. @p out gets a filter byte and rowBytes
    /// bytes for each row. @p allowed false leaves every row as it is.
    void apply(const uchar *rows, int count, bool allowed, uchar *out) const;

private:
    bool isSmooth(const uchar *rows, int count) const;
    void applyBest(const uchar *row, uchar *out) const;

    size_t m_rowBytes;
    size_t m_pixelBytes;
};
