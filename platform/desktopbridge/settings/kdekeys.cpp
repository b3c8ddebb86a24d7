#include "desktopbridge/settings/kdekeys.h"

#include <QSettings>
#include <QStandardPaths>

KdeKeys::KdeKeys(const QDBusConnection &bus)
{
    QDBusConnection(bus).connect(QString(), QStringLiteral("/KGlobalSettings"),
                                 QStringLiteral("org.kde.KGlobalSettings"),
                                 QStringLiteral("notifyChange"), this, SLOT(onNotified(int, int)));
}

std::optional<bool> KdeKeys::dark() const
{
    const QString file =
        QStandardPaths::locate(QStandardPaths::GenericConfigLocation, QStringLiteral("kdeglobals"));
    const QString scheme = QSettings(file, QSettings::IniFormat)
                               .value(QStringLiteral("ColorScheme")) // group "General" has no name
                               .toString();
    if (scheme.isEmpty()) {
        return std::nullopt;
    }
    return scheme.contains(QLatin1String("dark"), Qt::CaseInsensitive);
}

void KdeKeys::onNotified(int /*type*/, int /*argument*/)
{
    Q_EMIT changed();
}
