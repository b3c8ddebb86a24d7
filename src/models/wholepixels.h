#pragma once
// Coordinates that pages and the AI runtime tell, as whole pixels. Thread: any.

#include <algorithm>
#include <cmath>
#include <limits>

/// @p value without what stands behind the point. The nearest int for one beyond all ints and 0 for
/// what is no number, which a plain conversion leaves undefined.
inline int wholePixels(double value)
{
    if (std::isnan(value)) {
        return 0;
    }
    return static_cast<int>(std::clamp<double>(value, std::numeric_limits<int>::min(),
                                               std::numeric_limits<int>::max()));
}
