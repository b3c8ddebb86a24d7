#pragma once
// The bridge as a process, as the tests see it: started by hand or by the bus, looked at through
// /proc, called over the bus. Test thread only.

#include "childprocess.h"

#include <QDBusConnection>
#include <QDBusMessage>

namespace Bridge
{
extern const QString WINDOW_MANAGER; ///< org.vesk.KWin
extern const QString SCREEN_SAVER;   ///< org.vesk.ScreenSaver

/// Calls a method of /KWin; this starts the bridge where the bus can do so.
QDBusMessage call(const QString &method, const QVariantList &arguments = {},
                  const QDBusConnection &bus = QDBusConnection::sessionBus());

/// The error's name; empty if the call went well.
QString errorOf(const QDBusMessage &reply);

/// Process id of the owner of @p name; 0 if nobody owns it.
uint ownerOf(const QString &name, const QDBusConnection &bus = QDBusConnection::sessionBus());

/// Kills whoever owns one of the two names and waits until they are free.
void killOwners();

/// Path of the program that the process runs.
QString programOf(uint process);
} // namespace Bridge

/// A bridge that the test starts itself, with the test's environment.
class BridgeProcess
{
public:
    explicit BridgeProcess(
        const QStringList &arguments = {},
        const QProcessEnvironment &environment = QProcessEnvironment::systemEnvironment());
    ~BridgeProcess();

    /// True once it owns @p name.
    bool waitForName(const QString &name);

    QProcess &process() { return m_process; }

private:
    ChildProcess m_process;
};
