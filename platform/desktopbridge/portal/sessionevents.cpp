#include "desktopbridge/portal/sessionevents.h"

SessionEvents::SessionEvents(const QDBusConnection &session, const QDBusConnection &system,
                             std::unique_ptr<WaylandOutputs> outputs)
    : m_lock(session, system), m_outputs(std::move(outputs))
{
    connect(&m_lock, &LockWatcher::lock, this, [this] {
        m_locked = true;
        Q_EMIT locked();
    });
    connect(&m_lock, &LockWatcher::unlock, this, [this] {
        m_locked = false;
        Q_EMIT unlocked();
    });
    if (m_outputs) {
        connect(m_outputs.get(), &WaylandOutputs::changed, this, &SessionEvents::outputsChanged);
    }
}

QVector<QRect> SessionEvents::outputPlaces() const
{
    QVector<QRect> places;
    if (m_outputs) {
        for (const WaylandOutput &output : m_outputs->outputs()) {
            places.append(output.geometry.logical);
        }
    }
    return places;
}
