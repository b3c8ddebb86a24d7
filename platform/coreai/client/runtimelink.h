// The program's one connection with its one runtime process: starts the process when it is needed,
// sends requests, hands answers to sessions, and repeats what a dead process left unanswered.
// Owner: the sessions share it; with the last of them it goes, and the process with it.
// Thread: any; its own thread "ai link" does all sending and receiving.

#pragma once

#include "coreai/client/unanswered.h"
#include "coreai/protocol/channelprocess.h"

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <thread>

namespace coreai
{
// Status codes of the sessions' init functions beside those that the runtime itself gives, which
// are positive.
enum LinkStatus : std::int32_t { LinkReady = 0, LinkNotStarted = -1, LinkTimeout = -2 };

class RuntimeLink
{
public:
    // An answer, of type Lines, NoResult or Vector. Called on the link's thread; must not block,
    // nor call the link. A request that is given up is answered with empty Lines or Vector.
    using Handler = std::function<void(Message answer)>;

    // Requests of one session that may wait, and their bytes, which are memory; a single one may
    // have more. The recorder keeps at most one frame a second. On an idle machine they are read
    // faster than that; beside a long build they are not, and those beyond the bounds go unread.
    static constexpr std::size_t mostWaiting = 256;
    static constexpr std::size_t usualWaitingBytes = std::size_t(512) << 20;

    enum class Sending {
        Accepted,
        TooManyWait,
        NoPayload, // there was no memory for it, or it is too large
        NoSession, // it is not open, or a runtime that was started again refuses it
    };

    static std::shared_ptr<RuntimeLink> shared();

    explicit RuntimeLink(std::size_t mostWaitingBytes = usualWaitingBytes);
    ~RuntimeLink();
    RuntimeLink(const RuntimeLink &) = delete;
    RuntimeLink &operator=(const RuntimeLink &) = delete;

    // Registers a session and waits up to 10 s until the runtime knows it. Gives its status, and
    // where that is 0 its number.
    std::int32_t open(SessionKind kind, Handler handler, std::uint32_t *session);
    // The handler is not running, and will not run again, once this has returned.
    void close(std::uint32_t session);

    // A number for the next request, above all before. Requests must be sent in this order within a
    // session.
    std::uint64_t nextRequest() { return ++m_lastRequest; }
    // No answer comes to what is not accepted.
    Sending send(Message message);
    // No answer is wanted any more.
    void forget(std::uint32_t session, std::uint64_t request);

    // Of the present process, -1 for none.
    pid_t processId() const;

private:
    struct Session {
        SessionKind kind = SessionKind::TextRecognition;
        Handler handler;
        bool announced = false;
        bool answered = false; // the runtime told its status
        std::int32_t status = LinkNotStarted;
    };
    using Clock = std::chrono::steady_clock;

    void run();
    bool startIfNeeded();
    void receiveAll();
    void take(Message message);
    bool sendAll();
    void onDied();
    void countShortLife();
    Sending refusalOf(const Message &message) const;
    void onStartFailed();
    void answerEmpty(std::vector<Message> requests);
    void setStatus(std::uint32_t session, std::int32_t status);
    void wake();
    void waitForWork(bool full);

    const std::size_t m_mostWaitingBytes;
    Descriptor m_wake;        // an event counter
    ChannelProcess m_process; // the link's thread only, but for its number
    // Of the present process, the link's thread only: whether it has sent something, whether that
    // was an answer, and when it was started.
    bool m_spoken = false;
    bool m_useful = false;
    Clock::time_point m_started;

    mutable std::mutex m_mutex; // of everything below
    std::condition_variable m_opened;
    std::condition_variable m_idle; // no handler runs
    std::map<std::uint32_t, Session> m_sessions;
    std::vector<Message> m_closings;
    Unanswered m_unanswered;
    std::uint32_t m_lastSession = 0;
    std::uint32_t m_inHandler = 0; // session whose handler runs, or 0
    int m_failedStarts = 0;
    int m_shortLives = 0; // in a row
    Clock::time_point m_nextStart = Clock::time_point::min();
    pid_t m_processId = -1;
    bool m_stop = false;

    std::atomic<std::uint64_t> m_lastRequest{0};
    std::thread m_thread; // last: sees every member
};
} // namespace coreai
