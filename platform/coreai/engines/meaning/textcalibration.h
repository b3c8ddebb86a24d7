// Brings the text model's vectors to a space in which unrelated texts are near to orthogonal: what
// all texts of a language and a role have in common is taken away, then the directions in which
// texts differ for other reasons than their subject. The constants are made by
// calibration/calibratemeaning from the texts beside it.
// Thread: any; functions of their arguments alone.

#pragma once

#include "coreai/engines/meaning/meaningtext.h"

#include <vector>

namespace coreai
{
enum class TextRole { Passage, Query };

// `raw` is the model's vector of 384 floats. The result has length 1; empty where the vector holds
// what is no number or nothing remains of it.
std::vector<float> calibratedText(const std::vector<float> &raw, Script script, TextRole role);
} // namespace coreai
