// Takes every right from the process that reading and embedding do not need; see README.md.
// Owner: the main function of a process. Thread: main, before there are others.

#pragma once

#include <string>
#include <vector>

namespace confinement
{
struct Rights {
    // Files, and folders with what lies below them, beside the libraries of the system and those
    // that are loaded already.
    std::vector<std::string> readable;
    // Programs that the process may start; none: it starts no process at all.
    std::vector<std::string> programs;
};

// From now on, for good, for this process and all that it starts. What the kernel cannot do is told
// on the log, one line each, and the rest holds.
void confine(const Rights &rights);
} // namespace confinement
