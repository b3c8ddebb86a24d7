#include "desktopbridge/pipewire/pipewireremote.h"

#include <cerrno>

namespace
{
// What goes wrong is told by signals and logged by whoever knows what it means for the user.
void initialiseOnce()
{
    static const bool done = [] {
        pw_init(nullptr, nullptr);
        if (!qEnvironmentVariableIsSet("PIPEWIRE_DEBUG")) {
            pw_log_set_level(SPA_LOG_LEVEL_NONE);
        }
        return true;
    }();
    Q_UNUSED(done)
}
} // namespace

std::unique_ptr<PipeWireRemote> PipeWireRemote::connectTo(FileDescriptor socket, QString &problem)
{
    initialiseOnce();
    PwLoopPtr loop;
    if (pw_loop *made = pw_loop_new(nullptr)) {
        pw_loop_enter(made);
        loop.reset(made);
    }
    PwContextPtr context(loop ? pw_context_new(loop.get(), nullptr, 0) : nullptr);
    if (!context) {
        problem = QStringLiteral("PipeWire's client library does not work");
        return nullptr;
    }
    // The descriptor is the library's from here on, also if it fails.
    PwCorePtr core(socket.isValid()
                       ? pw_context_connect_fd(context.get(), socket.release(), nullptr, 0)
                       : pw_context_connect(context.get(), nullptr, 0));
    if (!core) {
        problem = QStringLiteral("PipeWire cannot be reached");
        return nullptr;
    }
    return std::unique_ptr<PipeWireRemote>(
        new PipeWireRemote(std::move(loop), std::move(context), std::move(core)));
}

PipeWireRemote::PipeWireRemote(PwLoopPtr loop, PwContextPtr context, PwCorePtr core)
    : m_loop(std::move(loop))
    , m_context(std::move(context))
    , m_core(std::move(core))
    , m_notifier(pw_loop_get_fd(m_loop.get()), QSocketNotifier::Read)
{
    m_events.version = PW_VERSION_CORE_EVENTS;
    m_events.error = &PipeWireRemote::onCoreError;
    pw_core_add_listener(m_core.get(), &m_listener, &m_events, this);
    connect(&m_notifier, &QSocketNotifier::activated, this, &PipeWireRemote::iterate);
}

PipeWireRemote::~PipeWireRemote()
{
    spa_hook_remove(&m_listener);
}

void PipeWireRemote::iterate()
{
    // The descriptor stays readable while there is more, so one round at a time is enough.
    pw_loop_iterate(m_loop.get(), 0);
}

void PipeWireRemote::onCoreError(void *self, uint32_t id, int /*sequence*/, int result,
                                 const char * /*text*/)
{
    auto *remote = static_cast<PipeWireRemote *>(self);
    if (id == PW_ID_CORE && result == -EPIPE && !remote->m_lost) {
        remote->m_lost = true;
        // The receiver may delete this object, which the library is still working with.
        QMetaObject::invokeMethod(remote, &PipeWireRemote::lost, Qt::QueuedConnection);
    }
}
