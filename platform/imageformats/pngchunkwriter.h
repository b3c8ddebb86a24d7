#pragma once
// Writes the signature and the chunks of a PNG stream, each with length and CRC. On the stack of
// the encoder, one thread.

#include <QByteArray>
#include <QIODevice>

class PngChunkWriter
{
public:
    /// @p device stays the caller's and must be open for writing; null makes every write fail.
    explicit PngChunkWriter(QIODevice *device);

    /// The eight bytes that every PNG file begins with. False if the device did not take them all.
    bool writeSignature();

    /// One chunk with the four-letter @p type. False if the device did not take all of it.
    bool writeChunk(const char *type, const QByteArray &data);

private:
    bool writeAll(const QByteArray &bytes);

    QIODevice *m_device;
};

/// The four bytes of @p value, most significant first, as all numbers in PNG.
QByteArray pngNumber(quint32 value);
