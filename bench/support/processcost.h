#pragma once
// What another process has taken of the machine so far. Plain functions, any thread.

#include <QtGlobal>

namespace Bench
{
/// CPU time of a process in milliseconds: the scheduler's nanoseconds of all its threads that still
/// live. The clock ticks of /proc/PID/stat are too coarse for a program that does next to nothing.
/// 0 for no process.
double cpuMillisecondsOf(uint process);

struct Memory {
    double resident = 0.0;     ///< all of its pages that are in memory, mapped files included
    double proportional = 0.0; ///< the same, with pages of several processes shared among them
    double anonymous = 0.0;    ///< resident, of no file
};

/// In MiB; zeros for no process.
Memory memoryOf(uint process);
} // namespace Bench
