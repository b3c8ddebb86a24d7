#pragma once
// Vectors in 8 bits, with a proven bound on what that costs.
//
// A row x and a query y are taken at length 1. The row is stored as scale * codes, the query as
// scale * codes too (15 bits), so that their product is a sum of whole numbers. With e and f for
// what the two codings leave out,
//
//     | x.y - row.scale * query.scale * (row.codes . query.codes) |
//         <= (1 + |e|) * |f| + |e|          (Cauchy and Schwarz, |y| = 1, |x - e| <= 1 + |e|)
//
// |e| is stored beside the row, |f| with the query, both computed in double precision and rounded
// up. Plain functions. Any thread.

#include <cstddef>
#include <cstdint>
#include <vector>

namespace VectorDB
{
/// What stands beside the codes of a row.
struct RowScale {
    float scale = 0.0F; ///< 0 for a row of zeros
    float error = 0.0F; ///< no less than |e|
};

/// Writes @p dimension codes from -127 to 127.
RowScale encodeRow(const float *vector, std::size_t dimension, std::int8_t *codes);

struct QueryCode {
    std::vector<double> unit; ///< the query at length 1, or zeros
    std::vector<std::int16_t> codes;
    double scale = 0.0;
    double error = 0.0; ///< no less than |f|
};

QueryCode encodeQuery(const std::vector<float> &vector);

/// How far the product of the codes can lie from a row's score.
inline double errorBound(const RowScale &row, const QueryCode &query)
{
    // What rounding adds, here and in the exact product, lies below 1e-6 by far.
    return (1.0 + row.error) * query.error + row.error + 1e-6;
}

/// The cosine between a row and a query in double precision; 0 where either is all zeros. Equal
/// rows give equal scores, to the last bit.
double exactScore(const float *vector, const QueryCode &query);
} // namespace VectorDB
