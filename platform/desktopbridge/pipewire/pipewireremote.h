#pragma once
// A connection to a PipeWire daemon whose loop runs inside Qt's. Owned by whoever reads streams,
// and must outlive them; main thread. While nothing arrives there is no timer and no wake-up.

#include "desktopbridge/filedescriptor.h"
#include "desktopbridge/pipewire/pipewirehandles.h"

#include <QObject>
#include <QSocketNotifier>

class PipeWireRemote : public QObject
{
    Q_OBJECT

public:
    /// Speaks through @p socket, as a portal hands it out; an invalid one stands for the session's
    /// own daemon. Null on failure, with the reason in @p problem. Does not wait for the daemon.
    static std::unique_ptr<PipeWireRemote> connectTo(FileDescriptor socket, QString &problem);
    ~PipeWireRemote() override;

    pw_core *core() const { return m_core.get(); }

    /// True as soon as the connection is broken, before lost() is delivered.
    bool isLost() const { return m_lost; }

Q_SIGNALS:
    void lost(); ///< the daemon is gone; sent once, and never out of a call of this object

private:
    PipeWireRemote(PwLoopPtr loop, PwContextPtr context, PwCorePtr core);

    static void onCoreError(void *self, uint32_t id, int sequence, int result, const char *text);
    void iterate();

    PwLoopPtr m_loop;
    PwContextPtr m_context;
    PwCorePtr m_core;
    pw_core_events m_events{};
    spa_hook m_listener{};
    bool m_lost = false;
    QSocketNotifier m_notifier;
};
