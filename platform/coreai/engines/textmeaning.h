// Turns a text into a vector of its meaning, calibrated so that unrelated texts are near to
// orthogonal whatever their language.
// Owner: the runtime's engine set. Thread: one at a time.

#pragma once

#include <string>
#include <vector>

namespace coreai
{
class TextMeaning
{
public:
    static constexpr int dimensions = 384;

    virtual ~TextMeaning() = default;

    // A line of a frame. A pure function of the text, so that it can be remembered beside it.
    // 384 floats of length 1, or empty on failure and for a text without words.
    virtual std::vector<float> ofPassage(const std::string &utf8) = 0;

    // The same vectors as ofPassage() gives one by one, in this order, an empty one for a text
    // without words; no vectors at all on failure. Half the time and less where
    // texts are short: 16 lines of a menu take about 8 ms each, alone 20 ms.
    virtual std::vector<std::vector<float>> ofPassages(const std::vector<std::string> &texts)
    {
        std::vector<std::vector<float>> vectors;
        vectors.reserve(texts.size());
        for (const std::string &text : texts) {
            vectors.push_back(ofPassage(text));
        }
        return vectors;
    }

    // What a person searches with, in the same space.
    virtual std::vector<float> ofQuery(const std::string &utf8) = 0;

    // Tokens that ofPassage() works through, at most 512; 0 for a text without words. Its time is
    // about 12 ms and 1 ms a token; of texts given together, 1 ms a token.
    virtual int tokenCount(const std::string &utf8) = 0;

    virtual std::string name() const = 0;
};
} // namespace coreai
