#include "windowmanager/backendloader.h"

#include "desktopbridge/wayland/waylandconnection.h"
#include "windowmanager/latewindowbackend.h"
#include "windowmanager/nullwindowbackend.h"
#include "windowmanager/plasma/plasmawindowbackend.h"
#include "windowmanager/wlroots/wlrootswindowbackend.h"

#include <QDebug>
#include <QGuiApplication>

namespace
{
WindowBackendMaker &forcedMaker()
{
    static WindowBackendMaker maker;
    return maker;
}

std::unique_ptr<WindowBackend> without(const QString &problem)
{
    qWarning() << "No window can be raised or minimised:" << problem;
    return std::make_unique<NullWindowBackend>(QStringLiteral("null"));
}

// Null if the compositor does not answer. A connection apart from the toolkit's: what goes wrong on
// it, such as a request that the compositor takes for a violation of a protocol, ends this service
// and not the program's windows.
std::unique_ptr<WindowBackend> askCompositor(QString &problem)
{
    const auto connection = WaylandConnection::connectToDisplay(problem);
    if (!connection) {
        return nullptr;
    }
    if (auto plasma = PlasmaWindowBackend::over(connection)) {
        return plasma;
    }
    if (auto wlroots = WlrootsWindowBackend::over(connection, SwayWindows::connectToSway())) {
        return wlroots;
    }
    return without(QStringLiteral("the compositor offers this program no protocol for it"));
}

std::unique_ptr<WindowBackend> loadWaylandWindowBackend()
{
    QString problem;
    if (auto backend = askCompositor(problem)) {
        return backend;
    }
    qWarning() << "No window can be raised or minimised yet:" << problem;
    return std::make_unique<LateWindowBackend>([] {
        QString ignored;
        return askCompositor(ignored);
    });
}
} // namespace

void forceWindowBackend(const WindowBackendMaker &maker)
{
    forcedMaker() = maker;
}

std::unique_ptr<WindowBackend> loadWindowBackend()
{
    if (forcedMaker()) {
        return forcedMaker()();
    }
    const QString platform = QGuiApplication::platformName();
    if (platform.startsWith(QLatin1String("wayland"))) {
        return loadWaylandWindowBackend();
    }
    return std::make_unique<NullWindowBackend>(platform);
}
