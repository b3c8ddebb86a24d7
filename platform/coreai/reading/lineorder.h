// Reading order of lines: block by block, a block's lines from the top, one row's lines from the
// left. Blocks are lines that stand closely below or beside each other.
// Owner: cutLines(). Thread: any; no state is kept between calls.

#pragma once

#include <opencv2/core/types.hpp>

#include <vector>

namespace coreai
{
// Indices of `lines` in reading order.
std::vector<int> readingOrder(const std::vector<cv::Rect> &lines);
} // namespace coreai
