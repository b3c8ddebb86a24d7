#pragma once
// The active window by a compositor's own socket: the protocols for windows tell no process. Owned
// by WlrootsBackend; main thread.

#include <QtGlobal>

#include <memory>
#include <optional>

class CompositorIpc
{
public:
    CompositorIpc() = default;
    virtual ~CompositorIpc() = default;
    Q_DISABLE_COPY(CompositorIpc)

    /// Process id of the active window, 0 if none is; nothing if the compositor does not answer
    /// within half a second.
    virtual std::optional<quint32> activeWindowPid() const = 0;
};

/// The socket of the compositor with that process id: by its place in the runtime directory, for
/// the bus may start a process without the variables of the session, else by the variables
/// SWAYSOCK and HYPRLAND_INSTANCE_SIGNATURE. Null for a compositor that has none.
std::unique_ptr<CompositorIpc> findCompositorIpc(qint64 compositorProcess);
