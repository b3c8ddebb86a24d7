#pragma once
// The application object of a program that runs once in a user's session. The first instance holds
// a lock and listens on a socket; a later one finds the lock taken, may send a message and leaves.
// Made on `main`'s stack; main thread.
//
// Both files lie in `$XDG_RUNTIME_DIR/<applicationName>`, without such a directory in
// `<cache>/<applicationName>` (mode 0700; files 0600): the runtime directory is the session.

#include "singleapplication/instancelock.h"

#include <QApplication>
#include <memory>

class InstanceServer;

class QtSingleApplication : public QApplication
{
    Q_OBJECT

public:
    /// Takes the session if it is free; this and the start of listening is all, so that messages
    /// queue from here on and are delivered when the event loop runs. Where the directory can't be
    /// used one warning says so and the program counts as the first instance.
    /// With @p GUIenabled false Qt's minimal platform is used and no display is wanted.
    QtSingleApplication(int &argc, char **argv, bool GUIenabled = true);
    ~QtSingleApplication() override;

    /// Whether another process holds the session. If that process has ended since the last call,
    /// the session is taken now.
    bool isRunning();

    /// Hands @p message (at most 1 MB in UTF-8) to the first instance, blocking, without an event
    /// loop. True once that instance has it; it then emits messageReceived() exactly once. False
    /// after @p timeout milliseconds, or at once where this is the first instance itself. A message
    /// that was sent whole before the time ran out may still be delivered later.
    bool sendMessage(const QString &message, int timeout = 5000);

Q_SIGNALS:
    /// A later start has sent @p message.
    void messageReceived(const QString &message);

private:
    void listen();
    QString socketPath() const;

    const QString m_directory;
    InstanceLock m_lock;
    std::unique_ptr<InstanceServer> m_server; // closes its socket before the lock goes
    bool m_warned = false;
};
