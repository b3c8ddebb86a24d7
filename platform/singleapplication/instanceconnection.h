#pragma once
// One second start at the socket of the first instance: takes its message, acknowledges it and is
// done. Owned by the server; main thread.

#include <QByteArray>
#include <QObject>

class QLocalSocket;

class InstanceConnection : public QObject
{
    Q_OBJECT

public:
    /// A connection without a whole message after this time is dropped.
    static constexpr int TIME_LIMIT_MS = 5000;

    /// Takes over @p socket and begins to read.
    InstanceConnection(QLocalSocket *socket, QObject *parent);

Q_SIGNALS:
    /// The whole message, once, after it was acknowledged.
    void messageReceived(const QString &message);

    /// Nothing more comes; the connection is closed. Given before messageReceived().
    void finished();

private:
    void read();
    void giveUp();
    void finish(const QByteArray &reply = {});

    QLocalSocket *const m_socket;
    QByteArray m_bytes;
    bool m_finished = false;
};
