#include "lackingkernel.h"

#include <cerrno>
#include <cstdlib>
#include <initializer_list>
#include <seccomp.h>
#include <sys/prctl.h>

namespace
{
void answer(scmp_filter_ctx filter, int error, int call,
            std::initializer_list<scmp_arg_cmp> arguments = {})
{
    if (::seccomp_rule_add_array(filter, SCMP_ACT_ERRNO(unsigned(error)), call,
                                 unsigned(arguments.size()), arguments.begin()) != 0) {
        std::abort();
    }
}

template <typename Rules>
void pretend(Rules rules)
{
    const scmp_filter_ctx filter = ::seccomp_init(SCMP_ACT_ALLOW);
    rules(filter);
    if (::seccomp_load(filter) != 0) {
        std::abort();
    }
    ::seccomp_release(filter);
}
} // namespace

void pretendNoLandlock()
{
    pretend(
        [](scmp_filter_ctx filter) { answer(filter, ENOSYS, SCMP_SYS(landlock_create_ruleset)); });
}

void pretendNoSeccomp()
{
    pretend([](scmp_filter_ctx filter) {
        answer(filter, EPERM, SCMP_SYS(seccomp));
        answer(filter, EPERM, SCMP_SYS(prctl), {SCMP_CMP64(0, SCMP_CMP_EQ, PR_SET_SECCOMP)});
    });
}
