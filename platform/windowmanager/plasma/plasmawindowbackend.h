#pragma once
// Windows as KWin tells of them by the protocol org_kde_plasma_window_management, which it offers
// to programs alone whose desktop file asks for it. Ids are numbers that count the windows told.
// Owner: tdk::WindowManager; main thread.

#include "windowmanager/plasma/plasmawindow.h"
#include "windowmanager/windowbackend.h"

#include <map>
#include <memory>

class WaylandConnection;

class PlasmaWindowBackend : public WindowBackend
{
    Q_OBJECT

public:
    /// Null if the compositor does not offer the protocol, or not to this program.
    static std::unique_ptr<PlasmaWindowBackend>
    over(const std::shared_ptr<WaylandConnection> &connection);

    ~PlasmaWindowBackend() override;

    QString name() const override { return QStringLiteral("plasma"); }
    QString title(const QVariant &id) const override;
    int processId(const QVariant &id) const override;
    void activate(const QVariant &id) override;
    void minimize(const QVariant &id) override;

private:
    PlasmaWindowBackend(std::shared_ptr<WaylandConnection> connection,
                        org_kde_plasma_window_management *management);
    static const org_kde_plasma_window_management_listener &events();
    void add(org_kde_plasma_window *handle);
    PlasmaWindow *find(const QVariant &id) const;

    std::shared_ptr<WaylandConnection> m_connection; ///< goes after all that is bound on it
    PlasmaPtr<org_kde_plasma_window_management> m_management;
    std::map<uint, std::unique_ptr<PlasmaWindow>> m_windows;
    uint m_lastId = 0;
};
