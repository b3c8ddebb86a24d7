#include "coreai/runtime/processpriority.h"

#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace coreai
{
namespace
{
// linux/ioprio.h, which the distribution's headers do not hold whole: class 3 in the upper bits.
constexpr int ioprioWhoProcess = 1;
constexpr int ioprioIdle = 3 << 13;
constexpr int lowest = 19;
} // namespace

void takeLowPriority()
{
    ::setpriority(PRIO_PROCESS, 0, lowest);
    ::syscall(SYS_ioprio_set, ioprioWhoProcess, 0, ioprioIdle);
}
} // namespace coreai
