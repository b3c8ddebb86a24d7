// Cuts a picture of the screen into lines of text by local rules alone: the same pixels give the
// same line, wherever they stand and whatever stands a few pixels away.
// Thread: any; no state is kept between calls.

#pragma once

#include <opencv2/core/mat.hpp>

#include <vector>

namespace coreai
{
struct CutLine {
    cv::Rect box;   // in pixels of the picture
    cv::Mat bitmap; // CV_8UC4, the line's own pixels, continuous; what the text is a function of
};

// The lines of `picture` (CV_8UC4: blue, green, red, ignored) in reading order, block by block. An
// empty picture, or one of another type, gives none.
std::vector<CutLine> cutLines(const cv::Mat &picture);
} // namespace coreai
