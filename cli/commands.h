#pragma once
// The program behind its main(): picks the command, answers "--help" and "--version". Plain
// functions, main thread.

#include <QStringList>

namespace Commands
{
/// @p arguments are those behind the program's name. Gives the exit status.
int run(const QStringList &arguments);
} // namespace Commands
