// Reads the text of one line's picture. The answer is a function of the pixels alone: the same
// bitmap gives the same text at every call, whatever was read before or is read beside it.
// Owner: the runtime's engine set. Thread: one at a time.

#pragma once

#include <opencv2/core/mat.hpp>

#include <string>

namespace coreai
{
struct LineText {
    std::string text;     // UTF-8; empty where nothing was read
    float confidence = 0; // 0 to 1, the mean over the characters
};

class LineRecognizer
{
public:
    virtual ~LineRecognizer() = default;

    // `line` is CV_8UC4 (blue, green, red, ignored) of any size but empty.
    virtual LineText read(const cv::Mat &line) = 0;

    // For the log and the benchmarks, such as "PP-OCRv6 small".
    virtual std::string name() const = 0;

    // How many threads a call of read() may use, 1 at first; the text does not depend on it. An
    // engine that cannot be told keeps its own. What was made ready for another number is made
    // anew.
    virtual void setThreads(int /*threads*/) {}
};
} // namespace coreai
