#include "desktopbridge/settings/settingskeeper.h"

#include "desktopbridge/settings/localehours.h"

SettingsKeeper::SettingsKeeper(const QDBusConnection &session, const QString &desktop,
                               const QString &timeLocale)
    : m_timeLocale(timeLocale)
{
    if (!m_kept.keepsAny()) {
        return;
    }
    m_keys = DesktopKeys::forDesktop(desktop, session);
    connect(m_keys.get(), &DesktopKeys::changed, this, &SettingsKeeper::onKeysChanged);
    onKeysChanged();
    m_portal = std::make_unique<PortalSource>(session);
    connect(m_portal.get(), &PortalSource::told, this, &SettingsKeeper::onTold);
}

// The portal's word stands until its next one, also once it is gone: one that is restarted must not
// make the windows flicker.
void SettingsKeeper::onTold(PortalSource::Scheme scheme)
{
    m_scheme = scheme;
    keepStyle();
}

void SettingsKeeper::onKeysChanged()
{
    keepStyle();
    keepHours();
}

void SettingsKeeper::keepStyle()
{
    if (m_scheme && *m_scheme != PortalSource::Scheme::NoPreference) {
        m_kept.setDark(*m_scheme == PortalSource::Scheme::Dark);
        return;
    }
    const std::optional<bool> dark = m_keys->dark();
    // Where nobody tells, what the user wrote there by hand stays.
    if (dark || m_scheme) {
        m_kept.setDark(dark.value_or(false));
    }
}

void SettingsKeeper::keepHours()
{
    m_kept.setTwelveHours(m_keys->twelveHours().value_or(localeHasTwelveHours(m_timeLocale)));
}
