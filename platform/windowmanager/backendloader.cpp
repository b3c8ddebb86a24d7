#include "windowmanager/backendloader.h"

#include "windowmanager/nullwindowbackend.h"

#include <QDebug>
#include <QGuiApplication>

namespace
{
WindowBackendMaker &forcedMaker()
{
    static WindowBackendMaker maker;
    return maker;
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
        qWarning() << "No window can be raised or minimised: no such protocol is understood on"
                   << platform;
        return std::make_unique<NullWindowBackend>(QStringLiteral("null"));
    }
    return std::make_unique<NullWindowBackend>(platform);
}
