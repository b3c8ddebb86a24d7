#include "confinement/callfilter.h"

#include "confinement/calllists.h"

#include <cerrno>
#include <csignal>
#include <cstdint>
#include <fcntl.h>
#include <initializer_list>
#include <memory>
#include <sched.h>
#include <sys/ioctl.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>

namespace confinement
{
namespace
{
struct FilterDeleter {
    void operator()(void *filter) const { ::seccomp_release(filter); }
};

// linux/ioprio.h, which the distribution's headers do not hold whole.
constexpr int ioprioWhoProcess = 1;
constexpr int setVirtualMemoryName = 0x53564d41; // PR_SET_VMA: glibc names its threads' stacks
constexpr unsigned socketTypeBits = 0xf;
constexpr std::uint32_t refusal = SCMP_ACT_ERRNO(EPERM);

// What posix_spawn() asks of the kernel.
constexpr unsigned spawning = CLONE_VM | CLONE_VFORK | SIGCHLD;

// Rules are collected and become the process's at once; the first one for a call stands.
class Filter
{
public:
    Filter() : m_filter(::seccomp_init(SCMP_ACT_ERRNO(ENOSYS)))
    {
        // Another set of numbers, as for 32 bits, would pass by all names; no program of ours has
        // it.
        m_good = m_filter &&
                 ::seccomp_attr_set(m_filter.get(), SCMP_FLTATR_ACT_BADARCH,
                                    SCMP_ACT_KILL_PROCESS) == 0 &&
                 ::seccomp_attr_set(m_filter.get(), SCMP_FLTATR_CTL_TSYNC, 1) == 0;
    }

    void add(std::uint32_t action, int call, std::initializer_list<scmp_arg_cmp> arguments = {})
    {
        if (call >= 0 && m_good) { // below 0: not known to this processor
            const int error = ::seccomp_rule_add_array(
                m_filter.get(), action, call, unsigned(arguments.size()), arguments.begin());
            m_good = error == 0 || error == -EEXIST;
        }
    }
    void allow(int call, std::initializer_list<scmp_arg_cmp> arguments = {})
    {
        add(SCMP_ACT_ALLOW, call, arguments);
    }
    // Where the argument is not the one that is asked for, the answer is EPERM.
    void allowOnly(int call, unsigned argument, scmp_datum_t value)
    {
        allow(call, {SCMP_CMP64(argument, SCMP_CMP_EQ, value)});
        add(refusal, call, {SCMP_CMP64(argument, SCMP_CMP_NE, value)});
    }

