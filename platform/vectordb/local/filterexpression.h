#pragma once
// The filter language of a deletion: one closed range of one field of whole numbers,
//
//     A <= field && field <= B
//
// with A and B as signed 64-bit decimal numbers, the same field on both sides and blanks anywhere
// between these seven parts. Everything else is an error, so that no misread filter can match more
// than was meant. Plain functions. Any thread.

#include <cstdint>
#include <optional>
#include <string>

namespace VectorDB
{
struct RangeFilter {
    std::string field;
    std::int64_t lower = 0; ///< included
    std::int64_t upper = 0; ///< included; below @a lower nothing matches
};

/// Null for what is not of the language; @p error then tells where and why, in one line.
std::optional<RangeFilter> parseRangeFilter(const std::string &text, std::string &error);
} // namespace VectorDB
