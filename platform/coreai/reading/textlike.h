// Tells lines of text from scraps of photographs, textures and icons by cheap statistics.
// Owner: cutLines(). Thread: any; no state is kept between calls.

#pragma once

#include <opencv2/core/mat.hpp>

namespace coreai
{
// Whether the line at `box` of `picture` (CV_8UC4) with this edge map may be text.
bool looksLikeText(const cv::Mat &picture, const cv::Mat &edges, const cv::Rect &box);
} // namespace coreai
