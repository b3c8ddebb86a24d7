#pragma once
// The socket of sway, and of i3, whose protocol it speaks. Main thread.

#include "desktopbridge/wlroots/compositoripc.h"

#include <QByteArray>

class SwayIpc : public CompositorIpc
{
public:
    explicit SwayIpc(const QByteArray &path) : m_path(path) {}

    std::optional<quint32> activeWindowPid() const override;

    /// Empty if there is none.
    static QByteArray findSocket(qint64 compositorProcess);

    /// Process id of the window that has the focus in @p tree, the answer to GET_TREE; 0 if none
    /// has, nothing if that is no tree.
    static std::optional<quint32> focusedProcess(const QByteArray &tree);

private:
    QByteArray m_path;
};
