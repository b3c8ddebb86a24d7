#include "confinement/withheldmemory.h"

#include <algorithm>
#include <sys/prctl.h>
#include <sys/resource.h>

namespace confinement
{
#ifdef YESTERMARK_OPEN_MEMORY
void withholdMemory(Memory) {}
#else
namespace
{
// A file needs more than a byte. Where dumps go through a pipe the kernel takes 0 for no limit, but
// gives up at 1.
constexpr rlim_t noDump = 1;
} // namespace

void withholdMemory(Memory memory)
{
    rlimit limit = {};
    if (::getrlimit(RLIMIT_CORE, &limit) == 0) {
        limit.rlim_cur = std::min(limit.rlim_max, noDump);
        ::setrlimit(RLIMIT_CORE, &limit);
    }
    if (memory == Memory::Closed) {
        ::prctl(PR_SET_DUMPABLE, 0, 0, 0, 0);
    }
}
#endif
} // namespace confinement
