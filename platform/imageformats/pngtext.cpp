#include "imageformats/pngtext.h"

#include <QStringList>

#include <algorithm>

namespace
{
constexpr int longestKey = 79;

QByteArray cleanedKey(const QString &key)
{
    QByteArray bytes = key.toLatin1();
    for (char &byte : bytes) {
        const auto code = static_cast<uchar>(byte);
        if (code < 0x20 || (code > 0x7e && code < 0xa1)) {
            byte = ' ';
        }
    }
    return bytes.simplified().left(longestKey).trimmed();
}

bool fitsLatin1(const QString &value)
{
    return std::all_of(value.begin(), value.end(), [](QChar character) {
        const ushort code = character.unicode();
        return code == '\n' || (code >= 0x20 && code <= 0x7e) || (code >= 0xa0 && code <= 0xff);
    });
}
} // namespace

QMap<QString, QString> pngTexts(const QImage &image, const QString &description)
{
    QMap<QString, QString> texts;
    const QStringList paragraphs = description.split(QStringLiteral("\n\n"));
    for (const QString &paragraph : paragraphs) {
        const int colon = paragraph.indexOf(QLatin1Char(':'));
        const int space = paragraph.indexOf(QLatin1Char(' '));
        const bool keyed = colon >= 0 && space > colon;
        const QString key = keyed ? paragraph.left(colon) : QStringLiteral("Description");
        const QString value = (keyed ? paragraph.mid(colon + 1) : paragraph).simplified();
        if (!key.simplified().isEmpty() && (keyed || !value.isEmpty())) {
            texts.insert(key, value);
        }
    }
    const QStringList keys = image.textKeys();
    for (const QString &key : keys) {
        if (!texts.contains(key)) {
            texts.insert(key, image.text(key));
        }
    }
    return texts;
}

PngTextChunk pngTextChunk(const QString &key, const QString &value)
{
    const QByteArray cleaned = cleanedKey(key);
    if (cleaned.isEmpty()) {
        return {nullptr, {}};
    }
    if (fitsLatin1(value)) {
        return {"tEXt", cleaned + '\0' + value.toLatin1()};
    }
    // Behind the key: not compressed (two bytes), no language tag, no translated key. The text
    // ends at its first zero, which PNG has no way to hold.
    const QString held = value.section(QChar(u'\0'), 0, 0);
    return {"iTXt", cleaned + QByteArray(5, '\0') + held.toUtf8()};
}
