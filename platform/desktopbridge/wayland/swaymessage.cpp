#include "desktopbridge/wayland/swaymessage.h"

#include <cstring>

namespace
{
const QByteArray MAGIC = QByteArrayLiteral("i3-ipc");
} // namespace

QByteArray SwayMessage::encode(quint32 type, const QByteArray &payload)
{
    const quint32 numbers[] = {quint32(payload.size()), type};
    return MAGIC + QByteArray(reinterpret_cast<const char *>(numbers), sizeof(numbers)) + payload;
}

std::optional<int> SwayMessage::payloadLength(const QByteArray &header)
{
    if (header.size() < HEADER_SIZE || !header.startsWith(MAGIC)) {
        return std::nullopt;
    }
    quint32 length = 0;
    std::memcpy(&length, header.constData() + MAGIC.size(), sizeof(length));
    return length <= LONGEST ? std::optional<int>(int(length)) : std::nullopt;
}
