// Chains parts of ink that stand beside each other into lines, the third stage of the line cut.
// Owner: cutLines(). Thread: any; no state is kept between calls.

#pragma once

#include "inkparts.h"

#include <vector>

namespace coreai
{
// The boxes of the lines that the parts of an edge map make up, in no order. Parts that reach over
// two lines are cut.
std::vector<cv::Rect> lineBoxes(InkParts &parts, const cv::Mat &edges);
} // namespace coreai
