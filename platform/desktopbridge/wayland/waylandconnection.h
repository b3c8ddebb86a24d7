#pragma once
// The connection to a Wayland compositor, read in the Qt main loop. Events of the default queue are
// dispatched from the event loop only, never inside a call of this class, so that listeners may
// send signals; whoever has to wait for an answer uses a WaylandQueue. Shared by all that hold
// proxies, for these must go first; main thread.

#include "desktopbridge/wayland/waylandhandles.h"

#include <QByteArray>
#include <QObject>
#include <QSocketNotifier>
#include <QVector>

#include <memory>
#include <optional>

struct WaylandGlobal {
    quint32 name = 0; ///< the number by which it is bound; never used again by the compositor
    QByteArray interface;
    quint32 version = 0;
};

class WaylandConnection : public QObject
{
    Q_OBJECT

public:
    /// How long a compositor may take for an answer before it counts as silent, in milliseconds.
    static constexpr int ANSWER_TIME = 2000;

    /// The same where nobody is served yet: a compositor that has just started on a busy machine
    /// took more than two seconds. Two of these stay below the bus's 25 seconds for a service to
    /// start.
    static constexpr int FIRST_ANSWER_TIME = 10000;

    /// Connects to the display that the environment names or, where it names none, to the only
    /// socket "wayland-N" in the runtime directory: a process that the bus starts may lack the
    /// variable. Never beside an X display, unless the session says that it is a Wayland one. The
    /// globals are known when this returns. Null on failure or after @p milliseconds of silence,
    /// with the reason in @p problem.
    static std::shared_ptr<WaylandConnection> connectToDisplay(QString &problem,
                                                               int milliseconds = ANSWER_TIME);

    ~WaylandConnection() override;

    wl_display *display() const { return m_display.get(); }

    /// What the compositor offers, in the order in which it was told.
    const QVector<WaylandGlobal> &globals() const { return m_globals; }

    /// The first global of that interface; none if the compositor does not offer it.
    std::optional<WaylandGlobal> findGlobal(const QByteArray &interface) const;

    /// Binds @p global at its own version or @p mostVersion, whichever is less. Never null.
    template <typename T>
    T *bind(const WaylandGlobal &global, const wl_interface &interface, quint32 mostVersion)
    {
        return static_cast<T *>(wl_registry_bind(m_registry.get(), global.name, &interface,
                                                 qMin(global.version, mostVersion)));
    }

    /// The same for the first global of that interface; null if there is none.
    template <typename T>
    T *bindFirst(const wl_interface &interface, quint32 mostVersion)
    {
        const std::optional<WaylandGlobal> global = findGlobal(interface.name);
        return global ? bind<T>(*global, interface, mostVersion) : nullptr;
    }

    /// Dispatches the default queue until the compositor has answered all requests so far. Only
    /// while setting up: listeners run inside. False on silence or loss.
    bool roundTrip(int milliseconds = ANSWER_TIME);

    /// Sends the requests made so far; what the socket does not take is sent from the event loop.
    void flush();

    /// For whoever has read the socket for another queue: sees to the default queue from the event
    /// loop, for the socket will not become readable again for what was read.
    void dispatchLater();

    bool isLost() const { return m_lost; }

    /// Process id of the compositor, from its socket; 0 if the kernel does not tell.
    qint64 compositorProcess() const;

Q_SIGNALS:
    void globalAdded(const WaylandGlobal &global);
    void globalRemoved(quint32 name);
    void lost(); ///< the compositor is gone or has thrown us out; sent once, from the event loop

private:
    explicit WaylandConnection(wl_display *display);

    void readEvents();
    void dispatch();
    void noteLoss();

    static const wl_registry_listener REGISTRY_LISTENER;

    WaylandPtr<wl_display> m_display;
    WaylandPtr<wl_registry> m_registry;
    QVector<WaylandGlobal> m_globals;
    bool m_lost = false;
    QSocketNotifier m_readable;
    QSocketNotifier m_writable; // on while the socket does not take what is to be sent
};
