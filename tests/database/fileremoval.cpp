#include "database/fileremoval.h"

#include <QFile>

#include <cerrno>
#include <cstring>
#include <sys/syscall.h>
#include <unistd.h>

namespace
{
struct Orders {
    QByteArray refused;
    int times = 0;
    std::function<void()> before;
};

Orders &orders()
{
    static Orders instance;
    return instance;
}

void announce()
{
    if (orders().before) {
        orders().before();
    }
}
} // namespace

extern "C" {
int unlink(const char *path) noexcept
{
    announce();
    const QByteArray &refused = orders().refused;
    if (orders().times > 0 && std::strncmp(path, refused.constData(), refused.size()) == 0) {
        --orders().times;
        errno = EBUSY;
        return -1;
    }
    return static_cast<int>(syscall(SYS_unlink, path));
}

int rmdir(const char *path) noexcept
{
    announce();
    return static_cast<int>(syscall(SYS_rmdir, path));
}
}

namespace FileRemoval
{
void refuse(const QString &path, int times)
{
    orders().refused = QFile::encodeName(path);
    orders().times = times;
}

int stillToRefuse()
{
    return orders().times;
}

void before(const std::function<void()> &action)
{
    orders().before = action;
}

void reset()
{
    orders() = Orders();
}
} // namespace FileRemoval
