#include "windowmanager/wlroots/wlrootswindowbackend.h"

#include "desktopbridge/wayland/waylandconnection.h"

#include <QFileInfo>
#include <QGuiApplication>
#include <QSet>
#include <QWindow>

#include <wlr-foreign-toplevel-management-unstable-v1-client-protocol.h>

#include <algorithm>
#include <iterator>
#include <unistd.h>
#include <utility>

namespace
{
constexpr quint32 newestVersion = 3; // the last whose events are listened to

/// What the toolkit tells the compositor as the application id of this program's windows.
QString ownAppId()
{
    const QString given = QGuiApplication::desktopFileName();
    return given.isEmpty() ? QFileInfo(QCoreApplication::applicationFilePath()).baseName() : given;
}

bool isOwn(const Toplevel &toplevel)
{
    if (toplevel.appId() != ownAppId()) {
        return false;
    }
    const QWindowList windows = QGuiApplication::allWindows();
    return std::any_of(windows.begin(), windows.end(),
                       [&](const QWindow *window) { return window->title() == toplevel.title(); });
}

QVector<SwayWindow> alike(const Toplevel &toplevel, const QVector<SwayWindow> &windows)
{
    QVector<SwayWindow> found;
    std::copy_if(windows.begin(), windows.end(), std::back_inserter(found),
                 [&](const SwayWindow &window) {
                     return window.appId == toplevel.appId() && window.title == toplevel.title();
                 });
    return found;
}
} // namespace

void ToplevelManagerDelete::operator()(zwlr_foreign_toplevel_manager_v1 *manager) const
{
    zwlr_foreign_toplevel_manager_v1_destroy(manager);
}

void SeatDelete::operator()(wl_seat *seat) const
{
    wl_seat_destroy(seat);
}

std::unique_ptr<WlrootsWindowBackend>
WlrootsWindowBackend::over(const std::shared_ptr<WaylandConnection> &connection,
                           std::unique_ptr<SwayWindows> sway)
{
    auto *manager = connection->bindFirst<zwlr_foreign_toplevel_manager_v1>(
        zwlr_foreign_toplevel_manager_v1_interface, newestVersion);
    if (!manager) {
        return nullptr;
    }
    return std::unique_ptr<WlrootsWindowBackend>(
        new WlrootsWindowBackend(connection, manager, std::move(sway)));
}

WlrootsWindowBackend::WlrootsWindowBackend(std::shared_ptr<WaylandConnection> connection,
                                           zwlr_foreign_toplevel_manager_v1 *manager,
                                           std::unique_ptr<SwayWindows> sway)
    : m_connection(std::move(connection))
    , m_manager(manager)
    , m_seat(m_connection->bindFirst<wl_seat>(wl_seat_interface, 1))
    , m_sway(std::move(sway))
{
    static const wl_seat_listener silent = [] {
        wl_seat_listener events{};
        events.capabilities = [](void *, wl_seat *, uint32_t) {};
        return events;
    }();
    if (m_seat) {
        wl_seat_add_listener(m_seat.get(), &silent, nullptr);
    }
    zwlr_foreign_toplevel_manager_v1_add_listener(manager, &events(), this);
    m_connection->flush();
}

WlrootsWindowBackend::~WlrootsWindowBackend() = default;

const zwlr_foreign_toplevel_manager_v1_listener &WlrootsWindowBackend::events()
{
    static const zwlr_foreign_toplevel_manager_v1_listener listener = [] {
        zwlr_foreign_toplevel_manager_v1_listener events{};
        events.toplevel = [](void *backend, zwlr_foreign_toplevel_manager_v1 *,
                             zwlr_foreign_toplevel_handle_v1 *handle) {
            static_cast<WlrootsWindowBackend *>(backend)->add(handle);
        };
        events.finished = [](void *backend, zwlr_foreign_toplevel_manager_v1 *) {
            static_cast<WlrootsWindowBackend *>(backend)->m_manager.reset();
        };
        return events;
    }();
    return listener;
}

void WlrootsWindowBackend::add(zwlr_foreign_toplevel_handle_v1 *handle)
{
    const uint id = ++m_lastId;
    Toplevel::Listener listener;
    listener.known = [this, id] { findProcess(id); };
    listener.gone = [this, id] { m_windows.erase(id); };
    Window window;
    window.toplevel = std::make_unique<Toplevel>(handle, std::move(listener));
    m_windows.emplace(id, std::move(window));
}

void WlrootsWindowBackend::findProcess(uint id)
{
    if (m_sway) {
        m_sway->askForWindows(
            [this, id](const QVector<SwayWindow> &windows) { tell(id, windows); });
    } else {
        tell(id, {});
    }
}

void WlrootsWindowBackend::tell(uint id, const QVector<SwayWindow> &windows)
{
    const auto found = m_windows.find(id);
    if (found == m_windows.end()) {
        return; // gone while sway was asked
    }
    const Toplevel &toplevel = *found->second.toplevel;
    QSet<int> processes;
    for (const SwayWindow &window : alike(toplevel, windows)) {
        processes.insert(window.processId);
    }
    if (processes.size() == 1) {
        found->second.processId = *processes.begin();
    } else if (processes.isEmpty() && isOwn(toplevel)) {
        found->second.processId = ::getpid();
    } // else windows of several processes look alike
    Q_EMIT windowAdded(QVariant(id));
}

const WlrootsWindowBackend::Window *WlrootsWindowBackend::find(const QVariant &id) const
{
    const auto found = m_windows.find(id.toUInt());
    return found == m_windows.end() ? nullptr : &found->second;
}

QString WlrootsWindowBackend::title(const QVariant &id) const
{
    const Window *window = find(id);
    return window ? window->toplevel->title() : QString();
}

int WlrootsWindowBackend::processId(const QVariant &id) const
{
    const Window *window = find(id);
    return window ? window->processId : 0;
}

void WlrootsWindowBackend::activate(const QVariant &id)
{
    const auto found = m_windows.find(id.toUInt());
    if (found == m_windows.end()) {
        return;
    }
    found->second.isToBeStowed = false;
    const SwayWindow stowed = std::exchange(found->second.stowed, {});
    if (stowed.id != 0) {
        // Out of the scratchpad a window comes floating.
        m_sway->command(stowed.id, stowed.isFloating ? QStringLiteral("focus")
                                                     : QStringLiteral("focus, floating disable"));
    } else if (m_seat) {
        found->second.toplevel->activate(m_seat.get());
        m_connection->flush();
    }
}

void WlrootsWindowBackend::minimize(const QVariant &id)
{
    const auto found = m_windows.find(id.toUInt());
    if (found == m_windows.end()) {
        return;
    }
    if (m_sway) {
        found->second.isToBeStowed = true;
        m_sway->askForWindows([this, number = id.toUInt()](const QVector<SwayWindow> &windows) {
            stow(number, windows);
        });
    } else {
        found->second.toplevel->minimize();
        m_connection->flush();
    }
}

void WlrootsWindowBackend::stow(uint id, const QVector<SwayWindow> &windows)
{
    const auto found = m_windows.find(id);
    if (found == m_windows.end() || !std::exchange(found->second.isToBeStowed, false)) {
        return; // gone, or activated while sway was asked
    }
    for (const SwayWindow &window : alike(*found->second.toplevel, windows)) {
        if (window.processId == found->second.processId && !window.isStowed) {
            found->second.stowed = window;
            m_sway->command(window.id, QStringLiteral("move scratchpad"));
            return;
        }
    }
}
