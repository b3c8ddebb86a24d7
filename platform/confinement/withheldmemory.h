// Keeps what a process holds in memory out of core dumps, and from others of the same user.
// Owner: the main function of a process. Thread: main, before there are others.

#pragma once

namespace confinement
{
enum class Memory {
    // No core dump, neither as a file nor through a pipe to the system's collector.
    WithoutDumps,
    // Also no debugger, no reading of /proc/PID/mem, environ, maps, fd, exe and root by the same
    // user: only for a process that nobody has to recognise by its executable.
    Closed,
};

// What the system refuses is left as it is. Nothing happens in a build with YESTERMARK_OPEN_MEMORY.
void withholdMemory(Memory memory);
} // namespace confinement
