#pragma once
// The page for date and time of whatever desktop runs. Main thread.

#include <QStringList>
#include <QVector>

/// Programs with their arguments that show such a page, those of @p desktop (the text of
/// XDG_CURRENT_DESKTOP) first, then those of all others.
QVector<QStringList> datePageCommands(const QString &desktop);

/// Starts the first of them that is installed and does not wait for it. False if none is.
bool openDatePage(const QString &desktop);
