#include "coreai/engines/reading/nulllinerecognizer.h"

namespace coreai
{
LineText NullLineRecognizer::read(const cv::Mat & /*line*/)
{
    return {};
}

std::string NullLineRecognizer::name() const
{
    return "none";
}
} // namespace coreai
