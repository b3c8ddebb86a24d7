#pragma once
// The first instance's end of the socket. Owned by the application object; main thread.

#include <QLocalServer>
#include <QVector>

class InstanceConnection;

class InstanceServer : public QObject
{
    Q_OBJECT

public:
    /// At most this many connections are kept; the oldest gives way to one more.
    static constexpr int CONNECTION_LIMIT = 32;

    explicit InstanceServer(QObject *parent = nullptr);

    /// Listens at @p path with mode 0600; whatever an earlier process left there is removed, so
    /// the caller must hold the session's lock. False with errorString() if that can't be.
    bool listen(const QString &path);

    QString errorString() const { return m_server.errorString(); }

Q_SIGNALS:
    /// Each whole message of a second start, once.
    void messageReceived(const QString &message);

private:
    void acceptConnections();

    QLocalServer m_server;
    QVector<InstanceConnection *> m_connections; // children, the oldest first
};
