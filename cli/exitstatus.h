#pragma once
// How a run of yestermarkctl ends. Values are part of its interface (docs/man/yestermarkctl.1).
// Constants, any thread.

namespace ExitStatus
{
enum : int {
    Done = 0,
    Nothing = 1,     ///< nothing was found, or the verification found disagreements
    Usage = 2,       ///< the command line is not understood
    Unreadable = 3,  ///< the store, or a part that was needed, cannot be read
    NoRuntime = 4,   ///< the on-device AI runtime is absent or gives no answer
    CannotWrite = 5, ///< the standard output, or the file or directory asked for, takes nothing
};
}
