#include "desktopbridge/wlroots/hyprlandipc.h"

#include "desktopbridge/wlroots/ipcsocket.h"

#include <QDir>
#include <QJsonDocument>
#include <QJsonObject>

namespace
{
// Each instance has a folder, in the runtime directory since version 0.40 and in /tmp before.
QStringList instanceFolders()
{
    return {qEnvironmentVariable("XDG_RUNTIME_DIR") + QStringLiteral("/hypr"),
            QStringLiteral("/tmp/hypr")};
}

QByteArray socketIn(const QString &folder)
{
    const QString path = folder + QStringLiteral("/.socket.sock");
    return QFile::exists(path) ? QFile::encodeName(path) : QByteArray();
}

// The first line of an instance's lock is its process id.
bool isLockOf(const QString &path, qint64 process)
{
    QFile lock(path);
    return lock.open(QFile::ReadOnly) && lock.readLine().trimmed().toLongLong() == process;
}
} // namespace

std::optional<quint32> HyprlandIpc::activeWindowPid() const
{
    IpcSocket socket(m_path);
    if (!socket.send(QByteArrayLiteral("j/activewindow"))) {
        return std::nullopt;
    }
    return processOf(socket.receiveAll());
}

// The variable may be left over from another session.
QByteArray HyprlandIpc::findSocket(qint64 compositorProcess)
{
    const QString told = qEnvironmentVariable("HYPRLAND_INSTANCE_SIGNATURE");
    QByteArray socketOfTold;
    for (const QString &path : instanceFolders()) {
        const QStringList instances = QDir(path).entryList(QDir::Dirs | QDir::NoDotAndDotDot);
        for (const QString &instance : instances) {
            const QString folder = path + QLatin1Char('/') + instance;
            if (isLockOf(folder + QStringLiteral("/hyprland.lock"), compositorProcess)) {
                return socketIn(folder);
            }
            if (instance == told) {
                socketOfTold = socketIn(folder);
            }
        }
    }
    return socketOfTold;
}

std::optional<quint32> HyprlandIpc::processOf(const QByteArray &window)
{
    const QJsonDocument document = QJsonDocument::fromJson(window);
    if (!document.isObject()) {
        return std::nullopt;
    }
    return quint32(document.object().value(QLatin1String("pid")).toInt());
}
