#pragma once
// "yestermarkctl days": the days that have frames. Plain function, main thread.

#include <QStringList>

class Console;

/// Gives the exit status.
int daysCommand(const QStringList &arguments, Console &console);
