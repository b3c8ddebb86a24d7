#pragma once
// Pictures by org.kde.KWin.ScreenShot2, which KWin serves to programs whose desktop file asks for
// it. Owned by KwinBackend; main thread. A call waits for KWin, but never longer than its patience.

#include "desktopbridge/filedescriptor.h"
#include "desktopbridge/kwin/rawpicture.h"
#include "desktopbridge/picture.h"

#include <QDBusConnection>
#include <QDeadlineTimer>

class KwinScreenshots
{
public:
    /// @p patience: after so many milliseconds a picture is given up. A 4K screen takes 50 ms on a
    /// graphics card and, where the processor draws, some hundred.
    explicit KwinScreenshots(const QDBusConnection &bus, int patience = 2000);

    /// Asks for a picture of the pixel at @p place, in KWin's own units, for which KWin draws the
    /// output anew. Empty if there is one, else why this process gets none.
    QString captureOnePixel(const QPoint &place);

    /// The output called @p name in its own resolution, without the pointer. @p screen is its place
    /// on the virtual screen. Null on failure, with a line on the log unless it is the same as that
    /// of the call before; also if the output has another size by now.
    PicturePtr capture(const QString &name, const QRect &screen);

private:
    std::optional<RawPicture> call(const QString &method, QVariantList arguments,
                                   const QDeadlineTimer &deadline, QString &problem);
    PicturePtr captureUnlogged(const QString &name, const QRect &screen, QString &problem);
    std::shared_ptr<quint32> readPixels(const RawPicture &raw, const QDeadlineTimer &deadline,
                                        QString &problem);

    QDBusConnection m_bus;
    int m_patience;
    FileDescriptor m_pipe; // the read end, during a call
    QString m_lastProblem;
};
