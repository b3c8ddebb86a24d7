// Reads the text of one line's picture. The answer is a function of the pixels alone: the same
// bitmap gives the same text at every call, whatever was read before or is read beside it.
// Owner: the runtime's engine set. Thread: one at a time.

#pragma once

#include <opencv2/core/mat.hpp>

#include <optional>
#include <string>
#include <vector>

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

    // `line` is CV_8UC4 (blue, green, red, ignored) of any size but empty. Nothing where it could
    // not be read, which is not the same as one without text. Keeps to one core.
    virtual std::optional<LineText> read(const cv::Mat &line) = 0;

    // The texts of several lines in their order, each as read() gives it. An engine that can read
    // side by side takes two cores for them.
    virtual std::vector<std::optional<LineText>> readAll(const std::vector<cv::Mat> &lines)
    {
        std::vector<std::optional<LineText>> texts;
        texts.reserve(lines.size());
        for (const cv::Mat &line : lines) {
            texts.push_back(read(line));
        }
        return texts;
    }

    // For the log and the benchmarks, such as "PP-OCRv6 small".
    virtual std::string name() const = 0;
};
} // namespace coreai
