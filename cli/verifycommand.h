#pragma once
// "yestermarkctl verify": whether files, rows and vectors agree. Plain function, main thread.

#include <QStringList>

class Console;

/// Gives the exit status.
int verifyCommand(const QStringList &arguments, Console &console);
