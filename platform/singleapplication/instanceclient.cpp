#include "singleapplication/instanceclient.h"

#include "singleapplication/messageformat.h"

#include <QDeadlineTimer>
#include <QDebug>
#include <QLocalSocket>
#include <QThread>
#include <algorithm>

namespace
{
constexpr unsigned long RETRY_MS = 20;

int remaining(const QDeadlineTimer &deadline)
{
    return static_cast<int>(deadline.remainingTime());
}

bool connectTo(QLocalSocket &socket, const QString &path, const QDeadlineTimer &deadline)
{
    while (true) {
        socket.connectToServer(path);
        if (socket.waitForConnected(remaining(deadline))) {
            return true;
        }
        socket.abort();
        if (deadline.hasExpired()) {
            return false;
        }
        QThread::msleep(std::min<unsigned long>(RETRY_MS, remaining(deadline)));
    }
}

bool writeAll(QLocalSocket &socket, const QByteArray &bytes, const QDeadlineTimer &deadline)
{
    socket.write(bytes);
    while (socket.bytesToWrite() > 0) {
        if (!socket.waitForBytesWritten(remaining(deadline))) {
            return false;
        }
    }
    return true;
}
} // namespace

bool InstanceClient::send(const QString &socketPath, const QString &message, int timeoutMs)
{
    const QByteArray text = message.toUtf8();
    if (text.size() > MessageFormat::TEXT_LIMIT) {
        qWarning("The message to the running instance is too long");
        return false;
    }
    const QDeadlineTimer deadline(std::max(0, timeoutMs));
    QLocalSocket socket;
    if (!connectTo(socket, socketPath, deadline) ||
        !writeAll(socket, MessageFormat::header(text.size()) + text, deadline)) {
        socket.abort();
        return false;
    }
    char reply = 0;
    const bool answered =
        (socket.bytesAvailable() > 0 || socket.waitForReadyRead(remaining(deadline)));
    const bool received = answered && socket.getChar(&reply) && reply == MessageFormat::RECEIVED;
    socket.abort();
    return received;
}
