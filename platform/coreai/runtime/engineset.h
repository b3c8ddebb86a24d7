// What the runtime's worker computes with. Engines fail as things that run elsewhere do: nothing is
// given then, and nothing is remembered.
// Owner: the runtime. Thread: the worker's only.

#pragma once

#include "coreai/engines/linerecognizer.h"

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

    virtual ~EngineSet() = default;

    // Called every few hundredths of a second while a call waits for its answer, which may take
    // long on a busy machine. It must not call an engine.
    virtual void setWhileWaiting(std::function<void()> whileWaiting) = 0;

    // Lines will be read soon, by so many threads: loads what can be loaded meanwhile. Returns at
    // once.
    virtual void prepareReading(int threads) = 0;

    virtual std::optional<LineText> readLine(const cv::Mat &line) = 0;

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
