#include "singleapplication/instanceconnection.h"

#include "singleapplication/messageformat.h"

#include <QLocalSocket>
#include <QTimer>

namespace
{
using namespace MessageFormat;

enum class Content { Incomplete, Whole, Garbage };

Content contentOf(const QByteArray &bytes)
{
    if (!bytes.startsWith(MARK.left(bytes.size()))) {
        return Content::Garbage;
    }
    if (bytes.size() < HEADER_SIZE) {
        return Content::Incomplete;
    }
    const quint32 size = textSize(bytes);
    if (size > static_cast<quint32>(TEXT_LIMIT)) {
        return Content::Garbage;
    }
    const int missing = HEADER_SIZE + static_cast<int>(size) - bytes.size();
    if (missing > 0) {
        return Content::Incomplete;
    }
    return missing == 0 ? Content::Whole : Content::Garbage;
}
} // namespace

InstanceConnection::InstanceConnection(QLocalSocket *socket, QObject *parent)
    : QObject(parent), m_socket(socket)
{
    m_socket->setParent(this);
    m_socket->setReadBufferSize(HEADER_SIZE + TEXT_LIMIT + 1);
    connect(m_socket, &QLocalSocket::readyRead, this, &InstanceConnection::read);
    connect(m_socket, &QLocalSocket::disconnected, this, &InstanceConnection::giveUp);
    // Measured from here and not from the last byte, so that a trickle doesn't stay for ever.
    QTimer::singleShot(TIME_LIMIT_MS, this, &InstanceConnection::giveUp);
}

void InstanceConnection::read()
{
    if (m_finished) {
        return;
    }
    m_bytes += m_socket->readAll();
    const Content content = contentOf(m_bytes);
    if (content == Content::Garbage) {
        qWarning("A connection to the instance socket sent no message, dropped");
        finish();
    } else if (content == Content::Whole) {
        // Acknowledged first: what the message sets off may take longer than its sender waits.
        finish(QByteArray(1, RECEIVED));
        Q_EMIT messageReceived(
            QString::fromUtf8(m_bytes.constData() + HEADER_SIZE, m_bytes.size() - HEADER_SIZE));
    }
}

void InstanceConnection::giveUp()
{
    // A busy main thread may see the time run out before it sees what came in time.
    read();
    finish();
}

void InstanceConnection::finish(const QByteArray &reply)
{
    if (m_finished) {
        return;
    }
    // First of all: writing to a sender that has left tells at once that it is disconnected.
    m_finished = true;
    m_socket->write(reply);
    m_socket->flush();
    m_socket->disconnectFromServer();
    Q_EMIT finished();
}
