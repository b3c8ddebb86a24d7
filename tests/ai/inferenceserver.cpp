#include "inferenceserver.h"

#include <QMutexLocker>
#include <QTcpServer>
#include <QTcpSocket>

#include <memory>

namespace
{
constexpr int WAIT_MS = 20;
const QByteArray HEAD_END = QByteArrayLiteral("\r\n\r\n");

qint64 bodyLength(const QByteArray &head)
{
    const QByteArray name = "Content-Length: ";
    const int at = head.indexOf(name);
    return at < 0 ? 0 : head.mid(at + name.size()).split('\r').first().toLongLong();
}
} // namespace

InferenceServer::InferenceServer(const QByteArray &answer, quint16 port) : m_answer(answer)
{
    std::promise<quint16> listening;
    std::future<quint16> actualPort = listening.get_future();
    m_thread = std::thread(&InferenceServer::serve, this, port, &listening);
    m_port = actualPort.get();
}

InferenceServer::~InferenceServer()
{
    m_isEnding = true;
    m_thread.join();
}

void InferenceServer::serve(quint16 port, std::promise<quint16> *listening)
{
    QTcpServer server;
    const bool isListening = server.listen(QHostAddress::LocalHost, port);
    listening->set_value(isListening ? server.serverPort() : 0);
    while (isListening && !m_isEnding) {
        if (server.waitForNewConnection(WAIT_MS)) {
            const std::unique_ptr<QTcpSocket> socket(server.nextPendingConnection());
            answer(socket.get());
        }
    }
}

void InferenceServer::answer(QTcpSocket *socket)
{
    QByteArray received;
    const auto isComplete = [&received] {
        const int end = received.indexOf(HEAD_END);
        return end >= 0 &&
               received.size() >= end + HEAD_END.size() + bodyLength(received.left(end));
    };
    while (!isComplete() && !m_isEnding) {
        socket->waitForReadyRead(WAIT_MS);
        received += socket->readAll();
    }
    const int end = received.indexOf(HEAD_END);
    {
        const QMutexLocker lock(&m_mutex);
        const int start = received.indexOf("\r\n");
        m_requests.append({received.left(start), received.mid(start + 2, end - start - 2),
                           received.mid(end + HEAD_END.size())});
    }
    socket->write("HTTP/1.1 200 OK\r\nContent-Length: " +
                  QByteArray::number(m_answer.size() + m_missing) + HEAD_END + m_answer);
    socket->waitForBytesWritten();
    socket->disconnectFromHost();
    if (socket->state() != QAbstractSocket::UnconnectedState) {
        socket->waitForDisconnected();
    }
}

QVector<InferenceServer::Request> InferenceServer::requests() const
{
    const QMutexLocker lock(&m_mutex);
    return m_requests;
}

quint16 InferenceServer::deadPort()
{
    QTcpServer server;
    server.listen(QHostAddress::LocalHost, 0);
    return server.serverPort();
}
