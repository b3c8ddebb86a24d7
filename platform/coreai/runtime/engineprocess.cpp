#include "coreai/runtime/engineprocess.h"

#include "coreai/protocol/answers.h"

#include <QtGlobal>

#include <algorithm>

namespace coreai
{
namespace
{
using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

constexpr int patienceWithoutCpu = 15;
constexpr std::chrono::milliseconds waitingSlice = 40ms;

constexpr int mostFailures = 2; // in a row, before a pause

std::string bitmapBytes(const cv::Mat &bitmap)
{
    const cv::Mat whole = bitmap.isContinuous() ? bitmap : bitmap.clone();
    return encodeBitmap(
        {whole.cols,
         whole.rows,
         {reinterpret_cast<const char *>(whole.data), whole.total() * whole.elemSize()}});
}
} // namespace

EngineProcess::EngineProcess(std::vector<std::string> command, std::chrono::milliseconds patience,
                             std::chrono::milliseconds pauseAfterFailures)
    : m_command(std::move(command)), m_patience(patience), m_pauseAfterFailures(pauseAfterFailures)
{
}

void EngineProcess::setWhileWaiting(std::function<void()> whileWaiting)
{
    m_whileWaiting = std::move(whileWaiting);
}

// Whoever only searches does without the recogniser.
void EngineProcess::prepareReading()
{
    if (startIfNeeded() && !m_toldToLoad) {
        Message message;
        message.type = MessageType::EngineLoadReader;
        m_toldToLoad = send(message);
    }
}

std::chrono::milliseconds EngineProcess::pause() const
{
    return std::max(0ms, std::chrono::ceil<std::chrono::milliseconds>(m_pauseUntil - Clock::now()));
}

bool EngineProcess::startIfNeeded()
{
    if (m_process.isRunning() && m_process.channel().isOpen()) {
        return true;
    }
    m_toldToLoad = false;
    return pause() == 0ms && m_process.start(m_command);
}

bool EngineProcess::send(const Message &message)
{
    const auto until = Clock::now() + m_patience;
    while (Clock::now() < until) {
        const Channel::Sending sending = m_process.channel().send(message);
        if (sending != Channel::Sending::Later) {
            return sending == Channel::Sending::Sent;
        }
        m_process.channel().waitWritable(50);
    }
    return false;
}

std::optional<Message> EngineProcess::tryCall(const Message &question, MessageType type)
{
    if (!startIfNeeded() || !send(question)) {
        return std::nullopt;
    }
    const Clock::time_point asked = Clock::now();
    const std::chrono::nanoseconds cpu = m_process.cpuTime();
    for (;;) {
        Message answer;
        const Channel::Receiving receiving = m_process.channel().receive(answer);
        if (receiving == Channel::Receiving::Ended) {
            return std::nullopt;
        }
        if (receiving == Channel::Receiving::Received) {
            if (answer.type == type && answer.request == question.request) {
                return answer;
            }
            continue; // of a call that was given up
        }
        if (isStuck(asked, cpu)) {
            qWarning("AI runtime: the engines do not answer; started again");
            return std::nullopt;
        }
        m_process.channel().waitReadable(
            int(std::min<std::chrono::milliseconds>(m_patience, waitingSlice).count()));
        if (m_whileWaiting) {
            m_whileWaiting();
        }
    }
}

bool EngineProcess::isStuck(Clock::time_point asked, std::chrono::nanoseconds cpu) const
{
    return m_process.cpuTime() - cpu >= m_patience ||
           Clock::now() - asked >= patienceWithoutCpu * m_patience;
}

std::optional<Message> EngineProcess::call(MessageType type, std::string_view bytes,
                                           MessageType answerType, int tries)
{
    if (pause() > 0ms) {
        return std::nullopt; // counts as no failure, which would make the pause last for ever
    }
    Message question;
    question.type = type;
    question.request = ++m_calls;
    question.payload = Payload::of(bytes);
    if (!question.payload.isValid()) {
        return std::nullopt;
    }
    for (int attempt = 0; attempt < tries; ++attempt) {
        if (std::optional<Message> answer = tryCall(question, answerType)) {
            m_failures = 0;
            return answer;
        }
        m_process.end(0);
        qWarning("AI runtime: the engines' process ended in a call");
    }
    if (tries == usualTries) {
        countFailure();
    }
    return std::nullopt;
}

// Only an answer sets the count back: after a pause one failure is enough.
void EngineProcess::countFailure()
{
    if (++m_failures >= mostFailures) {
        m_pauseUntil = Clock::now() + m_pauseAfterFailures;
    }
}

// Lines that fail together are read once more, each alone, so that they lose nothing by the one at
// which the engines die.
EngineSet::Lines EngineProcess::readLines(const std::vector<cv::Mat> &lines)
{
    if (lines.size() > 1) {
        if (std::optional<Lines> texts = readTogether(lines, 1)) {
            return *texts;
        }
    }
    Lines texts;
    for (const cv::Mat &line : lines) {
        if (pause() > 0ms) {
            break;
        }
        texts.push_back(readTogether({line}, usualTries).value_or(Lines(1)).front());
    }
    return texts;
}

std::optional<EngineSet::Lines> EngineProcess::readTogether(const std::vector<cv::Mat> &lines,
                                                            int tries)
{
    std::vector<std::string> bitmaps;
    bitmaps.reserve(lines.size());
    for (const cv::Mat &line : lines) {
        bitmaps.push_back(bitmapBytes(line));
    }
    const auto answer =
        call(MessageType::EngineReadLines, encodeTexts(bitmaps), MessageType::EngineLines, tries);
    if (!answer) {
        return std::nullopt;
    }
    const Payload::View view = answer->payload.view();
    const auto encoded = decodeTexts(view.bytes());
    if (!encoded || encoded->size() != lines.size()) {
        return std::nullopt;
    }
    Lines texts(lines.size());
    for (std::size_t index = 0; index < lines.size(); ++index) {
        LineText text;
        if (decodeLine((*encoded)[index], text.text, text.confidence)) {
            texts[index] = std::move(text);
        }
    }
    return texts;
}

EngineSet::Vectors EngineProcess::ofPassages(const std::vector<std::string> &texts)
{
    const auto answer =
        call(MessageType::EngineOfPassages, encodeTexts(texts), MessageType::EngineVectors);
    if (!answer) {
        return {};
    }
    const Payload::View view = answer->payload.view();
    Vectors vectors = decodeVectors(view.bytes()).value_or(Vectors());
    return vectors.size() == texts.size() ? vectors : Vectors();
}

std::vector<float> EngineProcess::vectorFor(MessageType type, std::string_view bytes)
{
    const auto answer = call(type, bytes, MessageType::EngineVectors);
    if (!answer) {
        return {};
    }
    const Payload::View view = answer->payload.view();
    Vectors vectors = decodeVectors(view.bytes()).value_or(Vectors());
    return vectors.size() == 1 ? std::move(vectors.front()) : std::vector<float>();
}

std::vector<float> EngineProcess::ofQuery(const std::string &utf8)
{
    return vectorFor(MessageType::EngineOfQuery, utf8);
}

std::vector<float> EngineProcess::ofPictureText(const std::string &utf8)
{
    return vectorFor(MessageType::EngineOfPictureText, utf8);
}

std::vector<float> EngineProcess::ofPicture(const cv::Mat &picture)
{
    return vectorFor(MessageType::EngineOfPicture, bitmapBytes(picture));
}

void EngineProcess::unload()
{
    m_process.end(1000);
}
} // namespace coreai
