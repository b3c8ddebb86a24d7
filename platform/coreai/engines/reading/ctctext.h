// Turns what the recognition network puts out, a row of class probabilities a step, into text.
// Thread: any; immutable after its construction.

#pragma once

#include "coreai/engines/linerecognizer.h"

#include <cstddef>
#include <string>
#include <vector>

namespace coreai
{
class CtcText
{
public:
    // `characters`: one a line, UTF-8, as the model's metadata holds them. Class 0 is the blank,
    // the class after the last character a space.
    explicit CtcText(const std::string &characters);

    size_t classes() const { return m_classes.size(); }

    // Greedy: the best class of every step, repetitions and blanks taken out. `probabilities` holds
    // steps x classes floats. Confidence is the mean over the characters that were kept.
    LineText decode(const float *probabilities, size_t steps) const;

private:
    std::vector<std::string> m_classes;
};
} // namespace coreai
