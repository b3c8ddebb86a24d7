#pragma once
// Which processes another one has started and not waited for yet. Any thread.

#include <sys/types.h>
#include <vector>

/// The children of all threads of @p process; none where it is gone.
std::vector<pid_t> childrenOf(pid_t process);
