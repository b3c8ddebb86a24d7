// The runtime's one thread that computes. It works in steps of a line, or of a few that are read
// side by side where somebody waits for the picture, and after each step does
// what is most urgent: embeddings of queries, of pictures, reading (smallest picture first),
// vectors of new lines. Answers of a session come in the order of its requests of one kind. While
// the engines are left alone, pictures wait to be read. After each pause the first of them is
// tried; where the engines fail anew, it is answered with what was read of it. So one picture a
// pause goes where no engines ever come, and the client bounds those that wait.
// Owner: RuntimeService. Thread: post() and the constructor on the owner's, the rest on its own.

#pragma once

#include "coreai/runtime/engineset.h"
#include "coreai/runtime/framemeaning.h"
#include "coreai/runtime/powerstate.h"
#include "coreai/runtime/readingqueue.h"
#include "coreai/runtime/recentframes.h"

#include <condition_variable>
#include <mutex>
#include <thread>

namespace coreai
{
class Worker
{
public:
    struct Settings {
        std::chrono::milliseconds idleTime{60000}; // until the engines' memory is given back
        PowerState power;
        bool pictureModel = false; // engines give picture vectors
        std::size_t cacheBytes = LineCache::usualBytes;
        LineCache::Clock clock = std::chrono::steady_clock::now; // of what is forgotten
    };

    // Takes the worker's answers; called on its thread.
    using Answer = std::function<void(Message)>;

    Worker(std::unique_ptr<EngineSet> engines, Settings settings, Answer answer);
    // Waits for the step that is under way.
    ~Worker();
    Worker(const Worker &) = delete;
    Worker &operator=(const Worker &) = delete;

    // A request, or the end of a session.
    void post(Message message);

private:
    struct Question {
        Message message;
        Deadline::Clock::time_point asked;
        bool knowsNothing = false; // of a picture: no line had a vector when it was looked at
    };
    struct Embedding { // of a picture, under way
        Question question;
        std::shared_ptr<FrameReader> frame; // null before it is cut
        bool answered = false;
    };
    struct Vectorless {
        LineKey key;
        std::string text;
        std::chrono::steady_clock::time_point read;
    };

    void run();
    void takeInbox();
    void waitForInbox();
    bool step();
    bool embedText();
    bool embedPicture();
    bool readOn();
    bool embedLines();

    bool isPaused() const;
    void stopReading(const ReadingJobPtr &job);
    void begin(ReadingJob &job);
    void cut(ReadingJob &job);
    void finish(const ReadingJobPtr &job);
    void serveOverdue();
    static bool isOverdue(const Question &question);
    bool mayWait(const Embedding &embedding) const;
    void answerEmbedding(const std::vector<float> &vector);
    std::vector<float> vectorOfPicture();
    std::vector<float> knownVector(FrameReader &frame);
    std::shared_ptr<FrameReader> frameOf(std::string_view picture, const cv::Mat &smaller);
    void readLines(const ReadingJob &job);
    bool isWaitedFor(const ReadingJob &job) const;
    void tell(MessageType type, std::uint32_t session, std::uint64_t request,
              std::string_view bytes);
    void dropOldInTime();
    void dropOld();
    void rest();

    const std::unique_ptr<EngineSet> m_engines;
    const Settings m_settings;
    const Answer m_answer;

    // The worker's thread only.
    LineCache m_cache;
    ReadingQueue m_reading;
    RecentFrames m_recent;
    std::deque<Question> m_texts;
    std::deque<Question> m_pictures;
    std::deque<Vectorless> m_vectorless; // the newest last
    std::optional<Embedding> m_embedding;
    bool m_servesOverdue = false; // an engine's call is under way: none may be called
    bool m_rested = true;
    bool m_pausedBefore = false; // the engines paused, and have read nothing since
    std::chrono::steady_clock::time_point m_nextDrop;

    std::mutex m_mutex; // of what follows
    std::condition_variable m_posted;
    std::vector<Question> m_inbox;
    bool m_stop = false;

    std::thread m_thread; // last: sees every member
};
} // namespace coreai
