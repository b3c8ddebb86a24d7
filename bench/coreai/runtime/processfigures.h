#pragma once
// What a process and its children use, as the kernel tells. Main thread only.

#include <sys/types.h>

#include <vector>

namespace ProcessFigures
{
/// @p process and the children that live now.
std::vector<pid_t> family(pid_t process);

/// CPU time of the family in milliseconds, dead children included.
double cpuMilliseconds(pid_t process);

/// Resident memory in MB of one process, and of it with its children; a page that several processes
/// share is counted in parts.
double ownMegabytes(pid_t process);
double residentMegabytes(pid_t process);
} // namespace ProcessFigures
