// Connected parts of ink, the second stage of the line cut: letters, or whole words where letters
// stand close, with their extents to the pixel.
// Owner: cutLines(). Thread: any; no state is kept between calls.

#pragma once

#include <opencv2/core/mat.hpp>

#include <vector>

namespace coreai
{
// Ink in one row: columns first to last, both included.
struct InkRun {
    int row;
    int first;
    int last;
    int part; // index into InkParts::boxes
};

struct InkParts {
    std::vector<InkRun> runs;    // by row, then by column
    std::vector<cv::Rect> boxes; // one for each part
};

// The parts of an edge map.
InkParts inkParts(const cv::Mat &edges);
} // namespace coreai
