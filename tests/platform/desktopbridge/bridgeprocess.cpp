#include "bridgeprocess.h"

#include <QDBusConnectionInterface>
#include <QDBusReply>
#include <QFile>
#include <QTest>

#include <csignal>

namespace Bridge
{
const QString WINDOW_MANAGER = QStringLiteral("org.vesk.KWin");
const QString SCREEN_SAVER = QStringLiteral("org.vesk.ScreenSaver");

QDBusMessage call(const QString &method, const QVariantList &arguments, const QDBusConnection &bus)
{
    QDBusMessage message = QDBusMessage::createMethodCall(WINDOW_MANAGER, QStringLiteral("/KWin"),
                                                          WINDOW_MANAGER, method);
    message.setArguments(arguments);
    return bus.call(message);
}

QString errorOf(const QDBusMessage &reply)
{
    return reply.type() == QDBusMessage::ErrorMessage ? reply.errorName() : QString();
}

uint ownerOf(const QString &name, const QDBusConnection &bus)
{
    const QDBusReply<uint> reply = bus.interface()->servicePid(name);
    return reply.isValid() ? reply.value() : 0;
}

void killOwners()
{
    for (const QString &name : {WINDOW_MANAGER, SCREEN_SAVER}) {
        const uint process = ownerOf(name);
        if (process != 0 && process != uint(QCoreApplication::applicationPid())) {
            ::kill(pid_t(process), SIGKILL);
        }
        QTRY_COMPARE(ownerOf(name), 0U);
    }
}

QString programOf(uint process)
{
    return QFile::symLinkTarget(QStringLiteral("/proc/%1/exe").arg(process));
}
} // namespace Bridge

BridgeProcess::BridgeProcess(const QStringList &arguments, const QProcessEnvironment &environment)
{
    m_process.setProcessEnvironment(environment);
    m_process.setProcessChannelMode(QProcess::ForwardedChannels);
    m_process.start(QStringLiteral(BRIDGE_PROGRAM), arguments);
    m_process.waitForStarted();
}

BridgeProcess::~BridgeProcess()
{
    m_process.kill();
    m_process.waitForFinished();
}

bool BridgeProcess::waitForName(const QString &name)
{
    return QTest::qWaitFor([&] { return Bridge::ownerOf(name) == uint(m_process.processId()); },
                           10000);
}
