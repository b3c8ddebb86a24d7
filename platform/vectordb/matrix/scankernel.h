#pragma once
// The two inner loops of a search, in whatever form this processor runs fastest. Plain functions.
// Any thread.

#include <cstddef>
#include <cstdint>

namespace VectorDB
{
struct QueryCode;

/// The product of a row's codes with a query's; every kernel gives the same whole number.
using ScanKernel = std::int32_t (*)(const std::int8_t *codes, const QueryCode &query);

/// The one that searches use: NumKong's where it is built in and the processor suits it.
ScanKernel scanKernel();

/// The one of this project alone.
ScanKernel plainScanKernel();

/// NumKong's, or null: not built in, or not for this processor.
ScanKernel numKongScanKernel();

struct ExactSums {
    double product = 0.0;
    double squares = 0.0; ///< of the row
};

/// Sums in double precision, always in the same order.
ExactSums exactSums(const float *row, const double *query, std::size_t dimension);
} // namespace VectorDB
