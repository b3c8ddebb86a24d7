#pragma once
// Pixels in packed form (zstd, without loss), in pieces that are unpacked one by one.
// Owner: PixelPages. Never changes, so any thread.

#include <QtGlobal>

#include <cstddef>
#include <optional>
#include <vector>

class PackedPixels
{
public:
    /// Smaller pieces take more room (a quarter more with 256 KiB than with 1 MiB, a twentieth less
    /// with the whole picture), larger ones more memory while they are looked at.
    static constexpr size_t pieceBytes = size_t{2} << 20U;

    /// Nothing if memory is short. 3.7 ms for a screen of 1920x1080.
    static std::optional<PackedPixels> of(const uchar *pixels, size_t bytes);

    /// Of the unpacked pixels.
    size_t bytes() const { return m_bytes; }
    size_t packedBytes() const;

    /// The piece that begins @p piece times pieceBytes behind the first pixel, into @p target,
    /// which has room for pieceBytes; what lies behind the last pixel stays. False if memory is
    /// short.
    bool unpack(size_t piece, uchar *target) const;

private:
    explicit PackedPixels(size_t bytes) : m_bytes(bytes) {}
    size_t sizeOfPiece(size_t piece) const;

    size_t m_bytes;
    std::vector<std::vector<char>> m_pieces;
};
