// Brings a part of a line into the form that the recognition network takes: 48 rows, the width of
// one of a few buckets, three planes of floats from -1 to 1.
// Pure functions of the pixels. Thread: any.

#pragma once

#include <opencv2/core/mat.hpp>

namespace coreai
{
constexpr int tensorRows = 48;

// Fixed widths of the network's input: each costs memory once it was used, and what a line does not
// fill of its width is time lost.
constexpr int tensorWidths[] = {80, 160, 320, 640, 1280};
constexpr int widestTensor = tensorWidths[std::size(tensorWidths) - 1];

// Width of `part` (CV_8UC4, not empty) at 48 rows with its margins, at most widestTensor.
int scaledWidth(const cv::Size &part);

// The smallest bucket that holds `width`.
int tensorWidth(int width);

// Widest part of a line of this height that fits the widest bucket.
int widestPart(int rows);

// Fills 3 x 48 x `width` floats at `to`: blue, green, red, as the network was trained.
void fillTensor(const cv::Mat &part, int width, float *to);
} // namespace coreai
