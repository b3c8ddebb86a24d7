#include "vault/vaultadm.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusReply>
#include <QStandardPaths>
#include <QStringList>

#include <unistd.h>

namespace
{
constexpr int busLimitMs = 2000;

bool busLists(const QString &method)
{
    const QDBusMessage question = QDBusMessage::createMethodCall(
        QStringLiteral("org.freedesktop.DBus"), QStringLiteral("/org/freedesktop/DBus"),
        QStringLiteral("org.freedesktop.DBus"), method);
    const QDBusReply<QStringList> names =
        QDBusConnection::sessionBus().call(question, QDBus::Block, busLimitMs);
    return names.isValid() && names.value().contains(QStringLiteral("org.freedesktop.secrets"));
}

bool hasSecretService()
{
    return busLists(QStringLiteral("ListNames")) ||
           busLists(QStringLiteral("ListActivatableNames"));
}

bool hasFuse()
{
    return access("/dev/fuse", R_OK | W_OK) == 0 &&
           !QStandardPaths::findExecutable(QStringLiteral("fusermount3")).isEmpty();
}

bool hasGocryptfs()
{
    return !QStandardPaths::findExecutable(QStringLiteral("gocryptfs")).isEmpty();
}
} // namespace

int vault_enabled()
{
    return hasGocryptfs() && hasFuse() && hasSecretService() ? 1 : 0;
}
