#include "coreai/engines/reading/nulllinerecognizer.h"

namespace coreai
{
std::optional<LineText> NullLineRecognizer::read(const cv::Mat & /*line*/)
{
    return std::nullopt;
}

std::string NullLineRecognizer::name() const
{
    return "none";
}
} // namespace coreai
