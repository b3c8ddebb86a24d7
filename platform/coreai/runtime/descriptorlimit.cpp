#include "coreai/runtime/descriptorlimit.h"

#include <sys/resource.h>

namespace coreai
{
void raiseDescriptorLimit()
{
    rlimit limit = {};
    if (::getrlimit(RLIMIT_NOFILE, &limit) == 0) {
        limit.rlim_cur = limit.rlim_max;
        ::setrlimit(RLIMIT_NOFILE, &limit);
    }
}
} // namespace coreai
