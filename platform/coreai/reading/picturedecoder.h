// Decodes encoded pictures that may hold anything.
// Thread: any; no state.

#pragma once

#include <opencv2/core/mat.hpp>

#include <string_view>

namespace coreai
{
// Pictures of more pixels are refused: 8K, or four screens of 4K. One takes 133 MB.
constexpr long mostPixels = 7680L * 4320L;

// Size of the picture as its header tells; 0x0 for what is none or is too large.
cv::Size pictureSize(std::string_view encoded);

// The picture of a PNG or JPEG file as CV_8UC4 (blue, green, red, 255); transparent pixels lie on
// black. Empty for what is no picture, is cut short, or has more than mostPixels.
cv::Mat decodePicture(std::string_view encoded);

// The same, at about a `divisor` of its size: in a fraction of the time where the format allows it.
cv::Mat decodeSmaller(std::string_view encoded, int divisor);
} // namespace coreai
