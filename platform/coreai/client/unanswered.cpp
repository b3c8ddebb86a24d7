#include "coreai/client/unanswered.h"

#include <algorithm>
#include <numeric>
#include <set>

namespace coreai
{
void Unanswered::add(Message message)
{
    const std::uint64_t number = message.request;
    m_requests[number].message = std::move(message);
}

bool Unanswered::remove(std::uint32_t session, std::uint64_t request)
{
    const auto found = m_requests.find(request);
    if (found == m_requests.end() || found->second.message.session != session) {
        return false;
    }
    m_requests.erase(found);
    return true;
}

void Unanswered::removeSession(std::uint32_t session)
{
    takeSession(session);
}

void Unanswered::setBegun(std::uint32_t session, std::uint64_t request)
{
    const auto found = m_requests.find(request);
    if (found != m_requests.end() && found->second.message.session == session) {
        found->second.begun = true;
    }
}

const Message *Unanswered::firstUnsent() const
{
    const auto unsent = std::find_if(m_requests.begin(), m_requests.end(),
                                     [](const auto &entry) { return !entry.second.sent; });
    return unsent == m_requests.end() ? nullptr : &unsent->second.message;
}

void Unanswered::setSent(std::uint64_t request)
{
    const auto found = m_requests.find(request);
    if (found != m_requests.end()) {
        found->second.sent = true;
    }
}

void Unanswered::blameOldest()
{
    std::set<std::uint32_t> sessions;
    for (auto &[number, request] : m_requests) {
        request.begun = sessions.insert(request.message.session).second;
    }
}

std::vector<Message> Unanswered::processDied()
{
    if (std::none_of(m_requests.begin(), m_requests.end(),
                     [](const auto &entry) { return entry.second.begun; })) {
        blameOldest();
    }
    std::vector<Message> givenUp;
    for (auto entry = m_requests.begin(); entry != m_requests.end();) {
        Request &request = entry->second;
        request.sent = false;
        request.deaths += std::exchange(request.begun, false) ? 1 : 0;
        if (request.deaths >= mostDeaths) {
            givenUp.push_back(std::move(request.message));
            entry = m_requests.erase(entry);
        } else {
            ++entry;
        }
    }
    return givenUp;
}

std::vector<Message> Unanswered::takeAll()
{
    std::vector<Message> taken;
    for (auto &[number, request] : m_requests) {
        taken.push_back(std::move(request.message));
    }
    m_requests.clear();
    return taken;
}

std::vector<Message> Unanswered::takeSession(std::uint32_t session)
{
    std::vector<Message> taken;
    for (auto entry = m_requests.begin(); entry != m_requests.end();) {
        if (entry->second.message.session == session) {
            taken.push_back(std::move(entry->second.message));
            entry = m_requests.erase(entry);
        } else {
            ++entry;
        }
    }
    return taken;
}

std::size_t Unanswered::countOf(std::uint32_t session) const
{
    return std::size_t(
        std::count_if(m_requests.begin(), m_requests.end(), [session](const auto &entry) {
            return entry.second.message.session == session;
        }));
}

std::size_t Unanswered::bytesOf(std::uint32_t session) const
{
    return std::accumulate(m_requests.begin(), m_requests.end(), std::size_t(0),
                           [session](std::size_t bytes, const auto &entry) {
                               const Message &message = entry.second.message;
                               return bytes +
                                      (message.session == session ? message.payload.size() : 0);
                           });
}
} // namespace coreai
