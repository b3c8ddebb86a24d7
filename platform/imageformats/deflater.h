#pragma once
// One zlib stream, compressed by igzip. On the heap of the encoder, one thread.

#include <QByteArray>

#include <isa-l/igzip_lib.h>

#include <functional>
#include <memory>
#include <vector>

class Deflater
{
public:
    /// Takes a piece of the compressed stream; false ends the compression.
    using Sink = std::function<bool(const QByteArray &)>;

    /// @p sink gets pieces of @p pieceSize bytes, the last one shorter.
    Deflater(int pieceSize, Sink sink);

    /// Compresses @p size bytes at @p data; @p last ends the stream. False when the sink refused
    /// a piece.
    bool write(const uchar *data, quint32 size, bool last);

private:
    void startPiece();

    Sink m_sink;
    QByteArray m_piece;
    std::vector<uchar> m_levelBuffer;
    std::unique_ptr<isal_zstream> m_stream; ///< about 100 kB: not for a stack
};
