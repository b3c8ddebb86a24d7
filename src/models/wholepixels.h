#pragma once
// Coordinates that pages and the AI runtime tell, as whole pixels. Thread: any.

#include <algorithm>
#include <cmath>

/// Nothing lies further away, so that the sum of any three fits an int.
constexpr int FARTHEST_PIXEL = 1 << 29;

/// @p value without what stands behind the point, within the farthest pixel to either side; 0 for
/// what is no number.
inline int wholePixels(double value)
{
    if (std::isnan(value)) {
        return 0;
    }
    return static_cast<int>(std::clamp<double>(value, -FARTHEST_PIXEL, FARTHEST_PIXEL));
}
