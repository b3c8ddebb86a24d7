#pragma once
// The socket of Hyprland. Main thread.

#include "desktopbridge/wlroots/compositoripc.h"

#include <QByteArray>

class HyprlandIpc : public CompositorIpc
{
public:
    explicit HyprlandIpc(const QByteArray &path) : m_path(path) {}

    std::optional<quint32> activeWindowPid() const override;

    /// Empty if there is none.
    static QByteArray findSocket(qint64 compositorProcess);

    /// Process id in @p window, the answer to "activewindow"; 0 for the empty object that stands
    /// for no window, nothing if that is no object.
    static std::optional<quint32> processOf(const QByteArray &window);

private:
    QByteArray m_path;
};
