#include "imageformats/pngchunkwriter.h"

#include <QtEndian>

#include <isa-l/crc.h>

namespace
{
constexpr int typeLength = 4;
}

QByteArray pngNumber(quint32 value)
{
    QByteArray bytes(sizeof(value), Qt::Uninitialized);
    qToBigEndian(value, bytes.data());
    return bytes;
}

PngChunkWriter::PngChunkWriter(QIODevice *device) : m_device(device) {}

bool PngChunkWriter::writeSignature()
{
    return writeAll(QByteArrayLiteral("\x89PNG\r\n\x1a\n"));
}

bool PngChunkWriter::writeChunk(const char *type, const QByteArray &data)
{
    QByteArray chunk = pngNumber(static_cast<quint32>(data.size()));
    const int checkedFrom = chunk.size();
    chunk.reserve(checkedFrom + typeLength + data.size() + static_cast<int>(sizeof(quint32)));
    chunk.append(type, typeLength);
    chunk.append(data);
    const auto *checked = reinterpret_cast<const uchar *>(chunk.constData()) + checkedFrom;
    chunk.append(
        pngNumber(crc32_gzip_refl(0, checked, static_cast<quint64>(chunk.size() - checkedFrom))));
    return writeAll(chunk);
}

bool PngChunkWriter::writeAll(const QByteArray &bytes)
{
    return m_device && m_device->write(bytes) == bytes.size();
}
