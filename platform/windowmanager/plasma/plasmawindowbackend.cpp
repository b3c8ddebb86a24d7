#include "windowmanager/plasma/plasmawindowbackend.h"

#include "desktopbridge/wayland/waylandconnection.h"

#include <plasma-window-management-client-protocol.h>

namespace
{
// initial_state, behind which a window's title and process id are known, came with it.
constexpr quint32 OLDEST_VERSION = 4;
} // namespace

std::unique_ptr<PlasmaWindowBackend>
PlasmaWindowBackend::over(const std::shared_ptr<WaylandConnection> &connection)
{
    const auto global = connection->findGlobal(org_kde_plasma_window_management_interface.name);
    if (!global || global->version < OLDEST_VERSION) {
        return nullptr;
    }
    auto *management = connection->bind<org_kde_plasma_window_management>(
        *global, org_kde_plasma_window_management_interface, PLASMA_WINDOWS_VERSION);
    return std::unique_ptr<PlasmaWindowBackend>(new PlasmaWindowBackend(connection, management));
}

PlasmaWindowBackend::PlasmaWindowBackend(std::shared_ptr<WaylandConnection> connection,
                                         org_kde_plasma_window_management *management)
    : m_connection(std::move(connection)), m_management(management)
{
    org_kde_plasma_window_management_add_listener(management, &events(), this);
    m_connection->flush();
}

PlasmaWindowBackend::~PlasmaWindowBackend() = default;

const org_kde_plasma_window_management_listener &PlasmaWindowBackend::events()
{
    static const org_kde_plasma_window_management_listener listener = [] {
        org_kde_plasma_window_management_listener events = quietPlasmaManagementListener();
        events.window = [](void *backend, org_kde_plasma_window_management *management,
                           uint32_t number) {
            static_cast<PlasmaWindowBackend *>(backend)->add(
                org_kde_plasma_window_management_get_window(management, number));
        };
        events.window_with_uuid = [](void *backend, org_kde_plasma_window_management *management,
                                     uint32_t /*number*/, const char *uuid) {
            static_cast<PlasmaWindowBackend *>(backend)->add(
                org_kde_plasma_window_management_get_window_by_uuid(management, uuid));
        };
        return events;
    }();
    return listener;
}

void PlasmaWindowBackend::add(org_kde_plasma_window *handle)
{
    const uint id = ++m_lastId;
    PlasmaWindow::Listener listener;
    listener.known = [this, id] { Q_EMIT windowAdded(QVariant(id)); };
    listener.gone = [this, id] { m_windows.erase(id); };
    m_windows.emplace(id, std::make_unique<PlasmaWindow>(handle, std::move(listener)));
    m_connection->flush();
}

PlasmaWindow *PlasmaWindowBackend::find(const QVariant &id) const
{
    const auto found = m_windows.find(id.toUInt());
    return found == m_windows.end() ? nullptr : found->second.get();
}

QString PlasmaWindowBackend::title(const QVariant &id) const
{
    const PlasmaWindow *window = find(id);
    return window ? window->title() : QString();
}

int PlasmaWindowBackend::processId(const QVariant &id) const
{
    const PlasmaWindow *window = find(id);
    return window ? window->processId() : 0;
}

void PlasmaWindowBackend::activate(const QVariant &id)
{
    if (PlasmaWindow *window = find(id)) {
        window->activate();
        m_connection->flush();
    }
}

void PlasmaWindowBackend::minimize(const QVariant &id)
{
    if (PlasmaWindow *window = find(id)) {
        window->minimize();
        m_connection->flush();
    }
}
