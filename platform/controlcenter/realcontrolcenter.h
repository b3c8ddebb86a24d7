#pragma once
// A desktop's own control centre of the same name takes precedence. Main thread, before anything
// else is started.

/// Replaces this process by another program called "vesk-control-center" in PATH, with the same
/// arguments, if there is one that is not this very program. Returns only if there is none or it
/// cannot be started.
void giveWayToRealControlCenter(char **arguments);
