#pragma once
// "yestermarkctl apps": which applications were seen, and how often. Plain function, main thread.

#include <QStringList>

class Console;

/// Gives the exit status.
int appsCommand(const QStringList &arguments, Console &console);
