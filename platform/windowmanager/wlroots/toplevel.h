#pragma once
// One window as wlr-foreign-toplevel-management tells of it: title and application id, no process.
// Owner: WlrootsWindowBackend; main thread.

#include <QString>

#include <functional>
#include <memory>

struct wl_seat;
struct zwlr_foreign_toplevel_handle_v1;
struct zwlr_foreign_toplevel_handle_v1_listener;

struct ToplevelDelete {
    void operator()(zwlr_foreign_toplevel_handle_v1 *handle) const;
};

class Toplevel
{
public:
    /// Called from the connection's event loop. The window may be deleted within @c gone.
    struct Listener {
        std::function<void()> known; ///< once: title and application id have been told
        std::function<void()> gone;
    };

    /// Takes @p handle, never null.
    Toplevel(zwlr_foreign_toplevel_handle_v1 *handle, Listener listener);
    ~Toplevel();
    Q_DISABLE_COPY_MOVE(Toplevel)

    const QString &title() const { return m_title; }
    const QString &appId() const { return m_appId; }

    /// @p seat is whose keyboard it gets.
    void activate(wl_seat *seat);
    void minimize();

private:
    static const zwlr_foreign_toplevel_handle_v1_listener &events();

    std::unique_ptr<zwlr_foreign_toplevel_handle_v1, ToplevelDelete> m_handle;
    Listener m_listener;
    QString m_title;
    QString m_appId;
    bool m_isKnown = false;
};
