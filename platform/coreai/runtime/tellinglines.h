// Which lines of a frame are worth a vector: embedding a line takes about as long as reading it,
// and most lines of a screen (menus, cells, file names) hardly move the frame's vector. Thread:
// any; a function of its argument alone.

#pragma once

#include "coreai/reading/framereader.h"

namespace coreai
{
// Of the labelled frames in bench/coreai/meaning 12 lines each give the hits of all, 5 others.
constexpr std::size_t mostTellingLines = 16;

// Places of the most telling lines that have a text, the most telling first: sentences where there
// are any, else what there is. At most mostTellingLines.
std::vector<std::size_t> tellingLines(const std::vector<FrameReader::Line> &lines);
} // namespace coreai
