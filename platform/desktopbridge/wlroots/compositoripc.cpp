#include "desktopbridge/wlroots/compositoripc.h"

#include "desktopbridge/wlroots/hyprlandipc.h"
#include "desktopbridge/wlroots/swayipc.h"

std::unique_ptr<CompositorIpc> findCompositorIpc(qint64 compositorProcess)
{
    const QByteArray sway = SwayIpc::findSocket(compositorProcess);
    if (!sway.isEmpty()) {
        return std::make_unique<SwayIpc>(sway);
    }
    const QByteArray hyprland = HyprlandIpc::findSocket(compositorProcess);
    if (!hyprland.isEmpty()) {
        return std::make_unique<HyprlandIpc>(hyprland);
    }
    return nullptr;
}
