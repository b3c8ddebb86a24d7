// Chains parts of ink that stand beside each other into lines, the third stage of the line cut.
// Owner: cutLines(). Thread: any; no state is kept between calls.

#pragma once

#include "inkparts.h"

#include <vector>

namespace coreai
{
struct LineChains {
    std::vector<cv::Rect> boxes; // one for each line
    std::vector<int> lineOfPart; // index into `boxes`, -1 for parts of no line
};

// The lines of the parts of an edge map.
LineChains lineChains(const InkParts &parts, const cv::Mat &edges);
} // namespace coreai
