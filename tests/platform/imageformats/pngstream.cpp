#include "pngstream.h"

#include <QtEndian>

#include <zlib.h>

PngStream::PngStream(const QByteArray &bytes)
{
    const QByteArray signature("\x89PNG\r\n\x1a\n");
    if (!bytes.startsWith(signature)) {
        return;
    }
    constexpr int around = 12; // length, type and CRC
    int at = signature.size();
    while (at + around <= bytes.size()) {
        const auto length = static_cast<int>(qFromBigEndian<quint32>(bytes.constData() + at));
        if (length < 0 || at + around + length > bytes.size()) {
            break;
        }
        const QByteArray checked = bytes.mid(at + 4, length + 4);
        const uLong crc = crc32(0, reinterpret_cast<const Bytef *>(checked.constData()),
                                static_cast<uInt>(checked.size()));
        const auto stored = qFromBigEndian<quint32>(bytes.constData() + at + 8 + length);
        chunks.append({checked.left(4), checked.mid(4), crc == stored});
        at += around + length;
    }
    if (at != bytes.size()) {
        chunks.clear();
    }
}

QList<QByteArray> PngStream::types() const
{
    QList<QByteArray> types;
    for (const Chunk &chunk : chunks) {
        if (types.isEmpty() || types.last() != chunk.type) {
            types.append(chunk.type);
        }
    }
    return types;
}

QByteArray PngStream::data(const QByteArray &type) const
{
    QByteArray data;
    for (const Chunk &chunk : chunks) {
        if (chunk.type == type) {
            data += chunk.data;
            if (type != "IDAT") {
                break;
            }
        }
    }
    return data;
}

QByteArray PngStream::rows() const
{
    const QByteArray compressed = data("IDAT");
    QByteArray rows;
    z_stream stream{};
    stream.next_in = reinterpret_cast<Bytef *>(const_cast<char *>(compressed.constData()));
    stream.avail_in = static_cast<uInt>(compressed.size());
    inflateInit(&stream);
    int result = Z_OK;
    while (result == Z_OK) {
        QByteArray piece(1 << 16, Qt::Uninitialized);
        stream.next_out = reinterpret_cast<Bytef *>(piece.data());
        stream.avail_out = static_cast<uInt>(piece.size());
        result = inflate(&stream, Z_NO_FLUSH);
        rows += piece.left(piece.size() - static_cast<int>(stream.avail_out));
    }
    const bool whole = result == Z_STREAM_END && stream.avail_in == 0;
    inflateEnd(&stream);
    return whole ? rows : QByteArray();
}
