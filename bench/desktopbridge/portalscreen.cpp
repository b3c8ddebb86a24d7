#include "portalscreen.h"

#include <QTest>

namespace
{
const QString CONNECTION = QStringLiteral("reader of the pictures");
constexpr int PATIENCE_MS = 10000;
} // namespace

PortalScreen::PortalScreen() : m_bus(m_portal.bus().connect(CONNECTION)) {}

PortalScreen::~PortalScreen()
{
    QDBusConnection::disconnectFromBus(CONNECTION);
}

QString PortalScreen::missing()
{
    const QString daemon = PipeWireDaemon::missing();
    return daemon.isEmpty() ? RealPortal::missing() : daemon;
}

bool PortalScreen::start(const QImage &page)
{
    QString problem;
    if (!m_daemon.start() || !m_portal.start()) {
        return false;
    }
    m_producers = PipeWireRemote::connectTo(m_daemon.connection(), problem);
    if (!m_producers) {
        return false;
    }
    m_source = std::make_unique<VideoSource>(*m_producers, page.size());
    m_portal.m_node = m_source->node();
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("DBUS_SESSION_BUS_ADDRESS"), m_portal.bus().address());
    m_bridge = std::make_unique<BridgeProcess>(
        QStringList{QStringLiteral("--backend"), QStringLiteral("portal")}, environment);
    return QTest::qWaitFor([this] { return Bridge::ownerOf(Bridge::WINDOW_MANAGER, m_bus) != 0; },
                           PATIENCE_MS);
}

void PortalScreen::draw(const QImage &page)
{
    m_source->send(page);
}
