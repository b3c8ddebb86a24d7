// Anything at the socket of the first instance. An input is what a second start sends, each piece
// with its length before it.

#include "fuzz/support/harness.h"
#include "fuzz/support/inputbytes.h"
#include "fuzz/support/scratch.h"

#include "singleapplication/instanceconnection.h"
#include "singleapplication/messageformat.h"

#include <QCoreApplication>
#include <QLocalSocket>

#include <sys/socket.h>
#include <unistd.h>

namespace
{
void startApplication()
{
    static int count = 1;
    static char name[] = "instancemessages";
    static char *arguments[] = {name, nullptr};
    static const QCoreApplication application(count, arguments);
    Q_UNUSED(application)
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    Scratch::silence();
    startApplication();
    int ends[2] = {-1, -1};
    Scratch::require(::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) == 0, "a socket");
    auto *socket = new QLocalSocket;
    Scratch::require(socket->setSocketDescriptor(ends[0]), "a connection");
    InstanceConnection connection(socket, nullptr);
    QStringList messages;
    bool isFinished = false;
    QObject::connect(&connection, &InstanceConnection::messageReceived, qApp,
                     [&](const QString &message) { messages.append(message); });
    QObject::connect(&connection, &InstanceConnection::finished, qApp,
                     [&isFinished] { isFinished = true; });

    InputBytes input(data, size);
    QByteArray sent;
    while (!input.isEmpty() && !isFinished) {
        const std::string_view piece = input.piece();
        sent.append(piece.data(), static_cast<int>(piece.size()));
        if (::send(ends[1], piece.data(), piece.size(), MSG_NOSIGNAL | MSG_DONTWAIT) < 0) {
            break;
        }
        QCoreApplication::processEvents();
    }
    ::close(ends[1]);
    while (!isFinished) {
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    }
    Scratch::require(messages.size() <= 1, "one message at most");
    const bool isMessage =
        sent.size() >= MessageFormat::HEADER_SIZE && sent.startsWith(MessageFormat::MARK) &&
        MessageFormat::textSize(sent) == quint32(sent.size() - MessageFormat::HEADER_SIZE);
    Scratch::require(!isMessage || messages.size() == 1, "a message for a message");
    return 0;
}
