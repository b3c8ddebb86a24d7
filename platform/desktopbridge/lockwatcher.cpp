#include "desktopbridge/lockwatcher.h"

#include "screensaveradaptor.h"

#include <QDBusMessage>

#include <utility>

LockWatcher::LockWatcher(const QDBusConnection &session, const QDBusConnection &system)
    : m_bus(session)
    , m_freedesktop(
          session, QStringLiteral("org.freedesktop.ScreenSaver"),
          {QStringLiteral("/org/freedesktop/ScreenSaver"), QStringLiteral("/ScreenSaver")})
    , m_gnome(session, QStringLiteral("org.gnome.ScreenSaver"),
              {QStringLiteral("/org/gnome/ScreenSaver")})
    , m_logind(system)
{
    new ScreenSaverAdaptor(this);
    listen(m_freedesktop, LockState::Freedesktop);
    listen(m_gnome, LockState::Gnome);
    listen(m_logind, LockState::Logind);
}

template <typename SourceObject>
void LockWatcher::listen(const SourceObject &object, LockState::Source source)
{
    connect(&object, &SourceObject::reported, this,
            [this, source](bool locked) { tell(m_state.report(source, locked)); });
    connect(&object, &SourceObject::left, this, [this, source] { tell(m_state.left(source)); });
    connect(&object, &SourceObject::answered, this, [this, source] {
        m_state.answered(source);
        tellThoseWhoWait();
    });
}

void LockWatcher::tellStateTo(const QString &caller)
{
    m_waiting.append(caller);
    tellThoseWhoWait();
}

void LockWatcher::tellThoseWhoWait()
{
    if (!m_state.isKnown()) {
        return;
    }
    const QString signal = m_state.isLocked() ? QStringLiteral("lock") : QStringLiteral("unlock");
    const QStringList callers = std::exchange(m_waiting, {});
    for (const QString &caller : callers) {
        m_bus.send(QDBusMessage::createTargetedSignal(
            caller, QStringLiteral("/"), QStringLiteral("org.vesk.ScreenSaver"), signal));
    }
}

void LockWatcher::tell(std::optional<bool> change)
{
    if (!change) {
        return;
    }
    m_waiting.clear(); // they hear it with all others
    if (*change) {
        Q_EMIT lock();
    } else {
        Q_EMIT unlock();
    }
}
