// The system calls of a confined process by name. Those that are judged by their arguments stand in
// callfilter.cpp; what stands nowhere is answered with ENOSYS, after which libraries do without.
// Thread: any.

#pragma once

#include <seccomp.h>

namespace confinement
{
// A name a line would be three pages.
// clang-format off
// What a process does with what it has: memory, threads, descriptors, time. Calls that the
// processor does not have are passed over.
inline constexpr int harmless[] = {
    // Descriptors
    SCMP_SYS(read), SCMP_SYS(readv), SCMP_SYS(pread64), SCMP_SYS(preadv), SCMP_SYS(write),
    SCMP_SYS(writev), SCMP_SYS(pwrite64), SCMP_SYS(pwritev), SCMP_SYS(lseek), SCMP_SYS(_llseek),
    SCMP_SYS(close), SCMP_SYS(close_range), SCMP_SYS(dup), SCMP_SYS(dup2), SCMP_SYS(dup3),
    SCMP_SYS(fcntl), SCMP_SYS(fcntl64), SCMP_SYS(pipe), SCMP_SYS(pipe2), SCMP_SYS(poll),
    SCMP_SYS(ppoll), SCMP_SYS(select), SCMP_SYS(_newselect), SCMP_SYS(pselect6),
    SCMP_SYS(epoll_create1), SCMP_SYS(epoll_ctl), SCMP_SYS(epoll_wait), SCMP_SYS(epoll_pwait),
    SCMP_SYS(eventfd2), SCMP_SYS(sendmsg), SCMP_SYS(recvmsg), SCMP_SYS(recvfrom),
    SCMP_SYS(shutdown), SCMP_SYS(ftruncate), SCMP_SYS(ftruncate64), SCMP_SYS(fallocate),
    SCMP_SYS(fadvise64), SCMP_SYS(fadvise64_64), SCMP_SYS(readahead),
    // Files, of which Landlock decides which
    SCMP_SYS(stat), SCMP_SYS(stat64), SCMP_SYS(lstat), SCMP_SYS(lstat64), SCMP_SYS(fstat),
    SCMP_SYS(fstat64), SCMP_SYS(newfstatat), SCMP_SYS(fstatat64), SCMP_SYS(statx), SCMP_SYS(statfs),
    SCMP_SYS(statfs64), SCMP_SYS(fstatfs), SCMP_SYS(fstatfs64), SCMP_SYS(access),
    SCMP_SYS(faccessat), SCMP_SYS(faccessat2), SCMP_SYS(readlink), SCMP_SYS(readlinkat),
    SCMP_SYS(getdents), SCMP_SYS(getdents64), SCMP_SYS(getcwd), SCMP_SYS(chdir), SCMP_SYS(fchdir),
    SCMP_SYS(umask),
    // Memory
    SCMP_SYS(brk), SCMP_SYS(mmap), SCMP_SYS(mmap2), SCMP_SYS(munmap), SCMP_SYS(mremap),
    SCMP_SYS(mprotect), SCMP_SYS(madvise), SCMP_SYS(mincore), SCMP_SYS(msync), SCMP_SYS(mlock),
    SCMP_SYS(munlock), SCMP_SYS(mbind), SCMP_SYS(get_mempolicy), SCMP_SYS(set_mempolicy),
    SCMP_SYS(membarrier), SCMP_SYS(memfd_create),
    // Threads
    SCMP_SYS(futex), SCMP_SYS(futex_time64), SCMP_SYS(set_robust_list), SCMP_SYS(get_robust_list),
    SCMP_SYS(rseq), SCMP_SYS(set_tid_address), SCMP_SYS(set_thread_area), SCMP_SYS(arch_prctl),
    SCMP_SYS(gettid), SCMP_SYS(exit), SCMP_SYS(exit_group), SCMP_SYS(sched_yield),
    SCMP_SYS(sched_getaffinity), SCMP_SYS(sched_setaffinity), SCMP_SYS(sched_getparam),
    SCMP_SYS(sched_getscheduler), SCMP_SYS(sched_get_priority_max),
    SCMP_SYS(sched_get_priority_min), SCMP_SYS(getcpu), SCMP_SYS(getpriority), SCMP_SYS(ioprio_get),
    // Signals to itself
    SCMP_SYS(rt_sigaction), SCMP_SYS(rt_sigprocmask), SCMP_SYS(rt_sigreturn), SCMP_SYS(sigreturn),
    SCMP_SYS(rt_sigpending), SCMP_SYS(rt_sigtimedwait), SCMP_SYS(rt_sigsuspend),
    SCMP_SYS(sigaltstack), SCMP_SYS(restart_syscall), SCMP_SYS(pause),
    // Time
    SCMP_SYS(clock_gettime), SCMP_SYS(clock_gettime64), SCMP_SYS(clock_getres),
    SCMP_SYS(clock_getres_time64), SCMP_SYS(clock_nanosleep), SCMP_SYS(clock_nanosleep_time64),
    SCMP_SYS(nanosleep), SCMP_SYS(gettimeofday), SCMP_SYS(time), SCMP_SYS(times),
    SCMP_SYS(getrusage),
    // Itself
    SCMP_SYS(getpid), SCMP_SYS(getppid), SCMP_SYS(getpgrp), SCMP_SYS(getpgid), SCMP_SYS(getsid),
    SCMP_SYS(getuid), SCMP_SYS(getuid32), SCMP_SYS(geteuid), SCMP_SYS(geteuid32), SCMP_SYS(getgid),
    SCMP_SYS(getgid32), SCMP_SYS(getegid), SCMP_SYS(getegid32), SCMP_SYS(getresuid),
    SCMP_SYS(getresgid), SCMP_SYS(getgroups), SCMP_SYS(capget), SCMP_SYS(uname), SCMP_SYS(sysinfo),
    SCMP_SYS(getrandom), SCMP_SYS(getrlimit), SCMP_SYS(ugetrlimit), SCMP_SYS(setrlimit),
    // More of this: rights can only be given up
    SCMP_SYS(seccomp), SCMP_SYS(landlock_create_ruleset), SCMP_SYS(landlock_add_rule),
    SCMP_SYS(landlock_restrict_self),
};

// Known to libraries, which are told no and not that the kernel is old.
inline constexpr int refused[] = {
    SCMP_SYS(socket), SCMP_SYS(connect), SCMP_SYS(bind), SCMP_SYS(listen), SCMP_SYS(accept),
    SCMP_SYS(accept4), SCMP_SYS(sendto), SCMP_SYS(sendmmsg), SCMP_SYS(fork), SCMP_SYS(vfork),
    SCMP_SYS(execveat), SCMP_SYS(tkill), SCMP_SYS(ptrace), SCMP_SYS(process_vm_readv),
    SCMP_SYS(process_vm_writev), SCMP_SYS(pidfd_open), SCMP_SYS(pidfd_getfd),
    SCMP_SYS(pidfd_send_signal), SCMP_SYS(mount), SCMP_SYS(umount2), SCMP_SYS(unshare),
    SCMP_SYS(setns), SCMP_SYS(bpf), SCMP_SYS(perf_event_open), SCMP_SYS(userfaultfd),
    SCMP_SYS(keyctl), SCMP_SYS(add_key), SCMP_SYS(request_key), SCMP_SYS(io_uring_setup),
    SCMP_SYS(unlink), SCMP_SYS(unlinkat), SCMP_SYS(rename), SCMP_SYS(renameat), SCMP_SYS(renameat2),
    SCMP_SYS(mkdir), SCMP_SYS(mkdirat), SCMP_SYS(rmdir), SCMP_SYS(link), SCMP_SYS(linkat),
    SCMP_SYS(symlink), SCMP_SYS(symlinkat), SCMP_SYS(mknod), SCMP_SYS(mknodat), SCMP_SYS(chmod),
    SCMP_SYS(fchmod), SCMP_SYS(fchmodat), SCMP_SYS(chown), SCMP_SYS(fchown), SCMP_SYS(fchownat),
    SCMP_SYS(lchown), SCMP_SYS(truncate), SCMP_SYS(utimensat), SCMP_SYS(setxattr),
    SCMP_SYS(fsetxattr), SCMP_SYS(creat),
};
// clang-format on
} // namespace confinement
