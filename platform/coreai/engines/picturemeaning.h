// Turns pictures and texts into vectors of one space (a CLIP model's two towers).
// Owner: the runtime's engine set. Thread: one at a time.

#pragma once

#include <opencv2/core/mat.hpp>

#include <string>
#include <vector>

namespace coreai
{
class PictureMeaning
{
public:
    static constexpr int dimensions = 512;

    virtual ~PictureMeaning() = default;

    // `picture` is CV_8UC4 (blue, green, red, ignored). 512 floats of length 1, or empty where
    // there is no model or it failed.
    virtual std::vector<float> ofPicture(const cv::Mat &picture) = 0;

    virtual std::vector<float> ofText(const std::string &utf8) = 0;

    virtual std::string name() const = 0;
};
} // namespace coreai
