#pragma once
// The object /KWin of the bridge: thresholds of the callers and the active window's process.
// Owned by DesktopBridge; main thread.

#include "desktopbridge/dbus/exportedobjects.h"

#include <QDBusServiceWatcher>
#include <QHash>

class ContentWatch;
class ScreenBackend;

class WindowManagerService : public ExportedWindowManager
{
    Q_OBJECT

public:
    /// Both must outlive this object.
    WindowManagerService(ScreenBackend &backend, ContentWatch &watch);

    void setContentChangeThreshold(double threshold) override;
    uint getActiveWindowPid() override;

Q_SIGNALS:
    /// Somebody sets a threshold, by bus name; sent before it is known whether the screen can be
    /// watched.
    void callerCame(const QString &caller);

private:
    void forget(const QString &caller);
    bool watchForAll();

    ScreenBackend &m_backend;
    ContentWatch &m_watch;
    QHash<QString, double> m_thresholds; // by the caller's unique bus name
    QDBusServiceWatcher m_callers;
};
