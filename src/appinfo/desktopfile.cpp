#include "appinfo/desktopfile.h"

#include <QFile>
#include <QSettings>

QString getValueFromDesktopFile(const QString &desktopFile, const QString &key)
{
    if (!QFile::exists(desktopFile)) {
        return {};
    }
    QSettings settings(desktopFile, QSettings::IniFormat);
    settings.setIniCodec("UTF-8");
    return settings.value(QStringLiteral("Desktop Entry/") + key).toString();
}
