#include "windowmanager/plasma/plasmawindow.h"

#include <plasma-window-management-client-protocol.h>

PlasmaWindow::PlasmaWindow(org_kde_plasma_window *handle, Listener listener)
    : m_handle(handle), m_listener(std::move(listener))
{
    org_kde_plasma_window_add_listener(handle, &events(), this);
}

PlasmaWindow::~PlasmaWindow() = default;

const org_kde_plasma_window_listener &PlasmaWindow::events()
{
    static const org_kde_plasma_window_listener listener = [] {
        org_kde_plasma_window_listener events = quietPlasmaWindowListener();
        events.title_changed = [](void *window, org_kde_plasma_window *, const char *title) {
            static_cast<PlasmaWindow *>(window)->m_title = QString::fromUtf8(title);
        };
        events.pid_changed = [](void *window, org_kde_plasma_window *, uint32_t processId) {
            static_cast<PlasmaWindow *>(window)->m_processId = static_cast<int>(processId);
        };
        events.initial_state = [](void *window, org_kde_plasma_window *) {
            static_cast<PlasmaWindow *>(window)->m_listener.known();
        };
        events.unmapped = [](void *window, org_kde_plasma_window *) {
            const auto gone = static_cast<PlasmaWindow *>(window)->m_listener.gone;
            gone(); // a copy, for the window may be deleted in it
        };
        return events;
    }();
    return listener;
}

void PlasmaWindow::activate()
{
    constexpr uint32_t active = ORG_KDE_PLASMA_WINDOW_MANAGEMENT_STATE_ACTIVE;
    org_kde_plasma_window_set_state(m_handle.get(), active, active);
}

void PlasmaWindow::minimize()
{
    constexpr uint32_t minimized = ORG_KDE_PLASMA_WINDOW_MANAGEMENT_STATE_MINIMIZED;
    org_kde_plasma_window_set_state(m_handle.get(), minimized, minimized);
}
