#pragma once
// The exact search: every living row is scored by its codes, whatever can't be among the best by
// the proven bound of rowcode.h is left out, the rest is scored by its floats in double precision.
// Plain function; starts threads of its own for a large matrix and ends them. Any thread.

#include "vectordb/matrix/matrixfile.h"

#include <cstddef>
#include <optional>
#include <vector>

namespace VectorDB
{
struct Hit {
    double score = 0.0;
    std::size_t row = 0; ///< in the order of insertion
};

/// The @p count rows with the largest scores (fewer if there are fewer rows), the best first, equal
/// ones in the order of insertion. Null if something that it had to read is not as it was written.
std::optional<std::vector<Hit>> searchFlat(const MatrixSnapshot &matrix,
                                           const std::vector<float> &query, std::size_t count);
} // namespace VectorDB
