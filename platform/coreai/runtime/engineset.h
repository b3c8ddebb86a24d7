// What the runtime's worker computes with. Engines fail as things that run elsewhere do: nothing is
// given then, and nothing is remembered.
// Owner: the runtime. Thread: the worker's only.

#pragma once

#include "coreai/engines/linerecognizer.h"

#include <chrono>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace coreai
{
class EngineSet
{
public:
    using Vectors = std::vector<std::vector<float>>;
    using Lines = std::vector<std::optional<LineText>>;

    virtual ~EngineSet() = default;

    // Called every few hundredths of a second while a call waits for its answer, which may take
    // long on a busy machine. It must not call an engine.
    virtual void setWhileWaiting(std::function<void()> whileWaiting) = 0;

    // Lines will be read soon: loads what can be loaded meanwhile. Returns at once.
    virtual void prepareReading() = 0;

    // For how long from now on every call fails at once; 0 where engines can be asked. Those that
    // failed again and again are left alone for a while.
    virtual std::chrono::milliseconds pause() const = 0;

    // The texts of the lines in their order, nothing for one that failed. Fewer than lines where a
    // pause began: the rest was not tried. A line alone is read on one core, several on two.
    virtual Lines readLines(const std::vector<cv::Mat> &lines) = 0;

    std::optional<LineText> readLine(const cv::Mat &line)
    {
        const Lines texts = readLines({line});
        return texts.empty() ? std::nullopt : texts.front();
    }

    // A vector for each text, empty for one without meaning; no vectors at all on failure.
    virtual Vectors ofPassages(const std::vector<std::string> &texts) = 0;

    // These are empty on failure and where there is no such model.
    virtual std::vector<float> ofQuery(const std::string &utf8) = 0;
    virtual std::vector<float> ofPictureText(const std::string &utf8) = 0;
    virtual std::vector<float> ofPicture(const cv::Mat &picture) = 0;

    // Gives all memory back. The next call loads again.
    virtual void unload() = 0;
};
} // namespace coreai
