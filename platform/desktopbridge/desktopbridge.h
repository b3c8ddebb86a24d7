#pragma once
// The bridge as a whole: takes the bus names that nobody serves and holds what stands behind them.
// Owned by main(); main thread.

#include "desktopbridge/backendloader.h"

#include <QDBusConnection>
#include <QObject>

#include <memory>

class LockWatcher;

class DesktopBridge : public QObject
{
    Q_OBJECT

public:
    DesktopBridge(const QDBusConnection &session, BackendChoice choice);
    ~DesktopBridge() override;

    /// Takes the names that are free; a name that has an owner is left to it. False if there was
    /// none.
    bool start();

Q_SIGNALS:
    /// The bus or the display is gone, or every name was taken over by another service.
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
};
