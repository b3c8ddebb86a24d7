#include "vectordb/matrix/rowcode.h"

#include "vectordb/matrix/scankernel.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace VectorDB
{
namespace
{
constexpr int ROW_STEPS = 127;
constexpr int QUERY_STEPS = 127 * 128; // finer ones would not fit the 32 bits of a sum of 1024

// A float no less than value, with room for the rounding of the sums behind it.
float roundedUp(double value)
{
    const double generous = value * (1.0 + 1e-6);
    return std::nextafterf(static_cast<float>(generous), std::numeric_limits<float>::infinity());
}

double lengthOf(const float *vector, std::size_t dimension)
{
    double squares = 0.0;
    for (std::size_t i = 0; i < dimension; ++i) {
        squares += double{vector[i]} * double{vector[i]};
    }
    return std::sqrt(squares);
}

double greatestOf(const float *vector, std::size_t dimension)
{
    float greatest = 0.0F;
    for (std::size_t i = 0; i < dimension; ++i) {
        greatest = std::max(greatest, std::fabs(vector[i]));
    }
    return greatest;
}
} // namespace

RowScale encodeRow(const float *vector, std::size_t dimension, std::int8_t *codes)
{
    const double length = lengthOf(vector, dimension);
    if (length == 0.0) {
        std::fill_n(codes, dimension, std::int8_t{0});
        return {};
    }
    RowScale row;
    // The scale as it is stored is what counts, so that its own rounding is part of the error.
    row.scale = static_cast<float>(greatestOf(vector, dimension) / length / ROW_STEPS);
    const double scale = row.scale;
    double squares = 0.0;
    for (std::size_t i = 0; i < dimension; ++i) {
        const double unit = double{vector[i]} / length;
        const double code =
            std::clamp(std::nearbyint(unit / scale), -double{ROW_STEPS}, double{ROW_STEPS});
        codes[i] = static_cast<std::int8_t>(code);
        const double left = unit - scale * code;
        squares += left * left;
    }
    row.error = roundedUp(std::sqrt(squares));
    return row;
}

QueryCode encodeQuery(const std::vector<float> &vector)
{
    const std::size_t dimension = vector.size();
    QueryCode query;
    query.unit.resize(dimension);
    query.codes.resize(dimension);
    const double length = lengthOf(vector.data(), dimension);
    if (length == 0.0) {
        return query;
    }
    // The product of the codes is summed in 32 bits.
    const int steps = static_cast<int>(
        std::min<std::size_t>(QUERY_STEPS, std::numeric_limits<std::int32_t>::max() /
                                               (ROW_STEPS * std::max<std::size_t>(dimension, 1))));
    query.scale = greatestOf(vector.data(), dimension) / length / steps;
    double squares = 0.0;
    for (std::size_t i = 0; i < dimension; ++i) {
        const double unit = double{vector[i]} / length;
        const int code = static_cast<int>(std::nearbyint(unit / query.scale));
        const double left = unit - query.scale * code;
        squares += left * left;
        query.unit[i] = unit;
        query.codes[i] = static_cast<std::int16_t>(code);
    }
    query.error = std::sqrt(squares) * (1.0 + 1e-6);
    return query;
}

double exactScore(const float *vector, const QueryCode &query)
{
    const ExactSums sums = exactSums(vector, query.unit.data(), query.unit.size());
    return sums.squares == 0.0 ? 0.0 : sums.product / std::sqrt(sums.squares);
}
} // namespace VectorDB
