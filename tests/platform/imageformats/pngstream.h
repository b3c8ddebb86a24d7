#pragma once
// A PNG stream taken apart without Qt's or the plug-in's code: chunks, CRCs, the raw rows.

#include <QByteArray>
#include <QList>
#include <QVector>

struct PngStream {
    struct Chunk {
        QByteArray type;
        QByteArray data;
        bool crcRight = false;
    };

    /// Takes @p bytes apart; no chunks if the signature or a length is wrong.
    explicit PngStream(const QByteArray &bytes);

    /// The types in order, neighbours that are alike once.
    QList<QByteArray> types() const;

    /// The data of the first chunk of this type, of all of them for "IDAT".
    QByteArray data(const QByteArray &type) const;

    /// The uncompressed rows with their filter bytes; empty if the zlib stream is damaged or not
    /// ended.
    QByteArray rows() const;

    QVector<Chunk> chunks;
};
