// Reads nothing: stands in where no engine can be loaded, so that no caller tests for null.
// Owner: the runtime's engine set. Thread: any.

#pragma once

#include "coreai/engines/linerecognizer.h"

namespace coreai
{
class NullLineRecognizer : public LineRecognizer
{
public:
    std::optional<LineText> read(const cv::Mat &line) override;
    std::string name() const override;
};
} // namespace coreai
