#pragma once
// "yestermarkctl show": one frame as a PNG file. Plain function, main thread.

#include <QStringList>

class Console;

/// Gives the exit status.
int showCommand(const QStringList &arguments, Console &console);
