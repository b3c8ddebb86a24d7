// A picture as a CLIP model's image tower takes it.
// Thread: any; a function of its arguments alone.

#pragma once

#include <opencv2/core/mat.hpp>

namespace coreai
{
// Side of the square that the tower sees, in pixels.
constexpr int clipSide = 224;

// Writes 3 planes (red, green, blue) of clipSide by clipSide floats: the picture scaled so that its
// shorter side fits, its middle cut out, each channel brought to the mean and spread of the
// pictures that the models are trained on. `picture` is CV_8UC4 (blue, green, red, ignored) and not
// empty.
void fillClipTensor(const cv::Mat &picture, float *planes);
} // namespace coreai
