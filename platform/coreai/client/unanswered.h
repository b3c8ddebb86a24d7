// The requests that the runtime has not answered yet, kept so that they can be sent again to the
// next process when one dies. Knows nothing of sockets.
// Owner and thread: RuntimeLink, under its lock.

#pragma once

#include "coreai/protocol/message.h"

#include <map>
#include <vector>

namespace coreai
{
class Unanswered
{
public:
    // A request is given up when this many processes died while they worked on it.
    static constexpr int mostDeaths = 2;

    void add(Message message);

    // False where this session has no such request: answered, forgotten or never made.
    bool remove(std::uint32_t session, std::uint64_t request);
    void removeSession(std::uint32_t session);

    void setBegun(std::uint32_t session, std::uint64_t request);

    // The first request that was not sent to the present process, or null. setSent() marks it.
    const Message *firstUnsent() const;
    void setSent(std::uint64_t request);

    // The process died: everything is unsent again. Gives, and removes, those that had begun in two
    // processes that died. Where nothing had begun, the oldest request of each session counts as
    // begun, so that a process that dies of a request before it can tell so cannot go on for ever.
    std::vector<Message> processDied();

    // Gives and removes all, or all of one session.
    std::vector<Message> takeAll();
    std::vector<Message> takeSession(std::uint32_t session);

    bool isEmpty() const { return m_requests.empty(); }
    std::size_t countOf(std::uint32_t session) const;
    std::size_t bytesOf(std::uint32_t session) const;

private:
    struct Request {
        Message message;
        bool sent = false;
        bool begun = false;
        int deaths = 0;
    };
    void blameOldest();

    std::map<std::uint64_t, Request> m_requests; // by number: the order of the requests
};
} // namespace coreai
