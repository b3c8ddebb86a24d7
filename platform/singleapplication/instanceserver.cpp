#include "singleapplication/instanceserver.h"

#include "singleapplication/instanceconnection.h"

#include <QFile>
#include <QLocalSocket>

InstanceServer::InstanceServer(QObject *parent) : QObject(parent)
{
    m_server.setSocketOptions(QLocalServer::UserAccessOption);
    connect(&m_server, &QLocalServer::newConnection, this, &InstanceServer::acceptConnections);
}

bool InstanceServer::listen(const QString &path)
{
    QLocalServer::removeServer(path);
    // Qt's option alone leaves the socket executable.
    return m_server.listen(path) &&
           QFile::setPermissions(path, QFile::ReadOwner | QFile::WriteOwner);
}

void InstanceServer::acceptConnections()
{
    while (QLocalSocket *socket = m_server.nextPendingConnection()) {
        if (m_connections.size() == CONNECTION_LIMIT) {
            m_connections.takeFirst()->deleteLater();
        }
        auto *connection = new InstanceConnection(socket, this);
        m_connections.append(connection);
        connect(connection, &InstanceConnection::messageReceived, this,
                &InstanceServer::messageReceived);
        connect(connection, &InstanceConnection::finished, this, [this, connection] {
            m_connections.removeOne(connection);
            connection->deleteLater();
        });
    }
}
