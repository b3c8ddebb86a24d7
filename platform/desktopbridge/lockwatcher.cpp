#include "desktopbridge/lockwatcher.h"

#include "screensaveradaptor.h"

LockWatcher::LockWatcher(const QDBusConnection &session, const QDBusConnection &system)
    : m_freedesktop(
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
}

void LockWatcher::tell(std::optional<bool> change)
{
    if (change) {
        if (*change) {
            Q_EMIT lock();
        } else {
            Q_EMIT unlock();
        }
    }
}
