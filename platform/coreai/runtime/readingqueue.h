// The pictures that wait to be read, and which of them is read on next. Answers of a session come
// in the order of its requests, so only the first of each session is ever chosen.
// Owner and thread: the worker.

#pragma once

#include "coreai/protocol/message.h"
#include "coreai/reading/framereader.h"

#include <deque>
#include <map>
#include <memory>

namespace coreai
{
struct ReadingJob {
    std::uint32_t session = 0;
    std::uint64_t request = 0;
    Payload picture;
    cv::Size size; // 0x0 where it holds no picture
    std::shared_ptr<FrameReader> reader;
    bool begun = false;
    bool mayTakeTwoCores = false;
};
using ReadingJobPtr = std::shared_ptr<ReadingJob>;

class ReadingQueue
{
public:
    // So many waiting pictures keep their lines' bitmaps; the others are cut again.
    static constexpr std::size_t mostCut = 4;

    void add(ReadingJobPtr job);
    void remove(const ReadingJob &job);
    void removeSession(std::uint32_t session);

    // The smallest of the sessions' first pictures: somebody looks at the answer for what was cut
    // out of a screen, also where the session still has one that was given up. Of equal ones that
    // of the shortest queue, since a long one is the recorder's. Null when empty.
    ReadingJobPtr next() const;

    // The picture of this size that came last, or null.
    ReadingJobPtr newestOf(const cv::Size &size) const;

    // Drops the bitmaps of all but the first of each session and the newest.
    void limitBitmaps();

    bool isEmpty() const { return m_sessions.empty(); }
    std::size_t sessionCount() const { return m_sessions.size(); }

private:
    std::map<std::uint32_t, std::deque<ReadingJobPtr>> m_sessions; // no empty ones
};
} // namespace coreai
