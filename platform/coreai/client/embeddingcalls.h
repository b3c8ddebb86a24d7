// One embedding session: turns the runtime's answers into calls that block.
// Owner: the C interface's handle. Thread: any, several at once.

#pragma once

#include "coreai/client/runtimelink.h"

#include <string_view>

namespace coreai
{
// The calls that wait for their answers. The session and the link's handler share it.
class WaitingCalls
{
public:
    // The runtime answers within a second; a call that lasts so long is given up.
    static constexpr std::chrono::seconds patience{5};

    void expect(std::uint64_t request);
    void put(const Message &answer);
    // Empty after `patience`, or where the answer is.
    std::vector<float> wait(std::uint64_t request);

private:
    struct Call {
        bool answered = false;
        std::vector<float> vector;
    };
    std::mutex m_mutex;
    std::condition_variable m_answered;
    std::map<std::uint64_t, Call> m_calls;
};
} // namespace coreai

// NOLINTNEXTLINE(bugprone-reserved-identifier): the C interface names it
struct _ImageEmbeddingSession {
public:
    _ImageEmbeddingSession() = default;
    ~_ImageEmbeddingSession();
    _ImageEmbeddingSession(const _ImageEmbeddingSession &) = delete;
    _ImageEmbeddingSession &operator=(const _ImageEmbeddingSession &) = delete;

    // 0, also where it was ready before; else a LinkStatus or what the runtime tells.
    std::int32_t init();

    // Empty on failure, also before a successful init().
    std::vector<float> embed(coreai::MessageType type, std::string_view bytes);

private:
    const std::shared_ptr<coreai::WaitingCalls> m_calls = std::make_shared<coreai::WaitingCalls>();
    std::mutex m_mutex; // of what follows
    std::shared_ptr<coreai::RuntimeLink> m_link;
    std::uint32_t m_session = 0;
};
