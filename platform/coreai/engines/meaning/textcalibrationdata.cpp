#include "coreai/engines/meaning/textcalibrationdata.h"

namespace coreai
{
const float textCalibrationMeans[4][textCalibrationWidth] = {};
const int textCalibrationDirectionCount = 0;
const float textCalibrationDirections[][textCalibrationWidth] = {{}};
const float textCalibrationGains[] = {0};
} // namespace coreai
