// Brings a part of a line into the form that the recognition network takes: 48 rows, one of
// a few widths, three planes of floats from -1 to 1.
// Pure functions of the pixels. Thread: any.

#pragma once

#include <opencv2/core/mat.hpp>

namespace coreai
{
constexpr int tensorRows = 48;

// Widest part of a line that is read at once. The time is in proportion to the width, so that
// nothing is gained beyond it, and the memory is, too.
constexpr int widestTensor = 1280;

// Width of `part` (CV_8UC4, not empty) at 48 rows with its margins, at most widestTensor.
int scaledWidth(const cv::Size &part);

// The width that the network is run at for a scaled width: the next of 25. Each costs memory once
// it was used, and what a line does not fill of its width is time lost.
int tensorWidth(int width);

// Widest part of a line of this height that fits the widest input.
int widestPart(int rows);

// Fills 3 x 48 x `width` floats at `to`: blue, green, red, as the network was trained.
void fillTensor(const cv::Mat &part, int width, float *to);
} // namespace coreai
