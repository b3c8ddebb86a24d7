#pragma once
// Pixels in packed form (zstd, without loss), in pieces that are unpacked one by one.
// Owner: PixelPages. Never changes, so any thread.

#include <QtGlobal>

#include <cstddef>
#include <memory>
#include <optional>
#include <vector>

struct ZSTD_DCtx_s;

struct ZstdContextDeleter {
    void operator()(ZSTD_DCtx_s *context) const;
};

/// What unpacking works with. Kept, because made anew each time it would need memory just when a
/// picture is asked for.
using ZstdContext = std::unique_ptr<ZSTD_DCtx_s, ZstdContextDeleter>;

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

    /// For unpack(); null if memory is short.
    static ZstdContext unpackingContext();

    /// The piece that begins @p piece times pieceBytes behind the first pixel, into @p target,
    /// which has room for pieceBytes; what lies behind the last pixel stays. Takes no memory. False
    /// if the packed pixels are damaged.
    bool unpack(size_t piece, uchar *target, const ZstdContext &context) const;

private:
    explicit PackedPixels(size_t bytes) : m_bytes(bytes) {}
    size_t sizeOfPiece(size_t piece) const;

    size_t m_bytes;
    std::vector<std::vector<char>> m_pieces;
};
