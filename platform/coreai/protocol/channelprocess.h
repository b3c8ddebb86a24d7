// A child process with a channel as its descriptor 3. It ends by itself when the channel is closed;
// this object waits for that, or kills it. A child that may be too busy to look at its channel
// calls endWithParent(). Owner: the connection that talks through the channel. Thread: one at a
// time; the program may have others, of which the child sees nothing.

#pragma once

#include "coreai/protocol/channel.h"

#include <chrono>
#include <string>
#include <sys/types.h>
#include <vector>

namespace coreai
{
class ChannelProcess
{
public:
    // The child finds its channel here; it inherits nothing else but the standard streams.
    static constexpr int channelDescriptor = 3;

    // In the child, first of all: the system kills it when the thread that started it ends, be it
    // with its whole process. False where that has happened already.
    static bool endWithParent();

    ChannelProcess() = default;
    // Closes the channel and ends the process, by force after 300 ms.
    ~ChannelProcess();
    ChannelProcess(const ChannelProcess &) = delete;
    ChannelProcess &operator=(const ChannelProcess &) = delete;

    // Ends what runs and starts `command`: an absolute path and arguments. False, with a line on
    // the log, where the system refuses.
    bool start(const std::vector<std::string> &command);

    // Ends it; `patience` in milliseconds until the force.
    void end(int patience);

    bool isRunning() const { return m_process > 0; }
    pid_t processId() const { return m_process; }
    // What the process has used so far; 0 where none runs.
    std::chrono::nanoseconds cpuTime() const;
    Channel &channel() { return m_channel; }

private:
    Channel m_channel;
    pid_t m_process = -1;
};
} // namespace coreai
