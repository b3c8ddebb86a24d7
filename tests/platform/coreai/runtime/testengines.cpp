#include "testengines.h"

#include "coreai/reading/linecache.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <functional>
#include <thread>

namespace TestEngines
{
namespace
{
void wait(int milliseconds)
{
    std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
}
} // namespace

std::string textOf(const cv::Mat &line)
{
    char text[32];
    std::snprintf(text, sizeof(text), "line %016llx",
                  static_cast<unsigned long long>(coreai::LineKey::of(line).low));
    return text;
}

std::vector<float> vectorOf(const std::string &text)
{
    if (text.empty()) {
        return {};
    }
    std::vector<float> vector(coreai::TextMeaning::dimensions);
    vector[std::hash<std::string>()(text) % vector.size()] = 1;
    return vector;
}

std::chrono::milliseconds CountingSet::pause() const
{
    using std::chrono::milliseconds;
    const auto left = m_pauseUntil - std::chrono::steady_clock::now();
    return std::max(milliseconds::zero(), std::chrono::ceil<milliseconds>(left));
}

coreai::EngineSet::Lines CountingSet::readLines(const std::vector<cv::Mat> &lines)
{
    const int count = int(lines.size());
    m_counts.reads += count;
    m_counts.mostTogether = std::max(m_counts.mostTogether.load(), count);
    constexpr int slice = 20; // in which one that waits for another process looks about
    int left = m_counts.readMilliseconds * ((count + 1) / 2);
    for (; left > slice && m_counts.readMilliseconds > 0; left -= slice) {
        wait(slice);
        m_whileWaiting();
    }
    wait(left);
    if (m_counts.fails && m_counts.pauseMilliseconds > 0) {
        ++m_counts.pauses;
        m_pauseUntil = std::chrono::steady_clock::now() +
                       std::chrono::milliseconds(m_counts.pauseMilliseconds);
        return {std::nullopt};
    }
    Lines texts(lines.size());
    for (std::size_t index = 0; index < lines.size() && !m_counts.fails; ++index) {
        texts[index] = coreai::LineText{textOf(lines[index]), 1};
    }
    return texts;
}

coreai::EngineSet::Vectors CountingSet::ofPassages(const std::vector<std::string> &texts)
{
    Vectors vectors;
    for (const std::string &text : texts) {
        ++m_counts.passages;
        vectors.push_back(vectorOf(text));
    }
    return m_counts.fails ? Vectors() : vectors;
}

std::vector<float> CountingSet::ofQuery(const std::string &utf8)
{
    ++m_counts.queries;
    return m_counts.fails ? std::vector<float>() : vectorOf(utf8);
}

std::optional<coreai::LineText> Recognizer::read(const cv::Mat &line)
{
    wait(m_milliseconds);
    return coreai::LineText{textOf(line), 1};
}
} // namespace TestEngines
