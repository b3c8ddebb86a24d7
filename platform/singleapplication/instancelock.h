#pragma once
// The session's lock: whoever holds it is the first instance. Owned by the application object;
// main thread.
//
// A lock of the kernel on an open file and not QLockFile, which goes by the process id in the
// file: a file left empty by a kill, or one with an id that runs again (in a container always the
// same one), would keep every later start out. This one ends with its process, however that ends.

#include <QString>

class InstanceLock
{
public:
    enum class State {
        Held,        ///< by this process
        HeldByOther, ///< by another process that lives
        Unavailable, ///< the file can't be made or locked; see errorString()
    };

    /// The lock "instance.lock" in @p directory, both made by take(). The file is never removed:
    /// one process could hold the removed file while the next one locks its successor.
    explicit InstanceLock(QString directory);
    ~InstanceLock();
    Q_DISABLE_COPY(InstanceLock)

    /// Takes the lock unless this process holds it already. Never waits.
    State take();

    bool isHeld() const { return m_file >= 0; }
    QString errorString() const { return m_errorString; }

private:
    const QString m_directory;
    QString m_errorString;
    int m_file = -1;
};
