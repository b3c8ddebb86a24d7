// How much a text tells, in words.
// Thread: any; a function of its argument alone.

#pragma once

#include <string>

namespace coreai
{
// Words of at least three letters; of scripts that are written without blanks (Chinese, Japanese,
// Korean) two characters stand for a word.
double wordCount(const std::string &utf8);
} // namespace coreai
