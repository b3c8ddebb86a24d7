#include "desktopbridge/screenshotservice.h"

#include "desktopbridge/contentwatch.h"
#include "desktopbridge/picturewriter.h"

#include "screenshotadaptor.h"

#include <QDBusConnection>

#include <fcntl.h>

namespace
{
constexpr int ALL_SCREENS = -1;
}

ScreenshotService::ScreenshotService(ScreenBackend &backend, ContentWatch &watch,
                                     PictureWriter &writer)
    : m_backend(backend), m_watch(watch), m_writer(writer)
{
    new ScreenshotAdaptor(this);
}

std::optional<QRect> ScreenshotService::areaOf(int screen) const
{
    const QVector<QRect> screens = m_backend.screens();
    if (screen == ALL_SCREENS) {
        return m_backend.virtualScreen();
    }
    if (screen < 0 || screen >= screens.size()) {
        return std::nullopt;
    }
    return screens.at(screen);
}

// The pointer is never in the picture, so the second argument has nothing to choose.
void ScreenshotService::screenshotFullscreen(const QDBusUnixFileDescriptor &pipe,
                                             bool /*withoutPointer*/, int screen)
{
    if (!m_backend.problem().isEmpty()) {
        sendErrorReply(QDBusError::Failed, m_backend.problem());
        return;
    }
    const std::optional<QRect> area = areaOf(screen);
    if (!area) {
        sendErrorReply(QDBusError::InvalidArgs, QStringLiteral("no screen %1").arg(screen));
        return;
    }
    if (!m_writer.hasRoom()) {
        sendErrorReply(QDBusError::LimitsExceeded,
                       QStringLiteral("too many pictures are still being read"));
        return;
    }
    FileDescriptor writeEnd(::fcntl(pipe.fileDescriptor(), F_DUPFD_CLOEXEC, 0));
    if (!writeEnd.isValid()) {
        sendErrorReply(QDBusError::InvalidArgs, QStringLiteral("not a usable descriptor"));
        return;
    }
    const PicturePtr picture = m_watch.takePicture(*area);
    if (!picture) {
        sendErrorReply(QDBusError::Failed, QStringLiteral("the display gave no picture"));
        return;
    }
    m_writer.write(std::move(writeEnd), picture);
}
