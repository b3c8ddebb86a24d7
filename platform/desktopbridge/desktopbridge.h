#pragma once
// The bridge as a whole: takes the bus names that nobody serves and holds what stands behind them.
// Owned by main(); main thread.

#include "desktopbridge/backendloader.h"

#include <QDBusConnection>
#include <QObject>

#include <memory>

class LockWatcher;
class SettingsKeeper;
class UserGuide;

class DesktopBridge : public QObject
{
    Q_OBJECT

public:
    DesktopBridge(const QDBusConnection &session, BackendChoice choice);
    ~DesktopBridge() override;

    /// Takes the names that are free; a name that has an owner is left to it. False if neither the
    /// window manager's nor the screen saver's was free: such a desktop has services of its own.
    /// The desktop's settings are current before a name is taken.
    bool start();

Q_SIGNALS:
    /// The bus or the display is gone, or both services were taken over by others.
    void finished();

private Q_SLOTS:
    void onNameLost(const QString &name);

private:
    struct WindowManagerPart;

    bool startWindowManager();
    bool startScreenSaver();
    bool takeName(const QString &name);

    QDBusConnection m_bus;
    BackendChoice m_choice;
    std::unique_ptr<WindowManagerPart> m_windowManager; // null where a real one serves
    std::unique_ptr<LockWatcher> m_lockWatcher;         // null where a real one serves
    std::unique_ptr<SettingsKeeper> m_settings;
    std::unique_ptr<UserGuide> m_guide; // beside one of the two services only
};
