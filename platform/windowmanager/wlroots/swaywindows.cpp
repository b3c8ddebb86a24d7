#include "windowmanager/wlroots/swaywindows.h"

#include "desktopbridge/wayland/swaymessage.h"

#include <QDebug>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

namespace
{
constexpr int connectMs = 1000;
const QString scratchpad = QStringLiteral("__i3_scratch"); // the name of its workspace

void collect(const QJsonObject &node, bool isInScratchpad, QVector<SwayWindow> *windows)
{
    const QString name = node.value(QLatin1String("name")).toString();
    if (node.contains(QLatin1String("pid"))) {
        SwayWindow window;
        window.id = static_cast<qint64>(node.value(QLatin1String("id")).toDouble());
        window.processId = node.value(QLatin1String("pid")).toInt();
        window.appId = node.value(QLatin1String("app_id")).toString();
        window.title = name;
        window.isFloating =
            node.value(QLatin1String("type")).toString() == QLatin1String("floating_con");
        window.isStowed = isInScratchpad;
        windows->append(window);
    }
    for (const char *children : {"nodes", "floating_nodes"}) {
        for (const QJsonValue child : node.value(QLatin1String(children)).toArray()) {
            collect(child.toObject(), isInScratchpad || name == scratchpad, windows);
        }
    }
}
} // namespace

QVector<SwayWindow> swayWindowsIn(const QByteArray &tree)
{
    QVector<SwayWindow> windows;
    collect(QJsonDocument::fromJson(tree).object(), false, &windows);
    return windows;
}

std::unique_ptr<SwayWindows> SwayWindows::connectToSway()
{
    const QString path = qEnvironmentVariable("SWAYSOCK");
    if (path.isEmpty()) {
        return nullptr;
    }
    std::unique_ptr<SwayWindows> ipc(new SwayWindows);
    ipc->m_socket.connectToServer(path);
    return ipc->m_socket.waitForConnected(connectMs) ? std::move(ipc) : nullptr;
}

SwayWindows::SwayWindows()
{
    connect(&m_socket, &QLocalSocket::readyRead, this, &SwayWindows::readAnswers);
    connect(&m_socket, &QLocalSocket::disconnected, this, &SwayWindows::answerAllWithNothing);
}

SwayWindows::~SwayWindows()
{
    m_socket.disconnect(this); // closing it tells too
}

void SwayWindows::askForWindows(const Answer &answer)
{
    send(SwayMessage::GET_TREE, {}, answer);
}

void SwayWindows::command(qint64 window, const QString &commands)
{
    send(SwayMessage::RUN_COMMAND,
         QStringLiteral("[con_id=%1] %2").arg(window).arg(commands).toUtf8(), {});
}

void SwayWindows::send(quint32 type, const QByteArray &payload, const Answer &answer)
{
    m_waiting.enqueue(answer);
    if (m_socket.state() == QLocalSocket::ConnectedState) {
        m_socket.write(SwayMessage::encode(type, payload));
    } else {
        answerAllWithNothing();
    }
}

void SwayWindows::readAnswers()
{
    m_received += m_socket.readAll();
    while (m_received.size() >= SwayMessage::HEADER_SIZE) {
        const std::optional<int> length = SwayMessage::payloadLength(m_received);
        if (!length) {
            qWarning() << "sway's socket tells no messages, windows are no longer asked for";
            m_received.clear();
            m_socket.abort(); // tells that it is disconnected
            return;
        }
        if (m_received.size() - SwayMessage::HEADER_SIZE < *length) {
            return;
        }
        const QByteArray payload = m_received.mid(SwayMessage::HEADER_SIZE, *length);
        m_received.remove(0, SwayMessage::HEADER_SIZE + *length);
        const Answer answer = m_waiting.isEmpty() ? Answer() : m_waiting.dequeue();
        if (answer) {
            answer(swayWindowsIn(payload));
        }
    }
}

void SwayWindows::answerAllWithNothing()
{
    while (!m_waiting.isEmpty()) {
        if (const Answer answer = m_waiting.dequeue()) {
            answer({});
        }
    }
}
