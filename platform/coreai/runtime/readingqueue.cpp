#include "coreai/runtime/readingqueue.h"

#include <algorithm>
#include <tuple>

namespace coreai
{
void ReadingQueue::add(ReadingJobPtr job)
{
    const std::uint32_t session = job->session;
    m_sessions[session].push_back(std::move(job));
}

void ReadingQueue::remove(const ReadingJob &job)
{
    const auto session = m_sessions.find(job.session);
    if (session == m_sessions.end()) {
        return;
    }
    auto &jobs = session->second;
    jobs.erase(std::remove_if(jobs.begin(), jobs.end(),
                              [&job](const ReadingJobPtr &other) { return other.get() == &job; }),
               jobs.end());
    if (jobs.empty()) {
        m_sessions.erase(session);
    }
}

void ReadingQueue::removeSession(std::uint32_t session)
{
    m_sessions.erase(session);
}

ReadingJobPtr ReadingQueue::next() const
{
    const auto rank = [](const auto &session) {
        return std::make_tuple(session.second.front()->size.area(), session.second.size());
    };
    const auto session = std::min_element(
        m_sessions.begin(), m_sessions.end(),
        [&](const auto &one, const auto &other) { return rank(one) < rank(other); });
    return session == m_sessions.end() ? nullptr : session->second.front();
}

ReadingJobPtr ReadingQueue::newestOf(const cv::Size &size) const
{
    ReadingJobPtr newest;
    for (const auto &[session, jobs] : m_sessions) {
        const auto job = std::find_if(jobs.rbegin(), jobs.rend(), [&](const ReadingJobPtr &other) {
            return other->size == size;
        });
        if (job != jobs.rend() && (!newest || (*job)->request > newest->request)) {
            newest = *job;
        }
    }
    return newest;
}

void ReadingQueue::limitBitmaps()
{
    for (auto &[session, jobs] : m_sessions) {
        std::size_t kept = 0;
        for (auto job = jobs.rbegin(); job != jobs.rend(); ++job) {
            const bool first = std::next(job) == jobs.rend();
            if ((*job)->reader->isCut() && ++kept >= mostCut && !first) {
                (*job)->reader->dropBitmaps();
            }
        }
    }
}
} // namespace coreai
