#pragma once
// How sway's socket, and i3's, frames what goes over it, both ways: a magic word, the payload's
// length and the message's type in the machine's byte order, the payload. Any thread.

#include <QByteArray>

#include <optional>

namespace SwayMessage
{
constexpr quint32 RUN_COMMAND = 0;
constexpr quint32 GET_TREE = 4;

constexpr int HEADER_SIZE = 6 + 4 + 4;

/// A tree of thousands of windows is shorter; more is no answer of sway's. Bytes.
constexpr quint32 LONGEST = 16 << 20;

QByteArray encode(quint32 type, const QByteArray &payload = {});

/// Length in bytes of the payload that follows @p header, the first HEADER_SIZE bytes of a message;
/// nothing if those are too few, begin with another word or tell more than LONGEST.
std::optional<int> payloadLength(const QByteArray &header);
} // namespace SwayMessage
