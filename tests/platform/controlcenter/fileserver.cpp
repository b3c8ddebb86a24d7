#include "fileserver.h"

#include <QTcpSocket>

FileServer::FileServer(const QByteArray &content) : m_content(content)
{
    m_server.listen(QHostAddress::LocalHost);
    connect(&m_server, &QTcpServer::newConnection, this, [this] {
        while (QTcpSocket *socket = m_server.nextPendingConnection()) {
            connect(socket, &QTcpSocket::readyRead, this, [this, socket] { onRequest(socket); });
            connect(socket, &QTcpSocket::disconnected, socket, &QObject::deleteLater);
        }
    });
}

QString FileServer::address() const
{
    return QStringLiteral("http://127.0.0.1:%1/model").arg(m_server.serverPort());
}

void FileServer::onRequest(QTcpSocket *socket)
{
    const QByteArray request = socket->peek(8192);
    if (!request.contains("\r\n\r\n") || m_silent) {
        return;
    }
    socket->readAll();
    QByteArray range;
    for (const QByteArray &line : request.split('\n')) {
        if (line.toLower().startsWith("range: bytes=")) {
            range = line.mid(13).trimmed();
        }
    }
    m_ranges.append(range);
    const int from = range.split('-').first().toInt();
    if (m_redirects && m_ranges.size() == 1) {
        answer(socket, "302 Found\r\nLocation: /elsewhere", {});
    } else if (m_status != 200) {
        answer(socket, QByteArray::number(m_status) + " No", "<html>an error page</html>");
    } else if (range.isEmpty() || !m_knowsRanges) {
        answer(socket, "200 OK", m_content);
    } else if (from >= m_content.size()) {
        answer(socket, "416 Range Not Satisfiable", {});
    } else {
        answer(socket, "206 Partial Content", m_content.mid(from));
    }
}

void FileServer::answer(QTcpSocket *socket, const QByteArray &head, const QByteArray &body)
{
    socket->write("HTTP/1.1 " + head + "\r\nConnection: close\r\nContent-Length: " +
                  QByteArray::number(body.size()) + "\r\n\r\n");
    socket->write(m_stopAfter >= 0 ? body.left(m_stopAfter) : body);
    socket->disconnectFromHost();
}
