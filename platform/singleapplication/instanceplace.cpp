#include "singleapplication/instanceplace.h"

#include <QDir>
#include <QFile>
#include <QStandardPaths>

#include <cerrno>
#include <cstring>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

// Not QStandardPaths' runtime location: without the variable that invents one below /tmp.
QString InstancePlace::directory(const QString &applicationName)
{
    const QString runtime = QFile::decodeName(qgetenv("XDG_RUNTIME_DIR"));
    const QString base =
        QDir::isAbsolutePath(runtime)
            ? runtime
            : QStandardPaths::writableLocation(QStandardPaths::GenericCacheLocation);
    return base + '/' + applicationName;
}

QString InstancePlace::socketPath(const QString &directory)
{
    return directory + "/instance.socket";
}

std::optional<qint64> InstancePlace::listener(const QString &applicationName)
{
    const QByteArray path = QFile::encodeName(socketPath(directory(applicationName)));
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    if (static_cast<std::size_t>(path.size()) >= sizeof(address.sun_path)) {
        return {};
    }
    std::memcpy(address.sun_path, path.constData(), static_cast<std::size_t>(path.size()));
    // Non-blocking: a listener that is too busy to take connections is there all the same.
    const int socket = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    if (socket < 0) {
        return {};
    }
    std::optional<qint64> process;
    if (::connect(socket, reinterpret_cast<const sockaddr *>(&address), sizeof(address)) == 0) {
        ucred peer = {};
        socklen_t size = sizeof(peer);
        process = ::getsockopt(socket, SOL_SOCKET, SO_PEERCRED, &peer, &size) == 0 ? peer.pid : 0;
    } else if (errno == EAGAIN) {
        process = 0;
    }
    ::close(socket);
    return process;
}
