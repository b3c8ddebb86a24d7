#include "desktopbridge/guide/userguide.h"

#include "desktopbridge/guide/guideactivation.h"

#include <QCoreApplication>
#include <QDBusConnectionInterface>

#include <unistd.h>

namespace
{
const QString CONNECTION = QStringLiteral("user guide");
const QString PATH = QStringLiteral("/");
} // namespace

QString UserGuide::busName()
{
    return QStringLiteral("com.tavelUserGuide.hotel_%1").arg(::getuid());
}

UserGuide::UserGuide()
    : m_bus(QDBusConnection::connectToBus(QDBusConnection::SessionBus, CONNECTION))
    , m_service(HelpPages::beside(QCoreApplication::applicationFilePath()))
{
    if (!m_bus.isConnected()) {
        return;
    }
    const QString name = busName();
    if (anotherGuideCanBeStarted(m_bus, name)) {
        return;
    }
    writeGuideActivation(m_bus, name, QCoreApplication::applicationFilePath());
    // The object first: a call may come as soon as the name is ours.
    if (m_bus.registerObject(PATH, &m_service)) {
        m_bus.interface()->registerService(name, QDBusConnectionInterface::DontQueueService,
                                           QDBusConnectionInterface::AllowReplacement);
    }
}

UserGuide::~UserGuide()
{
    m_bus.unregisterObject(PATH);
    QDBusConnection::disconnectFromBus(CONNECTION);
}
