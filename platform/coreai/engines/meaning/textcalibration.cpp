#include "coreai/engines/meaning/textcalibration.h"

#include "coreai/engines/meaning/textcalibrationdata.h"

#include <cmath>

namespace coreai
{
namespace
{
// Below this length a vector is what rounding left.
constexpr double leastLength = 1e-6;

const short *meanOf(Script script, TextRole role)
{
    const int row = (script == Script::Chinese ? 2 : 0) + (role == TextRole::Query ? 1 : 0);
    return textCalibrationMeans[row];
}
} // namespace

std::vector<float> calibratedText(const std::vector<float> &raw, Script script, TextRole role)
{
    const short *mean = meanOf(script, role);
    std::vector<double> vector(raw.size());
    for (size_t i = 0; i < raw.size(); ++i) {
        vector[i] = static_cast<double>(raw[i]) - mean[i] * textCalibrationUnit;
    }
    for (int direction = 0; direction < textCalibrationDirectionCount; ++direction) {
        const short *unit = textCalibrationDirections[direction];
        double along = 0;
        for (size_t i = 0; i < vector.size(); ++i) {
            along += vector[i] * unit[i] * textCalibrationUnit;
        }
        along *= 1.0 - static_cast<double>(textCalibrationGains[direction]);
        for (size_t i = 0; i < vector.size(); ++i) {
            vector[i] -= along * unit[i] * textCalibrationUnit;
        }
    }
    double squares = 0;
    for (const double value : vector) {
        squares += value * value;
    }
    const double length = std::sqrt(squares);
    if (!std::isfinite(length) || length < leastLength) {
        return {};
    }
    std::vector<float> result(vector.size());
    for (size_t i = 0; i < vector.size(); ++i) {
        result[i] = static_cast<float>(vector[i] / length);
    }
    return result;
}
} // namespace coreai
