#include "coreai/engines/reading/partedlines.h"

#include "coreai/engines/reading/linetensor.h"

#include <algorithm>
#include <numeric>

namespace coreai
{
namespace
{
// Chinese, Japanese and Korean put no blanks between words: U+3000 and above, of three bytes.
bool isIdeographic(unsigned char firstByte)
{
    return firstByte >= 0xe3;
}

bool startsWithWord(const std::string &text)
{
    return !text.empty() && !isIdeographic(static_cast<unsigned char>(text.front()));
}

bool endsWithWord(const std::string &text)
{
    const auto continues = [&](size_t at) { return (text[at] & 0xc0) == 0x80; };
    size_t last = text.empty() ? 0 : text.size() - 1;
    while (last > 0 && continues(last)) {
        --last;
    }
    return !text.empty() && !isIdeographic(static_cast<unsigned char>(text[last]));
}
} // namespace

PartedLines::PartedLines(const std::vector<cv::Mat> &lines) : m_lines(lines.size())
{
    for (std::size_t index = 0; index < lines.size(); ++index) {
        const cv::Mat &line = lines[index];
        if (!hasInk(line)) {
            continue;
        }
        for (const LinePart &part : lineParts(line, widestPart(line.rows))) {
            const cv::Mat bitmap = line.colRange(part.left, part.left + part.width);
            m_parts.push_back({index, part.newWord, bitmap, std::nullopt});
        }
    }
    m_order.resize(m_parts.size());
    std::iota(m_order.begin(), m_order.end(), std::size_t(0));
    const auto width = [this](std::size_t part) {
        return scaledWidth(m_parts[part].bitmap.size());
    };
    std::stable_sort(m_order.begin(), m_order.end(),
                     [&](std::size_t one, std::size_t other) { return width(one) > width(other); });
}

std::vector<std::optional<LineText>> PartedLines::texts() const
{
    std::vector<std::optional<LineText>> texts(m_lines, LineText());
    for (auto first = m_parts.begin(); first != m_parts.end();) {
        const auto last = std::find_if(first, m_parts.end(),
                                       [&](const Part &part) { return part.line != first->line; });
        texts[first->line] = joined(first, last);
        first = last;
    }
    return texts;
}

std::optional<LineText> PartedLines::joined(Parts::const_iterator first, Parts::const_iterator last)
{
    LineText answer;
    int weight = 0;
    for (; first != last; ++first) {
        if (!first->text) {
            return std::nullopt;
        }
        const LineText &read = *first->text;
        if (first->newWord && endsWithWord(answer.text) && startsWithWord(read.text)) {
            answer.text += ' ';
        }
        answer.text += read.text;
        answer.confidence += read.confidence * float(read.text.size());
        weight += int(read.text.size());
    }
    answer.confidence = weight > 0 ? answer.confidence / float(weight) : 0.0F;
    return answer;
}
} // namespace coreai
