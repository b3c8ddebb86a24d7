#include "privatesystem.h"

#include <sched.h>
#include <sys/mount.h>
#include <unistd.h>

#include <QDir>
#include <QFile>

#include <cerrno>
#include <cstring>

namespace
{
QString g_reason = QStringLiteral("PrivateSystem::enter() was not called");
bool g_isOrdinaryUser = false;

QString failed(const char *doing)
{
    return QLatin1String("this machine does not allow to ") + QLatin1String(doing) +
           QLatin1String(": ") + QString::fromLocal8Bit(std::strerror(errno));
}

bool writeText(const char *path, const QByteArray &text)
{
    QFile file(QString::fromLatin1(path));
    return file.open(QIODevice::WriteOnly | QIODevice::Unbuffered) &&
           file.write(text) == text.size();
}

// An ordinary user becomes root of a world of its own.
QString leaveCommonMounts()
{
    const uid_t user = getuid();
    g_isOrdinaryUser = user != 0;
    const gid_t group = getgid();
    if (unshare(user == 0 ? CLONE_NEWNS : CLONE_NEWNS | CLONE_NEWUSER) != 0) {
        return failed("make mounts of one's own");
    }
    if (user != 0) {
        const QByteArray userMap = "0 " + QByteArray::number(user) + " 1";
        const QByteArray groupMap = "0 " + QByteArray::number(group) + " 1";
        if (!writeText("/proc/self/setgroups", "deny") ||
            !writeText("/proc/self/uid_map", userMap) ||
            !writeText("/proc/self/gid_map", groupMap)) {
            return failed("map the user");
        }
    }
    return mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0
               ? QString()
               : failed("keep mounts private");
}

QString showTool(const char *tool)
{
    const QString folder = QDir::homePath() + QStringLiteral("/usr-bin");
    if (!QDir().mkpath(folder) || !QFile::exists(QString::fromLocal8Bit(tool)) ||
        !QFile::copy(QString::fromLocal8Bit(tool), folder + QStringLiteral("/vaultsm"))) {
        return QStringLiteral("the tool cannot be copied");
    }
    const QByteArray layers = "lowerdir=" + QFile::encodeName(folder) + ":/usr/bin";
    return mount("overlay", "/usr/bin", "overlay", MS_RDONLY, layers.constData()) == 0
               ? QString()
               : failed("lay a folder over /usr/bin");
}
} // namespace

QString PrivateSystem::enter(const char *tool)
{
    g_reason = leaveCommonMounts();
    if (g_reason.isEmpty()) {
        g_reason = showTool(tool);
    }
    return g_reason;
}

QString PrivateSystem::whyNot()
{
    return g_reason;
}

bool PrivateSystem::wasEnteredByOrdinaryUser()
{
    return g_isOrdinaryUser;
}
