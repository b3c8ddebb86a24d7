#include "desktopbridge/settings/desktopkeys.h"

#include "desktopbridge/settings/gsettingskeys.h"
#include "desktopbridge/settings/kdekeys.h"

std::unique_ptr<DesktopKeys> DesktopKeys::forDesktop(const QString &desktop,
                                                     const QDBusConnection &bus)
{
    const QStringList names = desktop.toUpper().split(QLatin1Char(':'));
    if (names.contains(QLatin1String("KDE"))) {
        return std::make_unique<KdeKeys>(bus);
    }
    if (names.contains(QLatin1String("X-CINNAMON"))) {
        return std::make_unique<GSettingsKeys>("org.cinnamon.desktop.interface", true);
    }
    if (names.contains(QLatin1String("MATE"))) {
        return std::make_unique<GSettingsKeys>("org.mate.interface", true);
    }
    // The schema is installed nearly everywhere; that its defaults mean something is sure only
    // where the desktop itself reads them.
    const bool own = names.contains(QLatin1String("GNOME")) ||
                     names.contains(QLatin1String("UNITY")) ||
                     names.contains(QLatin1String("BUDGIE"));
    return std::make_unique<GSettingsKeys>("org.gnome.desktop.interface", own);
}
