#include "desktopbridge/wayland/waylandconnection.h"

#include "desktopbridge/wayland/waylandwait.h"

#include <QDir>

#include <algorithm>
#include <cerrno>
#include <sys/socket.h>

namespace
{
const char DISPLAY_VARIABLE[] = "WAYLAND_DISPLAY";

// Beside an X display a socket may be that of a compositor in a window; several sessions of one
// user share the folder, and none of them is then more likely than another.
QByteArray onlyDisplayOfRuntimeFolder()
{
    const QString path = qEnvironmentVariable("XDG_RUNTIME_DIR");
    const bool isWayland = qEnvironmentVariable("XDG_SESSION_TYPE") == QLatin1String("wayland");
    if (path.isEmpty() || (qEnvironmentVariableIsSet("DISPLAY") && !isWayland)) {
        return {};
    }
    const QStringList names =
        QDir(path).entryList({QStringLiteral("wayland-*")}, QDir::System | QDir::NoDotAndDotDot);
    return names.size() == 1 ? QFile::encodeName(names.first()) : QByteArray();
}

WaylandPtr<wl_display> openDisplay()
{
    if (qEnvironmentVariableIsSet(DISPLAY_VARIABLE) ||
        qEnvironmentVariableIsSet("WAYLAND_SOCKET")) {
        return WaylandPtr<wl_display>(wl_display_connect(nullptr));
    }
    const QByteArray name = onlyDisplayOfRuntimeFolder();
    return WaylandPtr<wl_display>(name.isEmpty() ? nullptr : wl_display_connect(name.constData()));
}
} // namespace

const wl_registry_listener WaylandConnection::REGISTRY_LISTENER = {
    [](void *data, wl_registry * /*registry*/, uint32_t name, const char *interface,
       uint32_t version) {
        auto *self = static_cast<WaylandConnection *>(data);
        const WaylandGlobal global{name, interface, version};
        self->m_globals.append(global);
        Q_EMIT self->globalAdded(global);
    },
    [](void *data, wl_registry * /*registry*/, uint32_t name) {
        auto *self = static_cast<WaylandConnection *>(data);
        QVector<WaylandGlobal> &globals = self->m_globals;
        globals.erase(
            std::remove_if(globals.begin(), globals.end(),
                           [name](const WaylandGlobal &global) { return global.name == name; }),
            globals.end());
        Q_EMIT self->globalRemoved(name);
    }};

std::shared_ptr<WaylandConnection> WaylandConnection::connectToDisplay(QString &problem,
                                                                       int milliseconds)
{
    WaylandPtr<wl_display> display = openDisplay();
    if (!display) {
        problem = QStringLiteral("no Wayland compositor can be reached");
        return nullptr;
    }
    std::shared_ptr<WaylandConnection> connection(new WaylandConnection(display.release()));
    if (!connection->roundTrip(milliseconds)) {
        problem = QStringLiteral("the Wayland compositor does not answer");
        return nullptr;
    }
    return connection;
}

WaylandConnection::WaylandConnection(wl_display *display)
    : m_display(display)
    , m_registry(wl_display_get_registry(display))
    , m_readable(wl_display_get_fd(display), QSocketNotifier::Read)
    , m_writable(wl_display_get_fd(display), QSocketNotifier::Write)
{
    wl_registry_add_listener(m_registry.get(), &REGISTRY_LISTENER, this);
    m_writable.setEnabled(false);
    connect(&m_readable, &QSocketNotifier::activated, this, &WaylandConnection::readEvents);
    connect(&m_writable, &QSocketNotifier::activated, this, &WaylandConnection::flush);
}

WaylandConnection::~WaylandConnection() = default;

std::optional<WaylandGlobal> WaylandConnection::findGlobal(const QByteArray &interface) const
{
    const auto found =
        std::find_if(m_globals.begin(), m_globals.end(), [&interface](const WaylandGlobal &global) {
            return global.interface == interface;
        });
    return found == m_globals.end() ? std::nullopt : std::optional<WaylandGlobal>(*found);
}

bool WaylandConnection::roundTrip(int milliseconds)
{
    return waylandRoundTrip(m_display.get(), nullptr, milliseconds);
}

void WaylandConnection::flush()
{
    if (m_lost) {
        return;
    }
    const bool sent = wl_display_flush(m_display.get()) >= 0;
    m_writable.setEnabled(!sent && errno == EAGAIN);
    if (!sent && errno != EAGAIN) {
        dispatchLater(); // where the loss is noted
    }
}

void WaylandConnection::dispatchLater()
{
    QMetaObject::invokeMethod(this, &WaylandConnection::dispatch, Qt::QueuedConnection);
}

void WaylandConnection::readEvents()
{
    if (wl_display_prepare_read(m_display.get()) == 0) {
        wl_display_read_events(m_display.get());
    }
    dispatch();
}

void WaylandConnection::dispatch()
{
    if (m_lost) {
        return;
    }
    while (wl_display_dispatch_pending(m_display.get()) > 0) {
    }
    if (wl_display_get_error(m_display.get()) != 0) {
        noteLoss();
        return;
    }
    flush();
}

void WaylandConnection::noteLoss()
{
    m_lost = true;
    m_readable.setEnabled(false); // a closed socket stays readable
    m_writable.setEnabled(false);
    Q_EMIT lost();
}

qint64 WaylandConnection::compositorProcess() const
{
    ucred peer = {};
    socklen_t size = sizeof(peer);
    const int socket = wl_display_get_fd(m_display.get());
    return ::getsockopt(socket, SOL_SOCKET, SO_PEERCRED, &peer, &size) == 0 ? peer.pid : 0;
}
