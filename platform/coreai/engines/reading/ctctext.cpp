#include "coreai/engines/reading/ctctext.h"

#include <algorithm>
#include <sstream>

namespace coreai
{
namespace
{
size_t bestClass(const float *row, size_t classes)
{
    // Most steps are blanks, and nothing else can be likelier than more than a half.
    if (row[0] > 0.5F) {
        return 0;
    }
    return size_t(std::max_element(row, row + classes) - row);
}
} // namespace

CtcText::CtcText(const std::string &characters)
{
    m_classes.emplace_back();
    std::istringstream lines(characters);
    for (std::string character; std::getline(lines, character);) {
        m_classes.push_back(character);
    }
    m_classes.emplace_back(" ");
}

LineText CtcText::decode(const float *probabilities, size_t steps) const
{
    LineText line;
    size_t before = 0;
    int kept = 0;
    for (size_t step = 0; step < steps; ++step) {
        const float *row = probabilities + step * classes();
        const size_t index = bestClass(row, classes());
        if (index != 0 && index != before) {
            line.text += m_classes[index];
            line.confidence += row[index];
            ++kept;
        }
        before = index;
    }
    if (kept > 0) {
        line.confidence /= float(kept);
    }
    return line;
}
} // namespace coreai
