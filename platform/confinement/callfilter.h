// Which system calls a process and its children may make, kept by the kernel (seccomp).
// Owner: confine(). Thread: any; counts for all threads of the process.

#pragma once

namespace confinement
{
enum class Children { None, Programs }; // threads are always allowed

// From now on, for good. False where the kernel or the container refuses.
bool filterCalls(Children children);
} // namespace confinement
