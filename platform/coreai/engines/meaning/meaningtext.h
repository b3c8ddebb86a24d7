// What the meaning engines look at in a text before they embed it.
// Thread: any; functions of their argument alone.

#pragma once

#include <string>

namespace coreai
{
// The text as the models get it: valid UTF-8 of at most 2000 characters, bytes that are no UTF-8
// and control characters taken as blanks, blanks in a row as one, none at the ends. About 500
// tokens of English, the most that the text model looks at; what follows is not read.
std::string meaningText(const std::string &utf8);

// False for texts of digits, signs and single letters, such as "12:45", "×" or "→ 3 %": they tell
// nothing of a frame's subject.
bool hasWords(const std::string &meaningText);

// The two kinds of text that the text model keeps apart more than subjects.
enum class Script { Chinese, Other };

// Chinese where ideographs stand for more of the text than words of letters do.
Script scriptOf(const std::string &meaningText);
} // namespace coreai
