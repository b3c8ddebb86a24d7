#include "coreai/protocol/channelprocess.h"

#include <QtGlobal>

#include <cerrno>
#include <csignal>
#include <cstring>
#include <ctime>
#include <memory>
#include <poll.h>
#include <spawn.h>
#include <sys/prctl.h>
#include <sys/wait.h>

extern char **environ;

namespace coreai
{
namespace
{
constexpr int usualPatience = 300; // ms; an idle process needs 5, one inside a line 100

struct ActionsDeleter {
    void operator()(posix_spawn_file_actions_t *actions) const
    {
        ::posix_spawn_file_actions_destroy(actions);
    }
};
struct AttributesDeleter {
    void operator()(posix_spawnattr_t *attributes) const { ::posix_spawnattr_destroy(attributes); }
};

// A process group of its own, so that Ctrl+C in a terminal reaches the program only, and no signal
// settings of a thread that happened to start it.
void setAttributes(posix_spawnattr_t *attributes)
{
    sigset_t signals;
    ::sigemptyset(&signals);
    ::posix_spawnattr_setsigmask(attributes, &signals);
    ::sigfillset(&signals);
    ::posix_spawnattr_setsigdefault(attributes, &signals);
    ::posix_spawnattr_setpgroup(attributes, 0);
    ::posix_spawnattr_setflags(attributes, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF |
                                               POSIX_SPAWN_SETPGROUP);
}

// Not fork(): between fork and exec a child of a threaded program may call next to nothing.
int spawn(const std::vector<std::string> &command, int socket, pid_t *process)
{
    posix_spawn_file_actions_t actions;
    posix_spawnattr_t attributes;
    if (::posix_spawn_file_actions_init(&actions) != 0) {
        return ENOMEM;
    }
    const std::unique_ptr<posix_spawn_file_actions_t, ActionsDeleter> actionsOwner(&actions);
    if (::posix_spawnattr_init(&attributes) != 0) {
        return ENOMEM;
    }
    const std::unique_ptr<posix_spawnattr_t, AttributesDeleter> attributesOwner(&attributes);
    setAttributes(&attributes);
    ::posix_spawn_file_actions_adddup2(&actions, socket, ChannelProcess::channelDescriptor);
    ::posix_spawn_file_actions_addclosefrom_np(&actions, ChannelProcess::channelDescriptor + 1);

    std::vector<char *> arguments;
    arguments.reserve(command.size() + 1);
    for (const std::string &argument : command) {
        arguments.push_back(const_cast<char *>(argument.c_str())); // never written to
    }
    arguments.push_back(nullptr);
    return ::posix_spawn(process, arguments[0], &actions, &attributes, arguments.data(), environ);
}

// True once the process is reaped, or was by someone else.
bool isGone(pid_t process)
{
    int status = 0;
    const pid_t reaped = ::waitpid(process, &status, WNOHANG);
    return reaped == process || (reaped < 0 && errno == ECHILD);
}
} // namespace

bool ChannelProcess::endWithParent()
{
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    // Of a parent that died before this, only the other end of the channel tells: the process
    // numbers are those of whoever took the orphan.
    pollfd channel = {channelDescriptor, 0, 0};
    return ::poll(&channel, 1, 0) == 0;
}

ChannelProcess::~ChannelProcess()
{
    end(usualPatience);
}

bool ChannelProcess::start(const std::vector<std::string> &command)
{
    end(usualPatience);
    Channel::Pair pair = Channel::makePair();
    if (command.empty() || !pair.ours.isValid()) {
        qWarning("AI process: no connection: %s", std::strerror(errno));
        return false;
    }
    const int error = spawn(command, pair.theirs.get(), &m_process);
    if (error != 0) {
        qWarning("AI process: %s does not start: %s", command[0].c_str(), std::strerror(error));
        m_process = -1;
        return false;
    }
    m_channel = Channel(std::move(pair.ours));
    return true;
}

std::chrono::nanoseconds ChannelProcess::cpuTime() const
{
    clockid_t clock = 0;
    timespec time = {};
    if (m_process <= 0 || ::clock_getcpuclockid(m_process, &clock) != 0 ||
        ::clock_gettime(clock, &time) != 0) {
        return {};
    }
    return std::chrono::seconds(time.tv_sec) + std::chrono::nanoseconds(time.tv_nsec);
}

void ChannelProcess::end(int patience)
{
    m_channel.close();
    if (m_process <= 0) {
        return;
    }
    constexpr timespec step = {0, 2000000};
    for (int waited = 0; waited < patience && !isGone(m_process); waited += 2) {
        ::nanosleep(&step, nullptr);
    }
    // A process that is gone was reaped, so its number may belong to another: asked again first.
    if (!isGone(m_process)) {
        ::kill(m_process, SIGKILL);
        ::waitpid(m_process, nullptr, 0);
    }
    m_process = -1;
}
} // namespace coreai
