#include "coreai/runtime/worker.h"

#include "coreai/meaning/meaningspace.h"
#include "coreai/protocol/answers.h"
#include "coreai/reading/picturedecoder.h"
#include "coreai/runtime/tellinglines.h"

#include <algorithm>
#include <malloc.h>
#include <pthread.h>

namespace coreai
{
namespace
{
using namespace std::chrono_literals;

constexpr auto dropInterval = 5min;             // between looks for lines not seen for an hour
constexpr std::size_t vectorsAtOnce = 4;        // lines of a background step: 40 to 80 ms
constexpr std::size_t mostVectorless = 4000;    // more than the cache would keep for long
constexpr std::size_t mostTextBytes = 16 << 10; // the model looks at 2000 characters
constexpr int smallerDivisor = 4;
constexpr int smallestScreen = 1024 * 768; // pixels

std::vector<Corner> cornersOf(const cv::Rect &box)
{
    const int right = box.x + box.width;
    const int bottom = box.y + box.height;
    return {{box.x, box.y}, {right, box.y}, {right, bottom}, {box.x, bottom}};
}

std::string linesOf(const FrameReader &reader)
{
    std::vector<ReadLine> lines;
    for (const FrameReader::Line &line : reader.lines()) {
        if (line.text && !line.text->text.empty()) {
            lines.push_back({line.text->text, cornersOf(line.box)});
        }
    }
    return encodeLines(lines);
}
} // namespace

Worker::Worker(std::unique_ptr<EngineSet> engines, Settings settings, Answer answer)
    : m_engines(std::move(engines))
    , m_settings(std::move(settings))
    , m_answer(std::move(answer))
    , m_cache(m_settings.cacheBytes, m_settings.clock)
    , m_nextDrop(m_settings.clock() + dropInterval)
    , m_thread([this] { run(); })
{
}

Worker::~Worker()
{
    {
        const std::lock_guard lock(m_mutex);
        m_stop = true;
    }
    m_posted.notify_all();
    m_thread.join();
}

void Worker::post(Message message)
{
    {
        const std::lock_guard lock(m_mutex);
        m_inbox.push_back({std::move(message), Deadline::Clock::now()});
    }
    m_posted.notify_all();
}

void Worker::run()
{
    pthread_setname_np(pthread_self(), "ai worker");
    m_engines->setWhileWaiting([this] { serveOverdue(); });
    for (;;) {
        takeInbox();
        {
            const std::lock_guard lock(m_mutex);
            if (m_stop) {
                return;
            }
        }
        dropOldInTime();
        if (step()) {
            m_rested = false;
        } else {
            waitForInbox();
        }
    }
}

void Worker::waitForInbox()
{
    // With work to do, it is the engines that are waited for.
    const bool idle = m_reading.isEmpty() && m_vectorless.empty();
    const auto idleTime = m_rested ? std::chrono::milliseconds(dropInterval) : m_settings.idleTime;
    const auto patience = idle ? idleTime : m_engines->pause();
    std::unique_lock lock(m_mutex);
    const bool posted =
        m_posted.wait_for(lock, patience, [this] { return m_stop || !m_inbox.empty(); });
    lock.unlock();
    if (!posted && idle) {
        rest();
    }
}

// A busy worker never rests.
void Worker::dropOldInTime()
{
    if (m_settings.clock() >= m_nextDrop) {
        dropOld();
    }
}

void Worker::dropOld()
{
    const auto now = m_settings.clock();
    m_nextDrop = now + dropInterval;
    m_cache.dropOld();
    while (!m_vectorless.empty() && now - m_vectorless.front().read > LineCache::lifetime) {
        m_vectorless.pop_front();
    }
}

void Worker::rest()
{
    dropOld();
    if (!m_rested) {
        m_engines->unload();
        m_recent.clear();
        m_rested = true;
    }
    ::malloc_trim(0);
}

void Worker::takeInbox()
{
    std::vector<Question> inbox;
    {
        const std::lock_guard lock(m_mutex);
        inbox.swap(m_inbox);
    }
    for (Question &question : inbox) {
        const Message &message = question.message;
        if (message.type == MessageType::EmbedText) {
            m_texts.push_back(std::move(question));
        } else if (message.type == MessageType::EmbedPicture) {
            m_pictures.push_back(std::move(question));
        } else if (message.type == MessageType::CloseSession) {
            m_reading.removeSession(message.session);
        } else if (message.type == MessageType::ReadPicture) {
            const cv::Size size = pictureSize(message.payload.view().bytes());
            m_reading.add(std::make_shared<ReadingJob>(
                ReadingJob{message.session, message.request, message.payload, size,
                           std::make_shared<FrameReader>(m_cache), false}));
        }
    }
}

// False where there is nothing to do.
bool Worker::step()
{
    return embedText() || embedPicture() || readOn() || embedLines();
}

void Worker::tell(MessageType type, std::uint32_t session, std::uint64_t request,
                  std::string_view bytes)
{
    m_answer({type, session, request, Payload::of(bytes)});
}

bool Worker::embedText()
{
    if (m_texts.empty()) {
        return false;
    }
    const Message message = std::move(m_texts.front().message);
    m_texts.pop_front();
    tell(MessageType::Begun, message.session, message.request, {});
    const Payload::View view = message.payload.view();
    const std::string text(view.bytes().substr(0, mostTextBytes));
    const std::vector<float> words = m_engines->ofQuery(text);
    const std::vector<float> picture =
        m_settings.pictureModel ? m_engines->ofPictureText(text) : std::vector<float>();
    tell(MessageType::Vector, message.session, message.request,
         encodeFloats(MeaningSpace::forQuery(words, picture)));
    return true;
}

bool Worker::embedPicture()
{
    if (m_pictures.empty()) {
        return false;
    }
    m_embedding = Embedding{std::move(m_pictures.front()), nullptr, false};
    m_pictures.pop_front();
    const Message &message = m_embedding->question.message;
    if (!m_embedding->question.knowsNothing) {
        tell(MessageType::Begun, message.session, message.request, {});
    }
    const std::vector<float> vector = vectorOfPicture();
    if (m_servesOverdue && mayWait(*m_embedding)) {
        m_embedding->question.knowsNothing = true;
        m_pictures.push_front(std::move(m_embedding->question));
    } else {
        answerEmbedding(vector);
    }
    m_embedding.reset();
    return true;
}

// The first answer counts.
void Worker::answerEmbedding(const std::vector<float> &vector)
{
    if (!m_embedding->answered) {
        m_embedding->answered = true;
        const Message &message = m_embedding->question.message;
        tell(MessageType::Vector, message.session, message.request, encodeFloats(vector));
    }
}

std::vector<float> Worker::vectorOfPicture()
{
    if (m_rested && !m_servesOverdue) {
        m_engines->prepareReading(); // loads while the picture is decoded
    }
    const Payload::View view = m_embedding->question.message.payload.view();
    const cv::Mat smaller = decodeSmaller(view.bytes(), smallerDivisor);
    if (smaller.empty()) {
        return {};
    }
    m_embedding->frame = frameOf(view.bytes(), smaller);
    if (m_servesOverdue) {
        return knownVector(*m_embedding->frame);
    }
    const std::vector<float> picture =
        m_settings.pictureModel ? m_engines->ofPicture(smaller) : std::vector<float>();
    std::vector<float> vector =
        FrameMeaning(*m_engines, m_cache)
            .of(*m_embedding->frame, picture, Deadline(m_embedding->question.asked));
    if (isPaused()) {
        m_embedding->frame->startAgain(); // it may still wait to be read
    }
    return vector;
}

std::shared_ptr<FrameReader> Worker::frameOf(std::string_view picture, const cv::Mat &smaller)
{
    // The frame is handed over for reading just before its embedding is asked for, so it usually
    // still waits.
    const cv::Size size = pictureSize(picture);
    const ReadingJobPtr waiting = m_reading.newestOf(size);
    if (waiting && !waiting->reader->isCut()) {
        begin(*waiting);
        cut(*waiting);
        m_reading.limitBitmaps();
    }
    std::shared_ptr<FrameReader> frame = m_recent.find(size, RecentFrames::thumbnailOf(smaller));
    if (!frame) {
        frame = std::make_shared<FrameReader>(m_cache);
        frame->cut(decodePicture(picture));
    }
    return frame;
}

std::vector<float> Worker::knownVector(FrameReader &frame)
{
    return FrameMeaning(*m_engines, m_cache).of(frame, {}, Deadline::passed());
}

// While an engine is waited for. The recorder stands still until it has its vector, and engines at
// the lowest priority may take seconds where others use the machine.
void Worker::serveOverdue()
{
    m_servesOverdue = true;
    if (m_embedding && m_embedding->frame && !mayWait(*m_embedding)) {
        answerEmbedding(knownVector(*m_embedding->frame));
    }
    if (!m_embedding) {
        takeInbox();
        while (!m_pictures.empty() && isOverdue(m_pictures.front())) {
            embedPicture();
        }
    }
    m_servesOverdue = false;
}

bool Worker::isOverdue(const Question &question)
{
    const auto limit = question.knowsNothing ? Deadline::overdueWithNothing : Deadline::overdue;
    return Deadline::Clock::now() - question.asked >= limit;
}

// Whether an answer of what is known now should not be given yet.
bool Worker::mayWait(const Embedding &embedding) const
{
    const auto spent = Deadline::Clock::now() - embedding.question.asked;
    if (!embedding.frame || spent >= Deadline::overdueWithNothing) {
        return false;
    }
    const auto &lines = embedding.frame->lines();
    const auto hasVector = [this](const FrameReader::Line &line) {
        return !m_cache.findVector(line.key).value_or(std::vector<float>()).empty();
    };
    return spent < Deadline::overdue ||
           (!lines.empty() && std::none_of(lines.begin(), lines.end(), hasVector));
}

bool Worker::readOn()
{
    const ReadingJobPtr job = m_reading.next();
    if (!job || isPaused()) {
        return false;
    }
    if (!job->reader->isCut()) {
        begin(*job);
        cut(*job);
    } else if (!job->reader->isComplete()) {
        readLines(*job);
    }
    if (isPaused()) {
        stopReading(job);
    } else if (job->reader->isComplete()) {
        finish(job);
    }
    return true;
}

bool Worker::isPaused() const
{
    return m_engines->pause() > 0ms;
}

// The engines failed at this picture. It waits for them once; what failed is read then.
void Worker::stopReading(const ReadingJobPtr &job)
{
    if (m_pausedBefore) {
        finish(job);
    }
    job->reader->startAgain();
    m_pausedBefore = true;
}

void Worker::begin(ReadingJob &job)
{
    if (!job.begun) {
        job.begun = true;
        tell(MessageType::Begun, job.session, job.request, {});
    }
}

void Worker::cut(ReadingJob &job)
{
    const Payload::View view = job.picture.view();
    const cv::Mat picture = decodePicture(view.bytes());
    job.reader->cut(picture);
    m_recent.add(job.size, RecentFrames::thumbnailOf(picture), job.reader);
    job.mayTakeTwoCores = !m_settings.power.onBattery();
    if (!job.reader->isComplete() && !m_servesOverdue) {
        m_engines->prepareReading();
    }
}

void Worker::readLines(const ReadingJob &job)
{
    const auto read = [this](const std::vector<cv::Mat> &lines) {
        EngineSet::Lines texts = m_engines->readLines(lines);
        const auto isRead = [](const auto &text) { return text.has_value(); };
        m_pausedBefore = m_pausedBefore && std::none_of(texts.begin(), texts.end(), isRead);
        return texts;
    };
    if (job.mayTakeTwoCores && isWaitedFor(job)) {
        job.reader->readNextTogether(read);
    } else {
        job.reader->readNext([&read](const cv::Mat &line) {
            const EngineSet::Lines texts = read({line});
            return texts.empty() ? std::nullopt : texts.front();
        });
    }
}

// The recorder's pictures are whole screens, whose reading nobody should feel. What is smaller
// than any, or overtakes them, was cut out by somebody.
bool Worker::isWaitedFor(const ReadingJob &job) const
{
    return job.size.area() < smallestScreen || m_reading.sessionCount() > 1;
}

void Worker::finish(const ReadingJobPtr &job)
{
    tell(MessageType::Lines, job->session, job->request, linesOf(*job->reader));
    const std::vector<FrameReader::Line> &lines = job->reader->lines();
    const std::vector<std::size_t> telling = tellingLines(lines);
    for (auto place = telling.rbegin(); place != telling.rend(); ++place) {
        const FrameReader::Line &line = lines[*place];
        if (!m_cache.findVector(line.key)) {
            m_vectorless.push_back({line.key, line.text->text, m_settings.clock()});
        }
    }
    while (m_vectorless.size() > mostVectorless) {
        m_vectorless.pop_front();
    }
    m_reading.remove(*job);
}

// What was read last is asked for first, of a frame the most telling.
bool Worker::embedLines()
{
    if (isPaused()) {
        return false;
    }
    std::vector<Vectorless> lines;
    while (lines.size() < vectorsAtOnce && !m_vectorless.empty()) {
        if (!m_cache.findVector(m_vectorless.back().key)) {
            lines.push_back(std::move(m_vectorless.back()));
        }
        m_vectorless.pop_back();
    }
    if (lines.empty()) {
        return false;
    }
    std::vector<std::string> texts;
    texts.reserve(lines.size());
    for (const Vectorless &line : lines) {
        texts.push_back(line.text);
    }
    const EngineSet::Vectors vectors = m_engines->ofPassages(texts);
    for (std::size_t index = 0; index < vectors.size() && index < lines.size(); ++index) {
        m_cache.storeVector(lines[index].key, vectors[index]);
    }
    return true;
}
} // namespace coreai
