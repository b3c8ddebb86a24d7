#include "desktopbridge/wlroots/wlrootsbackend.h"

std::unique_ptr<WlrootsBackend> WlrootsBackend::connectToDisplay(QString &problem, int retry)
{
    const std::shared_ptr<WaylandConnection> connection =
        WaylandConnection::connectToDisplay(problem, WaylandConnection::FIRST_ANSWER_TIME);
    if (!connection) {
        return nullptr;
    }
    if (!connection->findGlobal(zwlr_screencopy_manager_v1_interface.name) ||
        !connection->findGlobal(wl_shm_interface.name)) {
        problem = QStringLiteral("the Wayland compositor has no wlr-screencopy");
        return nullptr;
    }
    return std::unique_ptr<WlrootsBackend>(new WlrootsBackend(connection, retry));
}

WlrootsBackend::WlrootsBackend(const std::shared_ptr<WaylandConnection> &connection, int retry)
    : m_connection(connection)
    , m_outputs(connection)
    , m_grabber(connection, m_outputs)
    , m_damage(connection, m_outputs, m_grabber, retry)
    , m_ipc(findCompositorIpc(connection->compositorProcess()))
{
    connect(m_connection.get(), &WaylandConnection::lost, this, &ScreenBackend::lost);
    connect(&m_damage, &WlrootsDamage::damaged, this, &ScreenBackend::damaged);
    connect(&m_outputs, &WaylandOutputs::changed, this, [this] {
        m_grabber.forgetKept();
        m_damage.onOutputsChanged();
        Q_EMIT layoutChanged();
    });
}

PicturePtr WlrootsBackend::fetch(const QRect &area)
{
    // What the grabber keeps for further parts holds for this turn of the event loop.
    QMetaObject::invokeMethod(
        this, [this] { m_grabber.forgetKept(); }, Qt::QueuedConnection);
    return m_grabber.fetch(area);
}

QVector<QRect> WlrootsBackend::takeDamage()
{
    m_grabber.forgetKept();
    return m_damage.take();
}

std::optional<quint32> WlrootsBackend::activeWindowPid()
{
    return m_ipc ? m_ipc->activeWindowPid() : std::nullopt;
}
