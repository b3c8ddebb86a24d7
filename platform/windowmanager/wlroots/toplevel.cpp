#include "windowmanager/wlroots/toplevel.h"

#include <wlr-foreign-toplevel-management-unstable-v1-client-protocol.h>

#include <utility>

namespace
{
// What is told and not needed here: a missing function would end the process with its event.
template <typename... Arguments>
void ignore(void * /*window*/, zwlr_foreign_toplevel_handle_v1 * /*handle*/, Arguments... /*told*/)
{
}
} // namespace

void ToplevelDelete::operator()(zwlr_foreign_toplevel_handle_v1 *handle) const
{
    zwlr_foreign_toplevel_handle_v1_destroy(handle);
}

Toplevel::Toplevel(zwlr_foreign_toplevel_handle_v1 *handle, Listener listener)
    : m_handle(handle), m_listener(std::move(listener))
{
    zwlr_foreign_toplevel_handle_v1_add_listener(handle, &events(), this);
}

Toplevel::~Toplevel() = default;

const zwlr_foreign_toplevel_handle_v1_listener &Toplevel::events()
{
    static const zwlr_foreign_toplevel_handle_v1_listener listener = [] {
        zwlr_foreign_toplevel_handle_v1_listener events{};
        events.title = [](void *window, zwlr_foreign_toplevel_handle_v1 *, const char *title) {
            static_cast<Toplevel *>(window)->m_title = QString::fromUtf8(title);
        };
        events.app_id = [](void *window, zwlr_foreign_toplevel_handle_v1 *, const char *appId) {
            static_cast<Toplevel *>(window)->m_appId = QString::fromUtf8(appId);
        };
        events.done = [](void *window, zwlr_foreign_toplevel_handle_v1 *) {
            auto *toplevel = static_cast<Toplevel *>(window);
            if (!std::exchange(toplevel->m_isKnown, true)) {
                toplevel->m_listener.known();
            }
        };
        events.closed = [](void *window, zwlr_foreign_toplevel_handle_v1 *) {
            const auto gone = static_cast<Toplevel *>(window)->m_listener.gone;
            gone(); // a copy, for the window may be deleted in it
        };
        events.output_enter = ignore;
        events.output_leave = ignore;
        events.state = ignore;
        events.parent = ignore;
        return events;
    }();
    return listener;
}

void Toplevel::activate(wl_seat *seat)
{
    zwlr_foreign_toplevel_handle_v1_unset_minimized(m_handle.get());
    zwlr_foreign_toplevel_handle_v1_activate(m_handle.get(), seat);
}

void Toplevel::minimize()
{
    zwlr_foreign_toplevel_handle_v1_set_minimized(m_handle.get());
}
