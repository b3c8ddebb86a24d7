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

/// The fastest one here. NumKong's (npm package usearch) takes 1.1 to 1.6 times as long for rows in
/// the cache: it multiplies 8 by 8 bits, so each row is gone through twice.
ScanKernel scanKernel();

/// The one for any processor.
ScanKernel portableScanKernel();

struct ExactSums {
    double product = 0.0;
    double squares = 0.0; ///< of the row
};

/// Sums in double precision, always in the same order.
ExactSums exactSums(const float *row, const double *query, std::size_t dimension);
} // namespace VectorDB
