// Lines as the network takes them: cut into parts that fit its widest input, and their texts joined
// again. Parts are told by numbers, the widest first, so that two readers that each take the next
// one end at about the same time.
// Owner: a call of the recogniser. Thread: part() and put() any, of one number one at a time.

#pragma once

#include "coreai/engines/linerecognizer.h"
#include "coreai/engines/reading/lineink.h"

#include <optional>
#include <vector>

namespace coreai
{
class PartedLines
{
public:
    // `lines` as LineRecognizer::read() takes them; one without ink has no part.
    explicit PartedLines(const std::vector<cv::Mat> &lines);

    std::size_t count() const { return m_parts.size(); }

    // The pixels are those of the line.
    const cv::Mat &part(std::size_t number) const { return m_parts[m_order[number]].bitmap; }
    void put(std::size_t number, LineText text) { m_parts[m_order[number]].text = std::move(text); }

    // In the order of the lines; nothing for a line of which a part was not put.
    std::vector<std::optional<LineText>> texts() const;

private:
    struct Part {
        std::size_t line;
        bool newWord;
        cv::Mat bitmap;
        std::optional<LineText> text;
    };
    using Parts = std::vector<Part>;

    static std::optional<LineText> joined(Parts::const_iterator first, Parts::const_iterator last);

    std::size_t m_lines;
    Parts m_parts; // line by line
    std::vector<std::size_t> m_order;
};
} // namespace coreai
