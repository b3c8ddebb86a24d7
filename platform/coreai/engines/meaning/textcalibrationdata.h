// Constants of the text calibration; see textcalibration.h. textcalibrationdata.cpp is generated.

#pragma once

namespace coreai
{
constexpr int textCalibrationWidth = 384;

// What one unit of the means and directions is worth.
constexpr double textCalibrationUnit = 1.0 / 32768.0;

// Means of the background texts: other passages, other queries, Chinese passages, Chinese queries.
extern const short textCalibrationMeans[][textCalibrationWidth];

// Orthonormal directions, and the share of a vector's part along each that is kept.
extern const int textCalibrationDirectionCount;
extern const short textCalibrationDirections[][textCalibrationWidth];
extern const float textCalibrationGains[];
} // namespace coreai
