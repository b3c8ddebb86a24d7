#include "controlcenter/datepage.h"

#include <QProcess>
#include <QStandardPaths>

#include <algorithm>

namespace
{
struct DatePage {
    const char *desktop; // a name in XDG_CURRENT_DESKTOP, in capitals
    const char *command;
};

constexpr DatePage PAGES[] = {
    {"GNOME", "gnome-control-center datetime"},
    {"UNITY", "unity-control-center datetime"},
    {"BUDGIE", "budgie-control-center datetime"},
    {"KDE", "systemsettings kcm_clock"},
    {"KDE", "systemsettings5 kcm_clock"},
    {"XFCE", "xfce4-time-admin"},
    {"MATE", "mate-time-admin"},
    {"X-CINNAMON", "cinnamon-settings calendar"},
    {"LXQT", "lxqt-admin-time"},
    {"LXDE", "time-admin"},
};
} // namespace

QVector<QStringList> datePageCommands(const QString &desktop)
{
    const QStringList names = desktop.toUpper().split(QLatin1Char(':'));
    QVector<QStringList> own;
    QVector<QStringList> others;
    for (const DatePage &page : PAGES) {
        const QStringList command = QString::fromLatin1(page.command).split(QLatin1Char(' '));
        (names.contains(QLatin1String(page.desktop)) ? own : others).append(command);
    }
    return own + others;
}

bool openDatePage(const QString &desktop)
{
    const QVector<QStringList> commands = datePageCommands(desktop);
    return std::any_of(commands.begin(), commands.end(), [](const QStringList &command) {
        const QString program = QStandardPaths::findExecutable(command.first());
        return !program.isEmpty() && QProcess::startDetached(program, command.mid(1));
    });
}
