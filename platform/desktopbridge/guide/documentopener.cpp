#include "desktopbridge/guide/documentopener.h"

#include <QProcess>
#include <QStandardPaths>

bool openInDesktopViewer(const QString &file)
{
    const QString general = QStandardPaths::findExecutable(QStringLiteral("xdg-open"));
    if (!general.isEmpty() && QProcess::startDetached(general, {file})) {
        return true;
    }
    const QString gio = QStandardPaths::findExecutable(QStringLiteral("gio"));
    return !gio.isEmpty() && QProcess::startDetached(gio, {QStringLiteral("open"), file});
}
