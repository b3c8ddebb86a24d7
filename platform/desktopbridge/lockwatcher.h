#pragma once
// The object / of org.vesk.ScreenSaver: merges the services that tell of the session's lock into
// one signal for each real change. Owned by DesktopBridge; main thread.

#include "desktopbridge/dbus/exportedobjects.h"
#include "desktopbridge/lockstate.h"
#include "desktopbridge/logindsource.h"
#include "desktopbridge/screensaversource.h"

#include <QDBusConnection>
#include <QStringList>

class LockWatcher : public ExportedScreenSaver
{
    Q_OBJECT

public:
    /// @p system may be unconnected. A lock that holds already is told by lock() as soon as a
    /// service has answered.
    LockWatcher(const QDBusConnection &session, const QDBusConnection &system);

    /// Tells the state to @p caller alone, by a signal to this bus name, once it is known: what
    /// changed before it listened, or while nobody watched, it has not heard.
    void tellStateTo(const QString &caller);

private:
    template <typename SourceObject>
    void listen(const SourceObject &object, LockState::Source source);
    void tell(std::optional<bool> change);
    void tellThoseWhoWait();

    QDBusConnection m_bus;
    LockState m_state;
    QStringList m_waiting; // bus names of callers that came before the state was known
    ScreenSaverSource m_freedesktop;
    ScreenSaverSource m_gnome;
    LogindSource m_logind;
};
