// Scripts that are written without blanks between the words.
// Thread: any; a function of its argument alone.

#pragma once

#include <QtGlobal>

namespace coreai
{
/// Whether a character, in UTF-32, is a syllable of its own: Chinese, Japanese, Korean.
bool isSyllable(uint character);
} // namespace coreai
