#pragma once
// "yestermarkctl status": whether frames are being stored, and if not, why. Plain function, main
// thread.

#include <QStringList>

class Console;

/// Gives the exit status.
int statusCommand(const QStringList &arguments, Console &console);
