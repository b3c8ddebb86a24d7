#include "keyring.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QDBusReply>
#include <QFile>
#include <QTest>

namespace
{
constexpr int limitMs = 20000;

QString serviceName()
{
    return QStringLiteral("org.freedesktop.secrets");
}

bool isOwned()
{
    return QDBusConnection::sessionBus().interface()->isServiceRegistered(serviceName());
}

QByteArray runSecretTool(const QStringList &arguments, const QByteArray &input = QByteArray(),
                         int *status = nullptr)
{
    QProcess tool;
    tool.start(QStringLiteral("secret-tool"), arguments);
    tool.write(input);
    tool.closeWriteChannel();
    tool.waitForFinished(limitMs);
    if (status) {
        *status = tool.exitCode();
    }
    return tool.readAllStandardOutput();
}
} // namespace

Keyring::Keyring()
{
    m_daemon.setStandardErrorFile(QProcess::nullDevice());
    m_daemon.setStandardOutputFile(QProcess::nullDevice());
    m_daemon.start(QStringLiteral("gnome-keyring-daemon"),
                   {QStringLiteral("--unlock"), QStringLiteral("--components=secrets"),
                    QStringLiteral("--foreground")});
    m_daemon.write("a password");
    m_daemon.closeWriteChannel();
    m_isRunning = m_daemon.waitForStarted(limitMs) && QTest::qWaitFor(isOwned, limitMs);
}

Keyring::~Keyring()
{
    m_daemon.terminate();
    if (!m_daemon.waitForFinished(limitMs)) {
        m_daemon.kill();
        m_daemon.waitForFinished(limitMs);
    }
    m_isRunning = !QTest::qWaitFor([] { return !isOwned(); }, limitMs);
}

bool Keyring::lock()
{
    QDBusMessage call = QDBusMessage::createMethodCall(
        serviceName(), QStringLiteral("/org/freedesktop/secrets"),
        QStringLiteral("org.freedesktop.Secret.Service"), QStringLiteral("Lock"));
    const QList<QDBusObjectPath> collections{
        QDBusObjectPath(QStringLiteral("/org/freedesktop/secrets/collection/login"))};
    call << QVariant::fromValue(collections);
    const QDBusReply<QList<QDBusObjectPath>> locked = QDBusConnection::sessionBus().call(call);
    return locked.isValid() && locked.value().size() == 1;
}

QStringList Keyring::keysOf(const QString &box) const
{
    const QByteArray found = runSecretTool(
        {QStringLiteral("search"), QStringLiteral("--all"), QStringLiteral("box"), box});
    QStringList keys;
    for (const QByteArray &line : found.split('\n')) {
        if (line.startsWith("secret = ")) {
            keys.append(QString::fromLatin1(line.mid(9)));
        }
    }
    return keys;
}

bool Keyring::keep(const QString &box, const QByteArray &key) const
{
    int status = -1;
    runSecretTool({QStringLiteral("store"), QStringLiteral("--label=test"),
                   QStringLiteral("xdg:schema"), QStringLiteral("com.tavel.vaultsm.Box"),
                   QStringLiteral("box"), box},
                  key, &status);
    return status == 0;
}

void Keyring::forget(const QString &box) const
{
    runSecretTool({QStringLiteral("clear"), QStringLiteral("box"), box});
}

QStringList Keyring::onEmptyBus(const QString &folder, const QStringList &command)
{
    QFile file(folder + QStringLiteral("/bus.conf"));
    if (file.open(QIODevice::WriteOnly)) {
        file.write("<busconfig><type>session</type><listen>unix:tmpdir=/tmp</listen>"
                   "<policy context=\"default\"><allow send_destination=\"*\" "
                   "eavesdrop=\"true\"/><allow eavesdrop=\"true\"/>"
                   "<allow own=\"*\"/></policy></busconfig>");
    }
    return QStringList{QStringLiteral("--config-file"), file.fileName(), QStringLiteral("--")} +
           command;
}
