#pragma once
// Keeps the desktop's style and hour system current for the program: from the portal, the desktop's
// own keys and the locale. Owned by DesktopBridge; main thread. No timer and no wake-up of its own.

#include "desktopbridge/settings/desktopkeys.h"
#include "desktopbridge/settings/keptsettings.h"
#include "desktopbridge/settings/portalsource.h"

class SettingsKeeper : public QObject
{
    Q_OBJECT

public:
    /// What the desktop's keys and @p timeLocale say is written before this returns; what the
    /// portal says, when it has answered. @p desktop is the text of XDG_CURRENT_DESKTOP.
    SettingsKeeper(const QDBusConnection &session, const QString &desktop,
                   const QString &timeLocale);

private:
    void onTold(PortalSource::Scheme scheme);
    void onKeysChanged();
    void keepStyle();
    void keepHours();

    KeptSettings m_kept;
    std::unique_ptr<DesktopKeys> m_keys; // null where nothing is kept, as is m_portal
    std::unique_ptr<PortalSource> m_portal;
    std::optional<PortalSource::Scheme> m_scheme; // none: the portal has told nothing yet
    QString m_timeLocale;
};
