#include "desktopbridge/wlroots/swayipc.h"

#include "desktopbridge/wayland/swaymessage.h"
#include "desktopbridge/wlroots/ipcsocket.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <unistd.h>

namespace
{
std::optional<QJsonObject> findFocused(const QJsonObject &node)
{
    if (node.value(QLatin1String("focused")).toBool()) {
        return node;
    }
    for (const char *children : {"nodes", "floating_nodes"}) {
        const QJsonArray nodes = node.value(QLatin1String(children)).toArray();
        for (const QJsonValue &child : nodes) {
            std::optional<QJsonObject> found = findFocused(child.toObject());
            if (found) {
                return found;
            }
        }
    }
    return std::nullopt;
}
} // namespace

std::optional<quint32> SwayIpc::activeWindowPid() const
{
    IpcSocket socket(m_path);
    if (!socket.send(SwayMessage::encode(SwayMessage::GET_TREE))) {
        return std::nullopt;
    }
    const std::optional<int> length =
        SwayMessage::payloadLength(socket.receive(SwayMessage::HEADER_SIZE));
    if (!length) {
        return std::nullopt;
    }
    const QByteArray tree = socket.receive(*length);
    return tree.size() == *length ? focusedProcess(tree) : std::nullopt;
}

// Names end with the compositor's process id; a variable may be left over from another session.
QByteArray SwayIpc::findSocket(qint64 compositorProcess)
{
    QByteArray own = qgetenv("XDG_RUNTIME_DIR") + "/sway-ipc." +
                     QByteArray::number(uint(::getuid())) + '.' +
                     QByteArray::number(compositorProcess) + ".sock";
    if (QFile::exists(QFile::decodeName(own))) {
        return own;
    }
    QByteArray told = qgetenv("SWAYSOCK");
    return QFile::exists(QFile::decodeName(told)) ? told : QByteArray();
}

std::optional<quint32> SwayIpc::focusedProcess(const QByteArray &tree)
{
    const QJsonDocument document = QJsonDocument::fromJson(tree);
    if (!document.isObject()) {
        return std::nullopt;
    }
    // A workspace without windows has the focus itself.
    const std::optional<QJsonObject> focused = findFocused(document.object());
    return focused ? quint32(focused->value(QLatin1String("pid")).toInt()) : 0;
}