    bool load() { return m_good && ::seccomp_load(m_filter.get()) == 0; }

private:
    std::unique_ptr<void, FilterDeleter> m_filter;
    bool m_good = false;
};

// Files for reading only, with or without Landlock.
void addOpening(Filter &filter, int call, unsigned flags)
{
    constexpr scmp_datum_t changes[] = {O_WRONLY, O_RDWR, O_CREAT, O_TRUNC};
    scmp_datum_t all = 0;
    for (const scmp_datum_t change : changes) {
        filter.add(SCMP_ACT_ERRNO(EACCES), call,
                   {SCMP_CMP64(flags, SCMP_CMP_MASKED_EQ, change, change)});
        all |= change;
    }
    filter.allow(call, {SCMP_CMP64(flags, SCMP_CMP_MASKED_EQ, all, 0)});
}

void addItself(Filter &filter)
{
    for (const int name : {PR_SET_NAME, PR_GET_NAME, PR_GET_DUMPABLE, PR_SET_NO_NEW_PRIVS,
                           PR_GET_NO_NEW_PRIVS, PR_SET_SECCOMP, PR_GET_SECCOMP, PR_CAPBSET_READ,
                           PR_SET_PDEATHSIG, setVirtualMemoryName}) {
        filter.allow(SCMP_SYS(prctl), {SCMP_CMP64(0, SCMP_CMP_EQ, scmp_datum_t(name))});
    }
    filter.allow(SCMP_SYS(prctl),
                 {SCMP_CMP64(0, SCMP_CMP_EQ, PR_SET_DUMPABLE), SCMP_CMP64(1, SCMP_CMP_EQ, 0)});
    for (const scmp_datum_t request : {TCGETS, FIONREAD, FIONBIO, FIOCLEX}) {
        filter.allow(SCMP_SYS(ioctl), {SCMP_CMP64(1, SCMP_CMP_EQ, request)});
    }
    filter.allowOnly(SCMP_SYS(prlimit64), 0, 0);
    filter.allow(SCMP_SYS(setpriority),
                 {SCMP_CMP64(0, SCMP_CMP_EQ, PRIO_PROCESS), SCMP_CMP64(1, SCMP_CMP_EQ, 0)});
    filter.allow(SCMP_SYS(ioprio_set),
                 {SCMP_CMP64(0, SCMP_CMP_EQ, ioprioWhoProcess), SCMP_CMP64(1, SCMP_CMP_EQ, 0)});
}

void addNoChildren(Filter &filter)
{
    filter.allow(SCMP_SYS(clone), {SCMP_CMP64(0, SCMP_CMP_MASKED_EQ, CLONE_THREAD, CLONE_THREAD)});
    filter.add(refusal, SCMP_SYS(clone), {SCMP_CMP64(0, SCMP_CMP_MASKED_EQ, CLONE_THREAD, 0)});
    filter.add(refusal, SCMP_SYS(execve));
    filter.add(refusal, SCMP_SYS(kill));
    filter.add(refusal, SCMP_SYS(socketpair));
    filter.allowOnly(SCMP_SYS(tgkill), 0, scmp_datum_t(::getpid()));
}

// The programs live under these rules as well.
void addChildren(Filter &filter)
{
    filter.allow(SCMP_SYS(clone), {SCMP_CMP64(0, SCMP_CMP_MASKED_EQ, CLONE_THREAD, CLONE_THREAD)});
    filter.allow(SCMP_SYS(clone), {SCMP_CMP64(0, SCMP_CMP_EQ, spawning)});
    filter.allow(SCMP_SYS(execve));
    filter.allow(SCMP_SYS(wait4));
    filter.allow(SCMP_SYS(waitid));
    filter.allow(SCMP_SYS(setpgid));
    filter.allowOnly(SCMP_SYS(kill), 1, SIGKILL);
    filter.allow(SCMP_SYS(tgkill)); // each of them to itself
    // Not datagrams, which can be sent to any address.
    filter.allow(SCMP_SYS(socketpair),
                 {SCMP_CMP64(0, SCMP_CMP_EQ, AF_UNIX),
                  SCMP_CMP64(1, SCMP_CMP_MASKED_EQ, socketTypeBits, SOCK_SEQPACKET)});
    filter.add(refusal, SCMP_SYS(socketpair), {SCMP_CMP64(0, SCMP_CMP_NE, AF_UNIX)});
}

#ifdef YESTERMARK_SANITIZED
// They stop the process's threads from a child that shares its memory, and start the process anew
// where its addresses do not suit them.
void addSanitizers(Filter &filter)
{
    for (const int call : {SCMP_SYS(clone), SCMP_SYS(ptrace), SCMP_SYS(wait4), SCMP_SYS(prctl),
                           SCMP_SYS(ioctl), SCMP_SYS(personality)}) {
        filter.allow(call);
    }
}
#endif
} // namespace

bool filterCalls(Children children)
{
    Filter filter;
#ifdef YESTERMARK_SANITIZED
    addSanitizers(filter);
#endif
    for (const int call : harmless) {
        filter.allow(call);
    }
    addOpening(filter, SCMP_SYS(open), 1);
    addOpening(filter, SCMP_SYS(openat), 2);
    addItself(filter);
    if (children == Children::None) {
        addNoChildren(filter);
    } else {
        addChildren(filter);
    }
    for (const int call : refused) {
        filter.add(refusal, call);
    }
    return filter.load();
}
} // namespace confinement
