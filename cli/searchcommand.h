#pragma once
// "yestermarkctl search": frames by their text or by their meaning. Plain function, main thread.

#include <QStringList>

class Console;

/// Gives the exit status.
int searchCommand(const QStringList &arguments, Console &console);
