#include "coreai/engines/meaning/cliptensor.h"

#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <cmath>

namespace coreai
{
namespace
{
// Mean and deviation of red, green and blue, from 0 to 1, that CLIP models are trained with.
constexpr float means[] = {0.48145466F, 0.4578275F, 0.40821073F};
constexpr float deviations[] = {0.26862954F, 0.26130258F, 0.27577711F};

cv::Mat squareOf(const cv::Mat &picture)
{
    const double scale = static_cast<double>(clipSide) / std::min(picture.cols, picture.rows);
    const cv::Size size(std::max(clipSide, static_cast<int>(std::lround(picture.cols * scale))),
                        std::max(clipSide, static_cast<int>(std::lround(picture.rows * scale))));
    cv::Mat scaled;
    cv::resize(picture, scaled, size, 0, 0, scale < 1 ? cv::INTER_AREA : cv::INTER_CUBIC);
    return scaled(
        cv::Rect((size.width - clipSide) / 2, (size.height - clipSide) / 2, clipSide, clipSide));
}
} // namespace

void fillClipTensor(const cv::Mat &picture, float *planes)
{
    const cv::Mat square = squareOf(picture);
    constexpr int area = clipSide * clipSide;
    for (int y = 0; y < clipSide; ++y) {
        const auto *row = square.ptr<cv::Vec4b>(y);
        for (int x = 0; x < clipSide; ++x) {
            for (int channel = 0; channel < 3; ++channel) {
                const float value = static_cast<float>(row[x][2 - channel]) / 255.0F;
                planes[channel * area + y * clipSide + x] =
                    (value - means[channel]) / deviations[channel];
            }
        }
    }
}
} // namespace coreai
