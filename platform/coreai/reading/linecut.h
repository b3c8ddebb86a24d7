// Cuts a picture of the screen into lines of text by local rules alone: the same pixels give the
// same line, wherever they stand and whatever stands a few pixels away.
//
// How far is that: above and below a line nothing counts that does not touch it, but for marks
// (dots, accents, underscores), which join the line that is nearest. Beside a line only what stands
// in its rows and nearer than two of its heights and nine pixels can belong to it, and nothing
// beyond a border or the edge of a picture. At no size of type does anything count beyond cutReach.
//
// Thread: any; no state is kept between calls.

#pragma once

#include <opencv2/core/mat.hpp>

#include <vector>

namespace coreai
{
// Pixels from a line's box beyond which nothing changes its bitmap.
constexpr int cutReach = 96;

// Largest picture that is cut, in pixels: two screens of 7680x4320. Time and memory are bounded by
// it: about a quarter of a second, and two bytes a pixel beside the picture.
constexpr std::size_t largestCutPicture = std::size_t(1) << 26;

struct CutLine {
    cv::Rect box;   // in pixels of the picture
    cv::Mat bitmap; // CV_8UC4, the line's own pixels, continuous; what the text is a function of
};

// The lines of `picture` (CV_8UC4: blue, green, red, ignored) in reading order, block by block. An
// empty picture, a larger one than largestCutPicture, or one of another type, gives none. Scraps of
// photographs, textures and single icons are left out as far as cheap statistics tell them.
std::vector<CutLine> cutLines(const cv::Mat &picture);
} // namespace coreai
