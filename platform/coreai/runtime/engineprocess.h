// The engines, in a child process: what their libraries leave behind when they are unloaded (60 to
// 100 MB of OpenVINO) goes with it, and a crash in them costs one line at most.
// Owner: the runtime. Thread: the worker's only.

#pragma once

#include "coreai/protocol/channelprocess.h"
#include "coreai/runtime/engineset.h"

#include <chrono>

namespace coreai
{
class EngineProcess : public EngineSet
{
public:
    // A call takes tenths of a second of CPU; after so much of it the process is taken for stuck,
    // and killed. One that uses none, as a busy machine may leave it at the lowest priority, is
    // given 15 times as long.
    static constexpr std::chrono::milliseconds usualPatience{20000};
    // Of one call, each with a process of its own if the one before died.
    static constexpr int usualTries = 2;
    // Engines that fail twice in a row are left alone for so long: a picture has hundreds of lines,
    // and each would start two processes. The first call after it is tried, and one that fails
    // begins the next pause.
    static constexpr std::chrono::milliseconds usualPause{10000};

    // `command` starts the process: an absolute path and arguments.
    explicit EngineProcess(std::vector<std::string> command,
                           std::chrono::milliseconds patience = usualPatience,
                           std::chrono::milliseconds pauseAfterFailures = usualPause);

    void setWhileWaiting(std::function<void()> whileWaiting) override;
    void prepareReading() override;
    std::chrono::milliseconds pause() const override;
    Lines readLines(const std::vector<cv::Mat> &lines) override;
    Vectors ofPassages(const std::vector<std::string> &texts) override;
    std::vector<float> ofQuery(const std::string &utf8) override;
    std::vector<float> ofPictureText(const std::string &utf8) override;
    std::vector<float> ofPicture(const cv::Mat &picture) override;
    void unload() override;

    // Of the engines; -1 where none run.
    pid_t processId() const { return m_process.processId(); }

private:
    std::optional<Message> call(MessageType type, std::string_view bytes, MessageType answer,
                                int tries = usualTries);
    std::optional<Message> tryCall(const Message &question, MessageType answer);
    std::vector<float> vectorFor(MessageType type, std::string_view bytes);
    std::optional<Lines> readTogether(const std::vector<cv::Mat> &lines, int tries);
    bool startIfNeeded();
    void countFailure();
    bool isStuck(std::chrono::steady_clock::time_point asked, std::chrono::nanoseconds cpu) const;
    bool send(const Message &message);

    std::vector<std::string> m_command;
    std::chrono::milliseconds m_patience;
    std::chrono::milliseconds m_pauseAfterFailures;
    std::function<void()> m_whileWaiting;
    ChannelProcess m_process;
    std::uint64_t m_calls = 0;
    bool m_toldToLoad = false; // the present process
    int m_failures = 0;        // calls in a row that failed
    std::chrono::steady_clock::time_point m_pauseUntil;
};
} // namespace coreai
