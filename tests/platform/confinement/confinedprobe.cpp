// confinedprobe [--without landlock|seccomp]... [--unconfined] [--read PATH]... [--start
// PROGRAM]...
//               ATTEMPT [ARGUMENT...]
// Confines itself with these rights, tries one thing, and prints the number of the error: 0 where
// the system let it.

#include "confinement/confinement.h"
#include "lackingkernel.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <functional>
#include <map>
#include <pthread.h>
#include <spawn.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/ptrace.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/uio.h>
#include <sys/wait.h>
#include <unistd.h>

extern char **environ;

namespace
{
int errorOf(long result)
{
    return result < 0 ? errno : 0;
}

int opening(const char *path, int flags)
{
    return errorOf(::open(path, flags | O_CLOEXEC, 0600));
}

int reading(const char *path)
{
    char byte = 0;
    const int file = ::open(path, O_RDONLY | O_CLOEXEC);
    return file < 0 ? errno : errorOf(::read(file, &byte, 1));
}

int listing(const char *path)
{
    return ::opendir(path) ? 0 : errno;
}

// As the AI runtime starts its engines. The child's exit status is its answer.
int starting(char **command)
{
    pid_t child = -1;
    const int error = ::posix_spawn(&child, command[0], nullptr, nullptr, command, environ);
    int status = 0;
    if (error != 0 || ::waitpid(child, &status, 0) != child) {
        return error != 0 ? error : errno;
    }
    return WIFEXITED(status) ? WEXITSTATUS(status) : EINTR;
}

int forking()
{
    const pid_t child = ::fork();
    if (child == 0) {
        ::_exit(0);
    }
    return errorOf(child);
}

int threading()
{
    pthread_t thread = {};
    const int error = ::pthread_create(
        &thread, nullptr, [](void *data) { return data; }, nullptr);
    return error != 0 ? error : ::pthread_join(thread, nullptr);
}

int readingMemoryOfParent()
{
    char byte = 0;
    iovec here = {&byte, 1};
    iovec there = {&byte, 1};
    return errorOf(::process_vm_readv(::getppid(), &here, 1, &there, 1, 0));
}

int sharingMemory()
{
    const int memory = ::memfd_create("probe", MFD_CLOEXEC | MFD_ALLOW_SEALING);
    return memory < 0 ? errno : errorOf(::fcntl(memory, F_ADD_SEALS, F_SEAL_SEAL));
}

int pairing(int domain, int type)
{
    int ends[2] = {-1, -1};
    return errorOf(::socketpair(domain, type | SOCK_CLOEXEC, 0, ends));
}

int coreLimit()
{
    rlimit limit = {};
    return ::getrlimit(RLIMIT_CORE, &limit) == 0 ? int(limit.rlim_cur) : -1;
}

// Each takes the words behind its name.
using Attempt = std::function<int(char **)>;

const std::map<std::string, Attempt> &attempts()
{
    static const std::map<std::string, Attempt> all = {
        {"nothing", [](char **) { return 0; }},
        {"socket",
         [](char **words) {
             return errorOf(::socket(std::atoi(words[0]), SOCK_DGRAM | SOCK_CLOEXEC, 0));
         }},
        {"datagrams", [](char **) { return pairing(AF_UNIX, SOCK_DGRAM); }},
        {"packets", [](char **) { return pairing(AF_UNIX, SOCK_SEQPACKET); }},
        {"read", [](char **words) { return reading(words[0]); }},
        {"list", [](char **words) { return listing(words[0]); }},
        {"write", [](char **words) { return opening(words[0], O_WRONLY); }},
        {"update", [](char **words) { return opening(words[0], O_RDWR); }},
        {"create", [](char **words) { return opening(words[0], O_WRONLY | O_CREAT); }},
        {"empty", [](char **words) { return opening(words[0], O_RDONLY | O_TRUNC); }},
        {"remove", [](char **words) { return errorOf(::unlink(words[0])); }},
        {"rename", [](char **words) { return errorOf(::rename(words[0], words[1])); }},
        {"folder", [](char **words) { return errorOf(::mkdir(words[0], 0700)); }},
        {"mode", [](char **words) { return errorOf(::chmod(words[0], 0777)); }},
        {"link", [](char **words) { return errorOf(::symlink(words[0], words[1])); }},
        {"become", [](char **words) { return errorOf(::execv(words[0], words)); }},
        {"start", [](char **words) { return starting(words); }},
        {"fork", [](char **) { return forking(); }},
        {"thread", [](char **) { return threading(); }},
        {"memory", [](char **) { return sharingMemory(); }},
        {"trace parent",
         [](char **) { return errorOf(::ptrace(PTRACE_SEIZE, ::getppid(), nullptr, nullptr)); }},
        {"read parent", [](char **) { return readingMemoryOfParent(); }},
        {"signal parent", [](char **) { return errorOf(::kill(::getppid(), SIGURG)); }},
        {"signal thread of parent",
         [](char **) { return errorOf(::syscall(SYS_tgkill, ::getppid(), ::getppid(), SIGURG)); }},
        {"signal itself", [](char **) { return ::raise(SIGURG); }},
        {"limit parent",
         [](char **) {
             const rlimit limit = {1, 1};
             return errorOf(::prlimit(::getppid(), RLIMIT_CORE, &limit, nullptr));
         }},
        {"namespace", [](char **) { return errorOf(::syscall(SYS_unshare, 0x10000000)); }},
        {"keys", [](char **) { return errorOf(::syscall(SYS_keyctl, 0, -3, 0)); }},
        {"rings", [](char **) { return errorOf(::syscall(SYS_io_uring_setup, 1, nullptr)); }},
        {"dumpable", [](char **) { return ::prctl(PR_GET_DUMPABLE); }},
        {"become dumpable", [](char **) { return errorOf(::prctl(PR_SET_DUMPABLE, 1)); }},
        {"core limit", [](char **) { return coreLimit(); }},
        {"privileges", [](char **) { return ::prctl(PR_GET_NO_NEW_PRIVS, 0, 0, 0, 0); }},
    };
    return all;
}
} // namespace

int main(int argc, char **argv)
{
    confinement::Rights rights;
    bool confined = true;
    int word = 1;
    for (; word + 1 < argc && std::strncmp(argv[word], "--", 2) == 0; ++word) {
        const std::string option = argv[word];
        if (option == "--unconfined") {
            confined = false;
        } else if (option == "--read") {
            rights.readable.emplace_back(argv[++word]);
        } else if (option == "--start") {
            rights.programs.emplace_back(argv[++word]);
        } else if (std::strcmp(argv[++word], "landlock") == 0) {
            pretendNoLandlock();
        } else {
            pretendNoSeccomp();
        }
    }
    const auto attempt = word < argc ? attempts().find(argv[word]) : attempts().end();
    if (attempt == attempts().end()) {
        return 255;
    }
    if (confined) {
        confinement::confine(rights);
    }
    const int error = attempt->second(argv + word + 1);
    std::printf("%d\n", error);
    std::fflush(stdout);
    ::_exit(error); // also for whoever started this one, and past what sanitizers do at the end
}
