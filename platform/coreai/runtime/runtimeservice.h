// The runtime's side of the connection: knows the sessions, hands requests to the worker and its
// answers back, in both directions without waiting for the other side.
// Owner: the main function. Thread: main; the worker's answers come in on its thread.

#pragma once

#include "coreai/protocol/channel.h"
#include "coreai/runtime/worker.h"

#include <set>

namespace coreai
{
class RuntimeService
{
public:
    // Status codes with which sessions are refused.
    static constexpr std::uint64_t noTextEngine = 1;
    static constexpr std::uint64_t noTextMeaning = 2;

    struct Abilities {
        bool textEngine = false;
        bool textMeaning = false;
    };

    RuntimeService(Channel channel, Abilities abilities, std::unique_ptr<EngineSet> engines,
                   Worker::Settings settings);

    // Serves until the client has closed the connection or broken the protocol.
    void run();

private:
    void receiveAll();
    bool take(Message message);
    void open(const Message &message);
    void sendAll();
    void answer(Message message);

    Channel m_channel;
    Abilities m_abilities;
    std::set<std::uint32_t> m_sessions;

    Descriptor m_wake;  // an event counter: answers are there
    std::mutex m_mutex; // of m_answers
    std::deque<Message> m_answers;

    Worker m_worker; // last: its thread calls answer()
};
} // namespace coreai
