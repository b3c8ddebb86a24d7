#include "desktopbridge/kwin/kwinscreenshots.h"

#include <QDBusMessage>
#include <QDBusPendingReply>
#include <QDBusUnixFileDescriptor>
#include <QDebug>

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <poll.h>
#include <vector>

namespace
{
const QString SERVICE = QStringLiteral("org.kde.KWin.ScreenShot2");
const QString PATH = QStringLiteral("/org/kde/KWin/ScreenShot2");
const QString NOT_AUTHORISED = QStringLiteral("org.kde.KWin.ScreenShot2.Error.NoAuthorized");
const QString NOBODY = QStringLiteral("org.freedesktop.DBus.Error.NameHasNoOwner");

// With the 64 KiB of a new pipe KWin's thread wakes up 16 times as often.
constexpr int PIPE_BYTES = 1 << 20;

// The most pixels of a screen to one of KWin's own units, along an edge.
constexpr int LARGEST_SCALE = 16;

QString wordsFor(const QDBusError &error)
{
    if (error.name() == NOT_AUTHORISED) {
        return QStringLiteral("KWin lets only programs take pictures whose desktop file asks for "
                              "it, and knows none for this one");
    }
    if (error.name() == NOBODY || error.type() == QDBusError::ServiceUnknown) {
        return QStringLiteral("KWin offers no pictures: its screenshot effect is off, or it does "
                              "not draw by OpenGL");
    }
    switch (error.type()) {
    case QDBusError::NoReply:
    case QDBusError::Timeout:
    case QDBusError::TimedOut:
        return QStringLiteral("KWin does not answer");
    default:
        return QStringLiteral("KWin gave no picture: %1").arg(error.message());
    }
}

bool waitForBytes(int pipe, const QDeadlineTimer &deadline)
{
    pollfd readable = {pipe, POLLIN, 0};
    int ready = 0;
    do {
        ready = ::poll(&readable, 1, int(deadline.remainingTime()));
    } while (ready < 0 && errno == EINTR);
    return ready > 0;
}

bool readAll(int pipe, void *target, size_t count, const QDeadlineTimer &deadline, QString &problem)
{
    auto *next = static_cast<char *>(target);
    while (count > 0) {
        if (!waitForBytes(pipe, deadline)) {
            problem = QStringLiteral("KWin does not deliver its picture");
            return false;
        }
        const ssize_t got = ::read(pipe, next, count);
        if (got > 0) {
            next += got;
            count -= size_t(got);
        } else if (got == 0 || (errno != EINTR && errno != EAGAIN)) {
            problem = QStringLiteral("KWin's picture ends too early");
            return false;
        }
    }
    return true;
}
} // namespace

KwinScreenshots::KwinScreenshots(const QDBusConnection &bus, int patience)
    : m_bus(bus), m_patience(patience)
{
}

QString KwinScreenshots::captureOnePixel(const QPoint &place)
{
    QString problem;
    const QDeadlineTimer deadline(m_patience);
    const auto raw =
        call(QStringLiteral("CaptureArea"), {place.x(), place.y(), 1U, 1U}, deadline, problem);
    if (raw && (raw->size.width() > LARGEST_SCALE || raw->size.height() > LARGEST_SCALE)) {
        problem = QStringLiteral("KWin gave a picture of %1 x %2 pixels for one pixel")
                      .arg(raw->size.width())
                      .arg(raw->size.height());
    } else if (raw) {
        readPixels(*raw, deadline, problem);
    }
    m_pipe = FileDescriptor();
    return problem;
}

PicturePtr KwinScreenshots::capture(const QString &name, const QRect &screen)
{
    QString problem;
    PicturePtr picture = captureUnlogged(name, screen, problem);
    m_pipe = FileDescriptor();
    if (problem != m_lastProblem && !problem.isEmpty()) {
        qWarning("No picture of the screen: %s", qPrintable(problem));
    }
    m_lastProblem = problem;
    return picture;
}

PicturePtr KwinScreenshots::captureUnlogged(const QString &name, const QRect &screen,
                                            QString &problem)
{
    const QDeadlineTimer deadline(m_patience);
    const auto raw = call(QStringLiteral("CaptureScreen"), {name}, deadline, problem);
    if (!raw) {
        return nullptr;
    }
    if (raw->size != screen.size()) {
        problem = QStringLiteral("KWin's picture is of %1 x %2 pixels, the screen of %3 x %4")
                      .arg(raw->size.width())
                      .arg(raw->size.height())
                      .arg(screen.width())
                      .arg(screen.height());
        return nullptr;
    }
    const auto pixels = readPixels(*raw, deadline, problem);
    return pixels ? std::make_shared<const Picture>(Picture{screen, pixels}) : nullptr;
}

std::optional<RawPicture> KwinScreenshots::call(const QString &method, QVariantList arguments,
                                                const QDeadlineTimer &deadline, QString &problem)
{
    int ends[2];
    if (::pipe2(ends, O_CLOEXEC) != 0) {
        problem = QStringLiteral("no pipe: %1").arg(QLatin1String(std::strerror(errno)));
        return std::nullopt;
    }
    m_pipe = FileDescriptor(ends[0]);
    FileDescriptor writeEnd(ends[1]);
    ::fcntl(writeEnd.get(), F_SETPIPE_SZ, PIPE_BYTES);
    ::fcntl(m_pipe.get(), F_SETFL, O_NONBLOCK);

    QDBusMessage message = QDBusMessage::createMethodCall(SERVICE, PATH, SERVICE, method);
    message.setAutoStartService(false);
    const QVariantMap options{{QStringLiteral("native-resolution"), true},
                              {QStringLiteral("include-cursor"), false}};
    arguments << options << QVariant::fromValue(QDBusUnixFileDescriptor(writeEnd.get()));
    message.setArguments(arguments);
    // The answer comes before the pixels, or at the same time.
    const QDBusPendingReply<QVariantMap> reply =
        m_bus.call(message, QDBus::Block, int(deadline.remainingTime()));
    if (reply.isError()) {
        problem = wordsFor(reply.error());
        return std::nullopt;
    }
    return readDescription(reply.value(), problem);
}

std::shared_ptr<quint32>
KwinScreenshots::readPixels(const RawPicture &raw, const QDeadlineTimer &deadline, QString &problem)
{
    const int width = raw.size.width();
    const auto rowBytes = size_t(raw.rowBytes);
    const size_t wanted = size_t(width) * sizeof(quint32);
    // Not initialised: all of it is read from the pipe.
    std::shared_ptr<quint32> pixels(new quint32[size_t(width) * size_t(raw.size.height())],
                                    std::default_delete<quint32[]>());
    if (rowBytes == wanted) {
        if (!readAll(m_pipe.get(), pixels.get(), size_t(raw.bytes()), deadline, problem)) {
            return nullptr;
        }
    } else {
        std::vector<quint32> row(rowBytes / sizeof(quint32));
        for (int y = 0; y < raw.size.height(); ++y) {
            if (!readAll(m_pipe.get(), row.data(), rowBytes, deadline, problem)) {
                return nullptr;
            }
            std::memcpy(pixels.get() + qptrdiff(y) * width, row.data(), wanted);
        }
    }
    orderColours(raw.format, pixels.get(), width * raw.size.height());
    return pixels;
}
