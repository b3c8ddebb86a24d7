#pragma once
// A KWin without a screen beside the one that the test runs under, on a bus of its own, so that it
// can have other outputs and can end. Test thread only.

#include "privatebus.h"
#include "waylandpainter.h"

#include <QTemporaryDir>

#include <memory>

/// A window's hands at the compositor that WAYLAND_DISPLAY names, once that answers: a KWin that
/// draws by the processor keeps others waiting.
std::unique_ptr<WaylandPainter> makePainter();

class KwinProcess
{
public:
    /// @p outputs: arguments such as "--scale 2".
    explicit KwinProcess(const QStringList &outputs = {});
    ~KwinProcess();

    /// False if it does not come up. WAYLAND_DISPLAY names it from now on until the object goes.
    bool start();

    /// Without a chance to say good-bye.
    void kill();

    /// Lets it do nothing until resume().
    void stop();
    void resume();

    const QDBusConnection &bus() const { return m_connection; }

private:
    QTemporaryDir m_folder;
    QStringList m_outputs;
    QByteArray m_formerDisplay = qgetenv("WAYLAND_DISPLAY");
    std::unique_ptr<PrivateBus> m_bus;
    QDBusConnection m_connection;
    ChildProcess m_process;
};
