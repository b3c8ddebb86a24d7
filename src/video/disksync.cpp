#include "video/disksync.h"

#include <QDebug>
#include <QFileInfo>

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>

namespace
{
/// The error number of opening or syncing @p path, 0 for success.
int sync(const QString &path, int flags)
{
    const int descriptor = open(path.toUtf8().constData(), O_RDONLY | O_CLOEXEC | flags);
    if (descriptor < 0) {
        return errno;
    }
    int error = 0;
    do {
        error = fsync(descriptor) == 0 ? 0 : errno;
    } while (error == EINTR);
    close(descriptor);
    return error;
}
} // namespace

bool syncToDisk(const QString &file)
{
    const QString directory = QFileInfo(file).absolutePath();
    int error = sync(file, 0);
    if (error == 0) {
        error = sync(directory, O_DIRECTORY);
        // Some network file systems have no such thing as syncing a directory and say so with
        // EINVAL; what they could do is done then.
        if (error == EINVAL) {
            error = 0;
        }
    }
    if (error != 0) {
        qDebug() << "Error: Could not bring file to disk:" << file << std::strerror(error);
    }
    return error == 0;
}
