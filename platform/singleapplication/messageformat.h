#pragma once
// What travels over the instance socket: from the second start the mark, the length of the text
// (32 bits, big endian) and the text in UTF-8; from the first one byte back once it has all of it.

#include <QByteArray>
#include <QtEndian>

namespace MessageFormat
{
inline const QByteArray MARK = QByteArrayLiteral("YMI1");
constexpr int HEADER_SIZE = 4 + static_cast<int>(sizeof(quint32));
constexpr char RECEIVED = '\x06'; // ASCII's acknowledge

/// Longest text in bytes. A message is a command-line argument or a path; this is far beyond both.
constexpr int TEXT_LIMIT = 1024 * 1024;

inline QByteArray header(int textSize)
{
    QByteArray length(static_cast<int>(sizeof(quint32)), Qt::Uninitialized);
    qToBigEndian<quint32>(static_cast<quint32>(textSize), length.data());
    return MARK + length;
}

/// The length that a whole header announces.
inline quint32 textSize(const QByteArray &header)
{
    return qFromBigEndian<quint32>(header.constData() + MARK.size());
}
} // namespace MessageFormat
