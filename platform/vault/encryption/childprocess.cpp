#include "vault/encryption/childprocess.h"

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>

namespace Vault::ChildProcess
{
namespace
{
constexpr int LIMIT_MS = 30000; // gocryptfs needs 30 ms, a laptop that wakes up some seconds
constexpr std::size_t LONGEST_OUTPUT = 1000;

class Descriptor
{
public:
    explicit Descriptor(int descriptor) : m_descriptor(descriptor) {}
    Descriptor(const Descriptor &) = delete;
    Descriptor &operator=(const Descriptor &) = delete;
    ~Descriptor() { close(); }

    int get() const { return m_descriptor; }
    void close()
    {
        if (m_descriptor >= 0) {
            ::close(m_descriptor);
        }
        m_descriptor = -1;
    }

private:
    int m_descriptor;
};

Outcome systemFailure(const std::string &program, int error)
{
    return Outcome::failure(program + " cannot be run: " + std::strerror(error));
}

pid_t spawn(const std::vector<std::string> &arguments, int input, int output, int &error)
{
    std::vector<char *> pointers;
    pointers.reserve(arguments.size() + 1);
    for (const std::string &argument : arguments) {
        pointers.push_back(const_cast<char *>(argument.c_str()));
    }
    pointers.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, input, STDIN_FILENO);
    posix_spawn_file_actions_adddup2(&actions, output, STDOUT_FILENO);
    posix_spawn_file_actions_adddup2(&actions, output, STDERR_FILENO);
    // The caller's caller may have left more open; what stays running must not hold it.
    posix_spawn_file_actions_addclosefrom_np(&actions, STDERR_FILENO + 1);
    pid_t pid = -1;
    error = posix_spawnp(&pid, pointers.front(), &actions, nullptr, pointers.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    return error == 0 ? pid : -1;
}

// False if it had to be killed.
bool waitFor(pid_t pid, int &status)
{
    // By number: the C library's header of the call does not say that it is of C.
    const Descriptor process(static_cast<int>(syscall(SYS_pidfd_open, pid, 0)));
    pollfd end = {process.get(), POLLIN, 0};
    int ready = process.get() < 0 ? 1 : -1;
    while (ready < 0) {
        ready = poll(&end, 1, LIMIT_MS);
        if (ready < 0 && errno != EINTR) {
            ready = 1;
        }
    }
    if (ready == 0) {
        kill(pid, SIGKILL);
    }
    while (waitpid(pid, &status, 0) < 0 && errno == EINTR) {
    }
    return ready != 0;
}

// What it wrote, on one line.
std::string outputOf(int file)
{
    std::array<char, LONGEST_OUTPUT> buffer{};
    const ssize_t size = pread(file, buffer.data(), buffer.size(), 0);
    std::string text(buffer.data(), size > 0 ? static_cast<std::size_t>(size) : 0);
    while (!text.empty() && text.back() == '\n') {
        text.pop_back();
    }
    for (char &character : text) {
        if (static_cast<unsigned char>(character) < ' ') {
            character = ' ';
        }
    }
    return text;
}
} // namespace

bool isInstalled(const std::string &program)
{
    const char *path = std::getenv("PATH"); // NOLINT(concurrency-mt-unsafe): one thread
    const std::string folders = path ? path : "";
    for (std::size_t from = 0; from <= folders.size();) {
        const std::size_t to = std::min(folders.find(':', from), folders.size());
        if (to > from &&
            access((folders.substr(from, to - from) + '/' + program).c_str(), X_OK) == 0) {
            return true;
        }
        from = to + 1;
    }
    return false;
}

Outcome run(const std::vector<std::string> &arguments, std::string_view input)
{
    std::array<int, 2> ends{-1, -1};
    if (pipe2(ends.data(), O_CLOEXEC) != 0) {
        return systemFailure(arguments.front(), errno);
    }
    const Descriptor readEnd(ends[0]);
    Descriptor writeEnd(ends[1]);
    // Less than the pipe holds, so nobody needs to read yet.
    if (write(writeEnd.get(), input.data(), input.size()) != static_cast<ssize_t>(input.size())) {
        return systemFailure(arguments.front(), errno);
    }
    writeEnd.close();
    // A file, not a pipe: what the program leaves running would keep a pipe open.
    const Descriptor output(memfd_create("output", MFD_CLOEXEC));
    int error = 0;
    const pid_t pid = spawn(arguments, readEnd.get(), output.get(), error);
    if (pid < 0) {
        return systemFailure(arguments.front(), error);
    }
    int status = 0;
    if (!waitFor(pid, status)) {
        return Outcome::failure(arguments.front() + " did not end within 30 s");
    }
    if (WIFEXITED(status) && WEXITSTATUS(status) == 0) {
        return Outcome::success();
    }
    return Outcome::failure(arguments.front() + " failed: " + outputOf(output.get()));
}
} // namespace Vault::ChildProcess
