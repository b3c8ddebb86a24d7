// Parts of ink that hold letters of two lines, where a descender touches what stands below it or
// the mouse pointer covers both.
// Owner: lineBoxes(). Thread: any; no state is kept between calls.

#pragma once

#include "inkparts.h"

#include <utility>
#include <vector>

namespace coreai
{
// Cuts each part that has one neighbour wholly above another, between the two, but where a third is
// as high as the part: Chinese characters stand beside such that are made of pieces. `neighbours`
// are pairs of indices of parts that would be chained. False where there was nothing to cut.
bool cutBridges(InkParts &parts, const std::vector<std::pair<int, int>> &neighbours);
} // namespace coreai
