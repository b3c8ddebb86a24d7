#pragma once
// Windows as compositors made with wlroots tell of them by wlr-foreign-toplevel-management. It
// tells no process: under sway its own socket does; elsewhere a window with the application id of
// this program and the title of one of its windows counts as its own, and any other one's process
// id is 0. sway has no minimised windows, so there one is put into the scratchpad instead, from
// where activating brings it back as it was. Ids are numbers that count the windows told.
// Owner: tdk::WindowManager; main thread.

#include "windowmanager/windowbackend.h"
#include "windowmanager/wlroots/swaywindows.h"
#include "windowmanager/wlroots/toplevel.h"

#include <map>
#include <memory>

class WaylandConnection;
struct zwlr_foreign_toplevel_manager_v1;
struct zwlr_foreign_toplevel_manager_v1_listener;

struct ToplevelManagerDelete {
    void operator()(zwlr_foreign_toplevel_manager_v1 *manager) const;
};
struct SeatDelete {
    void operator()(wl_seat *seat) const;
};

class WlrootsWindowBackend : public WindowBackend
{
    Q_OBJECT

public:
    /// Null if the compositor does not offer the protocol. Without @p sway it does without.
    static std::unique_ptr<WlrootsWindowBackend>
    over(const std::shared_ptr<WaylandConnection> &connection, std::unique_ptr<SwayWindows> sway);

    ~WlrootsWindowBackend() override;

    QString name() const override { return QStringLiteral("wlroots"); }
    QString title(const QVariant &id) const override;
    int processId(const QVariant &id) const override;
    void activate(const QVariant &id) override;
    void minimize(const QVariant &id) override;

private:
    struct Window {
        std::unique_ptr<Toplevel> toplevel;
        int processId = 0;
        bool isToBeStowed = false; ///< sway is being asked about it
        SwayWindow stowed; ///< what it was before it went into the scratchpad; id 0: it did not
    };

    WlrootsWindowBackend(std::shared_ptr<WaylandConnection> connection,
                         zwlr_foreign_toplevel_manager_v1 *manager,
                         std::unique_ptr<SwayWindows> sway);
    static const zwlr_foreign_toplevel_manager_v1_listener &events();
    void add(zwlr_foreign_toplevel_handle_v1 *handle);
    void findProcess(uint id);
    void tell(uint id, const QVector<SwayWindow> &windows);
    void stow(uint id, const QVector<SwayWindow> &windows);
    const Window *find(const QVariant &id) const;

    std::shared_ptr<WaylandConnection> m_connection; ///< goes after all that is bound on it
    std::unique_ptr<zwlr_foreign_toplevel_manager_v1, ToplevelManagerDelete> m_manager;
    std::unique_ptr<wl_seat, SeatDelete> m_seat; ///< null on a compositor without any
    std::map<uint, Window> m_windows;
    uint m_lastId = 0;
    std::unique_ptr<SwayWindows> m_sway; ///< null under another compositor; first to go
};
