#include "desktopbridge/wayland/plasmahandles.h"

#include <plasma-window-management-client-protocol.h>

namespace
{
template <typename... Arguments>
void ignore(void * /*self*/, Arguments... /*told*/)
{
}
} // namespace

void PlasmaDelete::operator()(org_kde_plasma_window_management *management) const
{
    org_kde_plasma_window_management_destroy(management);
}

void PlasmaDelete::operator()(org_kde_plasma_window *window) const
{
    if (org_kde_plasma_window_get_version(window) >= ORG_KDE_PLASMA_WINDOW_DESTROY_SINCE_VERSION) {
        org_kde_plasma_window_destroy(window);
    } else {
        wl_proxy_destroy(reinterpret_cast<wl_proxy *>(window));
    }
}

org_kde_plasma_window_management_listener quietPlasmaManagementListener()
{
    org_kde_plasma_window_management_listener all{};
    all.show_desktop_changed = ignore;
    all.window = ignore;
    all.stacking_order_changed = ignore;
    all.stacking_order_uuid_changed = ignore;
    all.window_with_uuid = ignore;
    return all;
}

org_kde_plasma_window_listener quietPlasmaWindowListener()
{
    org_kde_plasma_window_listener all{};
    all.title_changed = ignore;
    all.app_id_changed = ignore;
    all.state_changed = ignore;
    all.virtual_desktop_changed = ignore;
    all.themed_icon_name_changed = ignore;
    all.unmapped = ignore;
    all.initial_state = ignore;
    all.parent_window = ignore;
    all.geometry = ignore;
    all.icon_changed = ignore;
    all.pid_changed = ignore;
    all.virtual_desktop_entered = ignore;
    all.virtual_desktop_left = ignore;
    all.application_menu = ignore;
    all.activity_entered = ignore;
    all.activity_left = ignore;
    all.resource_name_changed = ignore;
    return all;
}
