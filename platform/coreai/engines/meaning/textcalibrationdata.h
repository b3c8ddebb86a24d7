// Constants of the text calibration; see textcalibration.h. textcalibrationdata.cpp is generated.

#pragma once

namespace coreai
{
constexpr int textCalibrationWidth = 384;

// Means of the background texts: other passages, other queries, Chinese passages, Chinese queries.
extern const float textCalibrationMeans[4][textCalibrationWidth];

// Orthonormal directions, and the share of a vector's part along each that is kept.
extern const int textCalibrationDirectionCount;
extern const float textCalibrationDirections[][textCalibrationWidth];
extern const float textCalibrationGains[];
} // namespace coreai
