// The tracker's channel to the compositor and the screensaver on the session bus: subscriptions,
// one frame through a pipe, the application in front.

#include "capture/screenhistorytracker.h"

#include "appinfo/appinfohelper.h"
#include "appinfo/uniquefd.h"
#include "capture/busnames.h"
#include "capture/picturepipe.h"

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusInterface>
#include <QDBusMessage>
#include <QDBusReply>
#include <QDBusServiceWatcher>
#include <QDBusUnixFileDescriptor>
#include <QDebug>
#include <QGuiApplication>
#include <QScreen>

#include <array>
#include <fcntl.h>

namespace
{
// The compositor's own scale: the share of the screen that has to differ before it tells.
constexpr double contentChangeThreshold = 90.0;
// A compositor that dies right after its start is asked, and so started by the bus, no oftener.
constexpr int compositorRestartMs = 1000;
} // namespace

void ScreenHistoryTracker::connectCompositor()
{
    QDBusConnection bus = QDBusConnection::sessionBus();
    bus.connect(windowManagerService, windowMangerPath, windowManagerInterface,
                screenContentChangedSignal, this, SLOT(screenContentChangedSlot(double)));
    bus.connect(screensaverService, screensaverPath, screensaverinterface, lockSignal, this,
                SLOT(onScreenLockSignal()));
    bus.connect(screensaverService, screensaverPath, screensaverinterface, unlockSignal, this,
                SLOT(onScreenUnLockSignal()));

    requestContentChanges();

    auto *owner = new QDBusServiceWatcher(windowManagerService, bus,
                                          QDBusServiceWatcher::WatchForOwnerChange, this);
    connect(owner, &QDBusServiceWatcher::serviceOwnerChanged, this,
            &ScreenHistoryTracker::onCompositorOwnerChanged);
}

void ScreenHistoryTracker::requestContentChanges()
{
    QDBusInterface windowManager(windowManagerService, windowMangerPath, windowManagerInterface,
                                 QDBusConnection::sessionBus());
    const QDBusReply<void> reply =
        windowManager.call(QStringLiteral("setContentChangeThreshold"), contentChangeThreshold);
    m_timerOnly = !reply.isValid();
    if (m_timerOnly) {
        qWarning() << "setContentChangeThreshold error:" << reply.error();
    }
}

void ScreenHistoryTracker::onCompositorOwnerChanged(const QString &service, const QString &oldOwner,
                                                    const QString &newOwner)
{
    Q_UNUSED(service)
    // Its watch went with the compositor: without a new request no change would ever be told
    // again. One that came while the timer alone triggered has not been asked yet.
    if (!oldOwner.isEmpty() || (m_timerOnly && !newOwner.isEmpty())) {
        QTimer::singleShot(compositorRestartMs, this, &ScreenHistoryTracker::requestContentChanges);
    }
}

QImage ScreenHistoryTracker::getScreenShotFromWM()
{
    std::array<int, 2> ends{};
    if (::pipe2(ends.data(), O_CLOEXEC) != 0) {
        qWarning() << "pipe2 failed";
        return {};
    }
    const UniqueFd readEnd(ends[0]);
    UniqueFd writeEnd(ends[1]);

    QDBusInterface compositor(windowManagerService, screenshotPath, screenshotInterface,
                              QDBusConnection::sessionBus());
    // Not looked at: a failed call leaves nobody who holds the write end, and the read tells.
    compositor.call(QStringLiteral("screenshotFullscreen"),
                    QVariant::fromValue(QDBusUnixFileDescriptor(writeEnd.get())), true,
                    QGuiApplication::screens().indexOf(QGuiApplication::primaryScreen()));
    writeEnd.reset();

    return PicturePipe::read(readEnd.get());
}

QString ScreenHistoryTracker::getAppDesktopEntry() const
{
    QDBusInterface windowManager(windowManagerService, windowMangerPath, windowManagerInterface,
                                 QDBusConnection::sessionBus());
    const QDBusMessage reply = windowManager.call(QStringLiteral("getActiveWindowPid"));
    if (reply.type() == QDBusMessage::ErrorMessage) {
        return {};
    }
    // Compositors differ in the integer type they send; a value that is no number counts as 0.
    const uint pid = reply.arguments().value(0).toUInt();
    if (pid == static_cast<uint>(QCoreApplication::applicationPid())) {
        qDebug() << "The active window is itself, do nothing!";
        return {};
    }
    AppInfoHelper &apps = AppInfoHelper::getInstance();
    std::string cmdline = apps.getCmdlineFromPid(pid);
    cmdline.erase(cmdline.find_last_not_of(" \n\r\t") + 1);
    return QString::fromLatin1(apps.getDesktopFileFromCmdline(cmdline).c_str());
}
