#pragma once
// The object /Screenshot of the bridge. Owned by DesktopBridge; main thread. A call takes as long
// as the display needs to hand over the picture; the pipe is written elsewhere.

#include "desktopbridge/dbus/exportedobjects.h"

#include <optional>

class ContentWatch;
class PictureWriter;
class QRect;
class ScreenBackend;

class ScreenshotService : public ExportedScreenshot
{
    Q_OBJECT

public:
    /// All three must outlive this object.
    ScreenshotService(ScreenBackend &backend, ContentWatch &watch, PictureWriter &writer);

    void screenshotFullscreen(const QDBusUnixFileDescriptor &pipe, bool withoutPointer,
                              int screen) override;

private:
    std::optional<QRect> areaOf(int screen) const;

    ScreenBackend &m_backend;
    ContentWatch &m_watch;
    PictureWriter &m_writer;
};
