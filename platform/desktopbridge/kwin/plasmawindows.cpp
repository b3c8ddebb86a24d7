#include "desktopbridge/kwin/plasmawindows.h"

#include <algorithm>

namespace
{
constexpr quint32 KNOWN_VERSION = 16;

template <typename... Arguments>
void ignore(void * /*self*/, Arguments... /*arguments*/)
{
}
} // namespace

void PlasmaWindowDelete::operator()(org_kde_plasma_window *window) const
{
    if (org_kde_plasma_window_get_version(window) >= ORG_KDE_PLASMA_WINDOW_DESTROY_SINCE_VERSION) {
        org_kde_plasma_window_destroy(window);
    } else {
        wl_proxy_destroy(reinterpret_cast<wl_proxy *>(window));
    }
}

struct PlasmaWindows::Window {
    PlasmaWindows &owner;
    std::unique_ptr<org_kde_plasma_window, PlasmaWindowDelete> proxy;
    quint32 process = 0;
};

// The library ends the program for an event that nobody takes, so there is a function for each.
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
        org_kde_plasma_window_management_listener all{};
        all.show_desktop_changed = ignore;
        all.window = &Events::added;
        all.stacking_order_changed = ignore;
        all.stacking_order_uuid_changed = ignore;
        all.window_with_uuid = &Events::addedByName;
        return all;
    }();
    return table;
}

const org_kde_plasma_window_listener &PlasmaWindows::Events::windowTable()
{
    static const org_kde_plasma_window_listener table = [] {
        org_kde_plasma_window_listener all{};
        all.title_changed = ignore;
        all.app_id_changed = ignore;
        all.state_changed = &Events::state;
        all.virtual_desktop_changed = ignore;
        all.themed_icon_name_changed = ignore;
        all.unmapped = &Events::unmapped;
        all.initial_state = ignore;
        all.parent_window = ignore;
        all.geometry = ignore;
        all.icon_changed = ignore;
        all.pid_changed = &Events::process;
        all.virtual_desktop_entered = ignore;
        all.virtual_desktop_left = ignore;
        all.application_menu = ignore;
        all.activity_entered = ignore;
        all.activity_left = ignore;
        all.resource_name_changed = ignore;
        return all;
    }();
    return table;
}

PlasmaWindows::PlasmaWindows(WaylandConnection &connection)
    : m_management(connection.bindFirst<org_kde_plasma_window_management>(
          org_kde_plasma_window_management_interface, KNOWN_VERSION))
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
