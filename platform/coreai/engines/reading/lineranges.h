// What the layers of the line model hold while lines of screens are read.

#pragma once

#include "coreai/engines/reading/quantization.h"

namespace coreai
{
// In the order of the network; made by calibration/calibratelines.
extern const std::vector<LayerRange> lineRanges;
} // namespace coreai
