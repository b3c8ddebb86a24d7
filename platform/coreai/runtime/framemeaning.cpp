#include "coreai/runtime/framemeaning.h"

#include "coreai/meaning/meaningspace.h"

#include <algorithm>
#include <utility>

namespace coreai
{
namespace
{
// What the engines need on one core, in milliseconds, measured at 1920x1080.
constexpr double readingFixed = 8.0;
constexpr double readingEachColumn = 0.085; // of a line scaled to 48 rows
constexpr double passagesFixed = 12.0;
constexpr double passagesEachByte = 0.35; // about three bytes a token, a millisecond a token

constexpr int networkRows = 48;
constexpr std::size_t linesAtOnce = 4; // small, so that little is lost at the deadline

double readingTime(const cv::Size &line)
{
    return readingFixed + readingEachColumn * line.width * networkRows / std::max(line.height, 1);
}

// What a line that is not read yet may tell: sentences first, of these the largest type. A sentence
// of four words or eight ideographs is about eight times as wide as high.
std::pair<bool, int> promise(const cv::Rect &line)
{
    return {line.width >= 8 * line.height, line.height};
}

double passagesTime(std::size_t bytes)
{
    return passagesFixed + passagesEachByte * double(bytes);
}
} // namespace

bool Deadline::allows(double milliseconds, bool nothingYet) const
{
    const std::chrono::duration<double, std::milli> spent = Clock::now() - m_asked;
    return spent.count() + milliseconds <= double((nothingYet ? latest : usual).count());
}

std::vector<float> FrameMeaning::of(FrameReader &frame, const std::vector<float> &picture,
                                    const Deadline &deadline)
{
    knownVectors(frame);
    while (nextGroup(frame, deadline)) {
    }
    std::vector<WeighedLine> weighed;
    for (std::size_t line = 0; line < m_vectors.size(); ++line) {
        if (!m_vectors[line].empty()) {
            const FrameReader::Line &place = frame.lines()[line];
            const std::string text = place.text ? place.text->text : std::string();
            weighed.push_back({&m_vectors[line], MeaningSpace::weightOf(text, place.box.height)});
        }
    }
    return MeaningSpace::forFrame(weighed, picture);
}

void FrameMeaning::knownVectors(FrameReader &frame)
{
    const auto &lines = frame.lines();
    m_vectors.assign(lines.size(), {});
    m_missing.clear();
    m_any = m_anySentence = false;
    for (std::size_t line = 0; line < lines.size(); ++line) {
        const auto vector = m_cache.findVector(lines[line].key);
        const bool blank = lines[line].text && lines[line].text->text.empty();
        if (vector) {
            m_vectors[line] = *vector;
            m_any = m_any || !vector->empty();
            m_anySentence = m_anySentence ||
                            (lines[line].text && MeaningSpace::isSentence(lines[line].text->text));
        } else if (!blank && (lines[line].text || !lines[line].bitmap.empty())) {
            m_missing.push_back(line);
        }
    }
    std::stable_sort(m_missing.begin(), m_missing.end(), [&](std::size_t one, std::size_t other) {
        return promise(lines[one].box) < promise(lines[other].box);
    });
}

// False at the deadline, in a pause, and where nothing is missing.
bool FrameMeaning::nextGroup(FrameReader &frame, const Deadline &deadline)
{
    std::vector<Wanted> group;
    bool inTime = true;
    while (inTime && !m_missing.empty() && group.size() < linesAtOnce) {
        const std::size_t line = m_missing.back();
        m_missing.pop_back();
        inTime = readForGroup(frame, line, deadline, group);
    }
    embedGroup(frame, group);
    return inTime && !m_missing.empty();
}

bool FrameMeaning::readForGroup(FrameReader &frame, std::size_t line, const Deadline &deadline,
                                std::vector<Wanted> &group)
{
    if (m_engines.pause() > std::chrono::milliseconds::zero()) {
        return false;
    }
    std::size_t bytes = 0;
    for (const Wanted &wanted : group) {
        bytes += wanted.text.size();
    }
    const bool nothingYet = !m_any && group.empty();
    const FrameReader::Line &place = frame.lines()[line];
    if (!place.text) {
        const double time = readingTime(place.box.size()) + passagesTime(bytes + 30);
        if (!deadline.allows(time, nothingYet)) {
            return false;
        }
        frame.read(line, [this](const cv::Mat &bitmap) { return m_engines.readLine(bitmap); });
    }
    const std::string &text = place.text->text;
    const bool isSentence = MeaningSpace::isSentence(text);
    if (text.empty() || (m_anySentence && !isSentence)) {
        return true; // sentences tell what the frame is about
    }
    if (!deadline.allows(passagesTime(bytes + text.size()), nothingYet)) {
        return false;
    }
    group.push_back({line, text});
    m_anySentence = m_anySentence || isSentence;
    return true;
}

void FrameMeaning::embedGroup(const FrameReader &frame, const std::vector<Wanted> &group)
{
    if (group.empty()) {
        return;
    }
    std::vector<std::string> texts;
    texts.reserve(group.size());
    for (const Wanted &wanted : group) {
        texts.push_back(wanted.text);
    }
    const EngineSet::Vectors vectors = m_engines.ofPassages(texts);
    for (std::size_t index = 0; index < vectors.size() && index < group.size(); ++index) {
        m_cache.storeVector(frame.lines()[group[index].line].key, vectors[index]);
        m_vectors[group[index].line] = vectors[index];
        m_any = m_any || !vectors[index].empty();
    }
}
} // namespace coreai
