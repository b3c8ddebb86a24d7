// Stands in where there is no picture model: no picture means anything.

#pragma once

#include "coreai/engines/picturemeaning.h"

namespace coreai
{
class NullPictureMeaning : public PictureMeaning
{
public:
    std::vector<float> ofPicture(const cv::Mat & /*picture*/) override { return {}; }
    std::vector<float> ofText(const std::string & /*utf8*/) override { return {}; }
    std::string name() const override { return "none"; }
};
} // namespace coreai
