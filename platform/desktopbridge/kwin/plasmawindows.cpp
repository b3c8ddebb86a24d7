#include "desktopbridge/kwin/plasmawindows.h"

#include <algorithm>
#include <plasma-window-management-client-protocol.h>

struct PlasmaWindows::Window {
    PlasmaWindows &owner;
    PlasmaPtr<org_kde_plasma_window> proxy;
    quint32 process = 0;
};

struct PlasmaWindows::Events {
    static void added(void *self, org_kde_plasma_window_management *management, uint32_t id)
    {
        static_cast<PlasmaWindows *>(self)->add(
            org_kde_plasma_window_management_get_window(management, id));
    }

    // Instead of the former since version 13.
    static void addedByName(void *self, org_kde_plasma_window_management *management,
                            uint32_t /*id*/, const char *uuid)
    {
        static_cast<PlasmaWindows *>(self)->add(
            org_kde_plasma_window_management_get_window_by_uuid(management, uuid));
    }

    static void state(void *self, org_kde_plasma_window * /*proxy*/, uint32_t flags)
    {
        auto *window = static_cast<Window *>(self);
        const Window *&active = window->owner.m_active;
        if ((flags & ORG_KDE_PLASMA_WINDOW_MANAGEMENT_STATE_ACTIVE) != 0) {
            active = window;
        } else if (active == window) {
            active = nullptr;
        }
    }

    static void process(void *self, org_kde_plasma_window * /*proxy*/, uint32_t process)
    {
        static_cast<Window *>(self)->process = process;
    }

    static void unmapped(void *self, org_kde_plasma_window * /*proxy*/)
    {
        auto *window = static_cast<Window *>(self);
        window->owner.remove(window);
    }

    static const org_kde_plasma_window_management_listener &managementTable();
    static const org_kde_plasma_window_listener &windowTable();
};

const org_kde_plasma_window_management_listener &PlasmaWindows::Events::managementTable()
{
    static const org_kde_plasma_window_management_listener table = [] {
        org_kde_plasma_window_management_listener all = quietPlasmaManagementListener();
        all.window = &Events::added;
        all.window_with_uuid = &Events::addedByName;
        return all;
    }();
    return table;
}

const org_kde_plasma_window_listener &PlasmaWindows::Events::windowTable()
{
    static const org_kde_plasma_window_listener table = [] {
        org_kde_plasma_window_listener all = quietPlasmaWindowListener();
        all.state_changed = &Events::state;
        all.unmapped = &Events::unmapped;
        all.pid_changed = &Events::process;
        return all;
    }();
    return table;
}

PlasmaWindows::PlasmaWindows(WaylandConnection &connection)
    : m_management(connection.bindFirst<org_kde_plasma_window_management>(
          org_kde_plasma_window_management_interface, PLASMA_WINDOWS_VERSION))
{
    if (m_management) {
        org_kde_plasma_window_management_add_listener(m_management.get(),
                                                      &Events::managementTable(), this);
        connection.flush();
    }
}

PlasmaWindows::~PlasmaWindows() = default;

quint32 PlasmaWindows::activeProcess() const
{
    return m_active != nullptr ? m_active->process : 0;
}

void PlasmaWindows::add(org_kde_plasma_window *proxy)
{
    m_windows.push_back(std::make_unique<Window>(Window{*this, nullptr}));
    m_windows.back()->proxy.reset(proxy);
    org_kde_plasma_window_add_listener(proxy, &Events::windowTable(), m_windows.back().get());
}

void PlasmaWindows::remove(const Window *window)
{
    if (m_active == window) {
        m_active = nullptr;
    }
    m_windows.erase(std::find_if(
        m_windows.begin(), m_windows.end(),
        [window](const std::unique_ptr<Window> &candidate) { return candidate.get() == window; }));
}
