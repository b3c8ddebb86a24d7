#pragma once
// Text keys of an image as PNG text chunks. Free functions, any thread.

#include <QByteArray>
#include <QImage>
#include <QMap>
#include <QString>

/// The texts that are written for @p image: those of @p description, which is QImageWriter's
/// "Key: value" paragraphs, and those of the image whose key is not among them. A paragraph
/// that does not begin with a word, a colon and a space becomes "Description".
QMap<QString, QString> pngTexts(const QImage &image, const QString &description);

struct PngTextChunk {
    const char *type; ///< "tEXt" or "iTXt"; null when the key is none that PNG allows
    QByteArray data;
};

/// The chunk for one text: Latin-1 where that holds it, else UTF-8. Never compressed, since the
/// keys of pictures are short. The key is cut and cleaned as PNG's rules ask: Latin-1, 1 to 79
/// bytes, printable, no space at either end and none doubled.
PngTextChunk pngTextChunk(const QString &key, const QString &value);
