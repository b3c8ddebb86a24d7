#include "singleapplication/instancelock.h"

#include <QFile>
#include <cerrno>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace
{
bool makePrivateDirectory(const QByteArray &path)
{
    return ::mkdir(path.constData(), 0700) == 0 ||
           (errno == EEXIST && ::chmod(path.constData(), 0700) == 0);
}

// Closed on exec: a command that outlives the program must not keep the lock.
int openLockFile(const QByteArray &directory)
{
    return ::open((directory + "/instance.lock").constData(),
                  O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600);
}
} // namespace

InstanceLock::InstanceLock(QString directory) : m_directory(std::move(directory)) {}

InstanceLock::~InstanceLock()
{
    if (isHeld()) {
        ::close(m_file);
    }
}

InstanceLock::State InstanceLock::take()
{
    if (isHeld()) {
        return State::Held;
    }
    const QByteArray directory = QFile::encodeName(m_directory);
    const int file = makePrivateDirectory(directory) ? openLockFile(directory) : -1;
    if (file >= 0 && ::flock(file, LOCK_EX | LOCK_NB) == 0) {
        m_file = file;
        return State::Held;
    }
    const int error = errno;
    if (file >= 0) {
        ::close(file);
        if (error == EWOULDBLOCK) {
            return State::HeldByOther;
        }
    }
    m_errorString = qt_error_string(error);
    return State::Unavailable;
}
