#pragma once
// A view of the machine for one test program, in which a tool stands in /usr/bin and mounts are
// seen by nobody else; it ends with the program. Thread: main, before any other is started.

#include <QString>

namespace PrivateSystem
{
/// Lets this process and those that it starts see @p tool as /usr/bin/vaultsm. Gives the reason if
/// this machine does not allow that, else an empty text.
QString enter(const char *tool);

/// What enter() gave.
QString whyNot();

/// Whether it was no root who called enter(). Such a user is root of a user namespace from then on:
/// the session bus takes it for somebody else.
bool wasEnteredByOrdinaryUser();
} // namespace PrivateSystem
