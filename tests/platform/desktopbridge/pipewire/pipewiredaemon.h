#pragma once
// A PipeWire daemon and its session manager in a runtime folder of their own, which the test's own
// process uses too from here on. Gone with this object. Test thread only.

#include "childprocess.h"
#include "desktopbridge/filedescriptor.h"

#include <QTemporaryDir>

#include <memory>

class PipeWireDaemon
{
public:
    /// @p runtimeFolder is used if it is given, else a temporary one.
    explicit PipeWireDaemon(const QString &runtimeFolder = QString());
    ~PipeWireDaemon();

    /// Empty, or what is missing on this machine.
    static QString missing();

    /// False if it does not come up.
    bool start();

    /// Without a chance to say good-bye.
    void kill();

    /// A new connection's descriptor, as a portal would hand it out; invalid if there is no daemon.
    FileDescriptor connection() const;

private:
    QString socketPath() const;

    QTemporaryDir m_folder;
    QString m_runtimeFolder;
    std::unique_ptr<ChildProcess> m_daemon;
    std::unique_ptr<ChildProcess> m_sessionManager;
};
