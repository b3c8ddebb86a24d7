#include "desktopbridge/wlroots/ipcsocket.h"

#include <algorithm>
#include <cstring>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>

namespace
{
constexpr int MOST_TIME = 500;
constexpr int MOST_BYTES = 16 << 20; // a tree of thousands of windows
constexpr int BLOCK = 64 << 10;
} // namespace

IpcSocket::IpcSocket(const QByteArray &path) : m_deadline(MOST_TIME)
{
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    if (path.isEmpty() || size_t(path.size()) >= sizeof(address.sun_path)) {
        return;
    }
    std::memcpy(address.sun_path, path.constData(), size_t(path.size()));
    FileDescriptor socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    if (socket.isValid() && ::connect(socket.get(), reinterpret_cast<const sockaddr *>(&address),
                                      sizeof(address)) == 0) {
        m_socket = std::move(socket);
    }
}

bool IpcSocket::wait(short events) const
{
    pollfd socket = {};
    socket.fd = m_socket.get();
    socket.events = events;
    return m_socket.isValid() && ::poll(&socket, 1, int(m_deadline.remainingTime())) > 0;
}

bool IpcSocket::send(const QByteArray &bytes)
{
    int sent = 0;
    while (sent < bytes.size() && wait(POLLOUT)) {
        const ssize_t count = ::send(m_socket.get(), bytes.constData() + sent,
                                     size_t(bytes.size() - sent), MSG_NOSIGNAL);
        if (count <= 0) {
            return false;
        }
        sent += int(count);
    }
    return sent == bytes.size();
}

QByteArray IpcSocket::receive(int count)
{
    QByteArray bytes;
    if (count < 0 || count > MOST_BYTES) {
        return bytes;
    }
    while (bytes.size() < count && wait(POLLIN)) {
        const int before = bytes.size();
        bytes.resize(std::min(count, before + BLOCK));
        const ssize_t got =
            ::recv(m_socket.get(), bytes.data() + before, size_t(bytes.size() - before), 0);
        bytes.resize(before + int(std::max<ssize_t>(0, got)));
        if (got <= 0) {
            break;
        }
    }
    return bytes;
}

QByteArray IpcSocket::receiveAll()
{
    return receive(MOST_BYTES);
}
