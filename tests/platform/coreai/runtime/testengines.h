#pragma once
// Engines whose answers are a function of their input that a test can compute itself. What happens
// is counted; delays and failures are set. The set may be looked at from the test's thread while
// the worker uses it.

#include "coreai/engines/linerecognizer.h"
#include "coreai/engines/picturemeaning.h"
#include "coreai/engines/textmeaning.h"
#include "coreai/runtime/engineset.h"

#include <atomic>
#include <chrono>
#include <memory>

namespace TestEngines
{
/// The text that a line's bitmap is read as: "line " and 16 hexadecimal digits.
std::string textOf(const cv::Mat &line);

/// A unit vector of 384 parts that depends on the text; empty for an empty one.
std::vector<float> vectorOf(const std::string &text);

struct Counts {
    std::atomic<int> reads{0};
    std::atomic<int> passages{0};
    std::atomic<int> queries{0};
    std::atomic<int> unloads{0};
    std::atomic<int> mostTogether{0};      ///< lines of one call
    std::atomic<int> readMilliseconds{0};  ///< of a line, or two read together; 0 ends it
    std::atomic<bool> fails{false};        ///< every call fails
    std::atomic<int> pauseMilliseconds{0}; ///< that begins with each failed reading
    std::atomic<int> pauses{0};
};

class CountingSet : public coreai::EngineSet
{
public:
    explicit CountingSet(Counts &counts) : m_counts(counts) {}

    void setWhileWaiting(std::function<void()> whileWaiting) override
    {
        m_whileWaiting = std::move(whileWaiting);
    }
    void prepareReading() override {}
    std::chrono::milliseconds pause() const override;
    Lines readLines(const std::vector<cv::Mat> &lines) override;
    Vectors ofPassages(const std::vector<std::string> &texts) override;
    std::vector<float> ofQuery(const std::string &utf8) override;
    std::vector<float> ofPictureText(const std::string &) override { return {}; }
    std::vector<float> ofPicture(const cv::Mat &) override { return {}; }
    void unload() override { ++m_counts.unloads; }

private:
    Counts &m_counts;
    std::function<void()> m_whileWaiting;
    std::chrono::steady_clock::time_point m_pauseUntil;
};

/// The same for a process of its own.
class Recognizer : public coreai::LineRecognizer
{
public:
    explicit Recognizer(int milliseconds) : m_milliseconds(milliseconds) {}
    std::optional<coreai::LineText> read(const cv::Mat &line) override;
    std::string name() const override { return "test"; }

private:
    int m_milliseconds;
};

class Meaning : public coreai::TextMeaning
{
public:
    std::vector<float> ofPassage(const std::string &utf8) override { return vectorOf(utf8); }
    std::vector<float> ofQuery(const std::string &utf8) override { return vectorOf(utf8); }
    int tokenCount(const std::string &utf8) override { return int(utf8.size()); }
    std::string name() const override { return "test"; }
};
} // namespace TestEngines
