#include "pipereader.h"

#include <QDBusUnixFileDescriptor>
#include <QDebug>

#include <cstring>
#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

namespace
{
void closeEnd(int &end)
{
    if (end >= 0) {
        ::close(end);
        end = -1;
    }
}
} // namespace

PipeReader::PipeReader()
{
    if (::pipe2(m_ends, O_CLOEXEC) != 0) {
        qFatal("no pipe");
    }
}

PipeReader::~PipeReader()
{
    closeReadEnd();
    closeWriteEnd();
}

void PipeReader::closeReadEnd()
{
    closeEnd(m_ends[0]);
}

void PipeReader::closeWriteEnd()
{
    closeEnd(m_ends[1]);
}

QDBusMessage PipeReader::call(int screen, bool withoutPointer, const QDBusConnection &bus)
{
    QDBusMessage message = QDBusMessage::createMethodCall(
        QStringLiteral("org.vesk.KWin"), QStringLiteral("/Screenshot"),
        QStringLiteral("org.vesk.kwin.Screenshot"), QStringLiteral("screenshotFullscreen"));
    message << QVariant::fromValue(QDBusUnixFileDescriptor(m_ends[1])) << withoutPointer << screen;
    const QDBusMessage reply = bus.call(message);
    closeWriteEnd();
    return reply;
}

QByteArray PipeReader::readAll(int timeout)
{
    QByteArray bytes;
    QByteArray part(1 << 20, Qt::Uninitialized);
    for (;;) {
        pollfd waiting{m_ends[0], POLLIN, 0};
        if (::poll(&waiting, 1, timeout) <= 0) {
            return bytes;
        }
        const ssize_t count = ::read(m_ends[0], part.data(), static_cast<size_t>(part.size()));
        if (count <= 0) {
            m_sawEnd = count == 0;
            return bytes;
        }
        bytes.append(part.constData(), int(count));
    }
}

QImage PipeReader::image(const QByteArray &bytes)
{
    qint32 fields[3] = {};
    if (bytes.size() < int(sizeof(fields))) {
        return QImage();
    }
    std::memcpy(fields, bytes.constData(), sizeof(fields));
    QImage image(fields[0], fields[1], static_cast<QImage::Format>(fields[2]));
    if (bytes.size() != int(sizeof(fields)) + image.sizeInBytes()) {
        return QImage();
    }
    std::memcpy(image.bits(), bytes.constData() + sizeof(fields),
                static_cast<size_t>(image.sizeInBytes()));
    return image;
}

QImage PipeReader::picture(int screen)
{
    PipeReader reader;
    const QDBusMessage reply = reader.call(screen);
    if (reply.type() == QDBusMessage::ErrorMessage) {
        qWarning() << reply.errorMessage();
        return QImage();
    }
    return image(reader.readAll());
}

bool PipeReader::hasHungUp(int readEnd)
{
    pollfd waiting{readEnd, 0, 0};
    return ::poll(&waiting, 1, 0) == 1 && (waiting.revents & POLLHUP) != 0;
}
