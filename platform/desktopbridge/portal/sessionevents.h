#pragma once
// What happens to the login session that may end a screen cast without the user's having ended it.
// Owned by PortalBackend; main thread.

#include "desktopbridge/lockwatcher.h"
#include "desktopbridge/wayland/waylandoutputs.h"

#include <memory>

class SessionEvents : public QObject
{
    Q_OBJECT

public:
    /// @p outputs is null where no compositor can be asked.
    SessionEvents(const QDBusConnection &session, const QDBusConnection &system,
                  std::unique_ptr<WaylandOutputs> outputs);

    bool isLocked() const { return m_locked; }

    /// Places of the outputs in the compositor's units and in its order; empty if unknown.
    QVector<QRect> outputPlaces() const;

Q_SIGNALS:
    void locked();
    void unlocked();
    void outputsChanged();

private:
    LockWatcher m_lock;
    bool m_locked = false;
    std::unique_ptr<WaylandOutputs> m_outputs;
};
