#include "windowmanager/wlroots/swayipc.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <cstring>

namespace
{
constexpr int connectMs = 1000;
// Each message: this word, the payload's length and the message's type in the machine's byte order.
const QByteArray magic = QByteArrayLiteral("i3-ipc");
constexpr int headerSize = 6 + 4 + 4;
constexpr quint32 runCommand = 0;
constexpr quint32 getTree = 4;
const QString scratchpad = QStringLiteral("__i3_scratch"); // the name of its workspace

QByteArray bytesOf(quint32 number)
{
    return QByteArray(reinterpret_cast<const char *>(&number), sizeof number);
}

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

std::unique_ptr<SwayIpc> SwayIpc::connectToSway()
{
    const QString path = qEnvironmentVariable("SWAYSOCK");
    if (path.isEmpty()) {
        return nullptr;
    }
    std::unique_ptr<SwayIpc> ipc(new SwayIpc);
    ipc->m_socket.connectToServer(path);
    return ipc->m_socket.waitForConnected(connectMs) ? std::move(ipc) : nullptr;
}

SwayIpc::SwayIpc()
{
    connect(&m_socket, &QLocalSocket::readyRead, this, &SwayIpc::readAnswers);
    connect(&m_socket, &QLocalSocket::disconnected, this, &SwayIpc::answerAllWithNothing);
}

SwayIpc::~SwayIpc()
{
    m_socket.disconnect(this); // closing it tells too
}

void SwayIpc::askForWindows(const Windows &answer)
{
    send(getTree, {}, answer);
}

void SwayIpc::command(qint64 window, const QString &commands)
{
    send(runCommand, QStringLiteral("[con_id=%1] %2").arg(window).arg(commands).toUtf8(), {});
}

void SwayIpc::send(quint32 type, const QByteArray &payload, const Windows &answer)
{
    m_waiting.enqueue(answer);
    if (m_socket.state() == QLocalSocket::ConnectedState) {
        m_socket.write(magic + bytesOf(payload.size()) + bytesOf(type) + payload);
    } else {
        answerAllWithNothing();
    }
}

void SwayIpc::readAnswers()
{
    m_received += m_socket.readAll();
    while (m_received.size() >= headerSize) {
        quint32 length = 0;
        std::memcpy(&length, m_received.constData() + magic.size(), sizeof length);
        if (quint32(m_received.size() - headerSize) < length) {
            return;
        }
        const QByteArray payload = m_received.mid(headerSize, static_cast<int>(length));
        m_received.remove(0, headerSize + static_cast<int>(length));
        const Windows answer = m_waiting.isEmpty() ? Windows() : m_waiting.dequeue();
        if (answer) {
            answer(swayWindowsIn(payload));
        }
    }
}

void SwayIpc::answerAllWithNothing()
{
    while (!m_waiting.isEmpty()) {
        if (const Windows answer = m_waiting.dequeue()) {
            answer({});
        }
    }
}
