#include "cli/desktop.h"

#include "capture/busnames.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusReply>
#include <QDBusVariant>
#include <QFileInfo>

namespace
{
constexpr int LONGEST_WAIT_MS = 2000;

const QString BUS = QStringLiteral("org.freedesktop.DBus");
const QString BUS_PATH = QStringLiteral("/org/freedesktop/DBus");

QDBusMessage ask(const QString &service, const QString &path, const QString &interface,
                 const QString &method, const QVariantList &arguments = {})
{
    QDBusMessage question = QDBusMessage::createMethodCall(service, path, interface, method);
    question.setArguments(arguments);
    question.setAutoStartService(false);
    return QDBusConnection::sessionBus().call(question, QDBus::Block, LONGEST_WAIT_MS);
}

bool hasOwner(const QString &service)
{
    const QDBusReply<bool> reply =
        ask(BUS, BUS_PATH, BUS, QStringLiteral("NameHasOwner"), {service});
    return reply.isValid() && reply.value();
}

QString programOf(const QString &service)
{
    const QDBusReply<uint> process =
        ask(BUS, BUS_PATH, BUS, QStringLiteral("GetConnectionUnixProcessID"), {service});
    return process.isValid() ? QFileInfo(QStringLiteral("/proc/%1/exe").arg(process.value()))
                                   .symLinkTarget()
                                   .section(QLatin1Char('/'), -1)
                             : QString();
}

QString backendOfBridge()
{
    const QDBusReply<QDBusVariant> backend =
        ask(windowManagerService, QStringLiteral("/Bridge"),
            QStringLiteral("org.freedesktop.DBus.Properties"), QStringLiteral("Get"),
            {QStringLiteral("com.tavel.yestermark.Bridge"), QStringLiteral("Backend")});
    return backend.isValid() ? backend.value().variant().toString() : QString();
}
} // namespace

Desktop::ScreenService Desktop::screenService()
{
    ScreenService service;
    if (!QDBusConnection::sessionBus().isConnected() || !hasOwner(windowManagerService)) {
        return service;
    }
    const bool isBridge =
        programOf(windowManagerService).startsWith(QLatin1String("yestermark-desktop-bridge"));
    service.provider = isBridge ? QStringLiteral("bridge") : QStringLiteral("desktop");
    service.backend = isBridge ? backendOfBridge() : QString();
    service.seesScreen = activeProcess().has_value();
    return service;
}

QString Desktop::session()
{
    if (!qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY")) {
        return QStringLiteral("wayland");
    }
    if (!qEnvironmentVariableIsEmpty("DISPLAY")) {
        return QStringLiteral("x11");
    }
    return qEnvironmentVariable("XDG_SESSION_TYPE");
}

bool Desktop::isLocked()
{
    for (const char *name : {"org.freedesktop.ScreenSaver", "org.gnome.ScreenSaver"}) {
        const QString service = QLatin1String(name);
        const QString path = QLatin1Char('/') + QString(service).replace('.', '/');
        for (const QString &object : {path, QStringLiteral("/ScreenSaver")}) {
            const QDBusReply<bool> active =
                ask(service, object, service, QStringLiteral("GetActive"));
            if (active.isValid()) {
                if (active.value()) {
                    return true;
                }
                break;
            }
        }
    }
    return false;
}

std::optional<qint64> Desktop::activeProcess()
{
    const QDBusReply<uint> process =
        ask(windowManagerService, windowMangerPath, windowManagerInterface,
            QStringLiteral("getActiveWindowPid"));
    return process.isValid() ? std::optional<qint64>(process.value()) : std::nullopt;
}
