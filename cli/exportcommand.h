#pragma once
// "yestermarkctl export": a span of time as files for other programs. Plain function, main thread.

#include <QStringList>

class Console;

/// Gives the exit status.
int exportCommand(const QStringList &arguments, Console &console);
