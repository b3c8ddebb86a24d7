#pragma once
// A question and its answer over a compositor's own socket, within a limit. Main thread.

#include "desktopbridge/filedescriptor.h"

#include <QByteArray>
#include <QDeadlineTimer>

class IpcSocket
{
public:
    /// Connects to the socket at @p path. What follows takes half a second at most altogether.
    explicit IpcSocket(const QByteArray &path);

    bool isConnected() const { return m_socket.isValid(); }

    /// False if the peer does not take all of it.
    bool send(const QByteArray &bytes);

    /// Exactly @p count bytes; less if the peer ends, falls silent, or @p count is absurd.
    QByteArray receive(int count);

    /// What comes until the peer ends.
    QByteArray receiveAll();

private:
    bool wait(short events) const;

    FileDescriptor m_socket;
    QDeadlineTimer m_deadline;
};
