#include "vectordb/matrix/scankernel.h"

#include "vectordb/matrix/rowcode.h"

namespace VectorDB
{
namespace
{
// Partial sums side by side, which the compiler turns into registers without changing their order.
constexpr std::size_t LANES = 8;

inline std::int32_t product(const std::int8_t *codes, const std::int16_t *query,
                            std::size_t dimension)
{
    std::int32_t sum = 0;
    for (std::size_t i = 0; i < dimension; ++i) {
        sum += std::int32_t{codes[i]} * std::int32_t{query[i]};
    }
    return sum;
}

inline ExactSums sums(const float *row, const double *query, std::size_t dimension)
{
    double products[LANES] = {};
    double squares[LANES] = {};
    const std::size_t whole = dimension - dimension % LANES;
    for (std::size_t i = 0; i < whole; i += LANES) {
        for (std::size_t lane = 0; lane < LANES; ++lane) {
            const double value = row[i + lane];
            products[lane] += value * query[i + lane];
            squares[lane] += value * value;
        }
    }
    for (std::size_t i = whole; i < dimension; ++i) {
        products[i - whole] += double{row[i]} * query[i];
        squares[i - whole] += double{row[i]} * double{row[i]};
    }
    ExactSums result;
    for (std::size_t lane = 0; lane < LANES; ++lane) {
        result.product += products[lane];
        result.squares += squares[lane];
    }
    return result;
}

std::int32_t scanAnywhere(const std::int8_t *codes, const QueryCode &query)
{
    return product(codes, query.codes.data(), query.codes.size());
}

#if defined(__x86_64__)
// The build is for the oldest processor of the architecture. These two are chosen by hand and not
// by the dynamic linker (target_clones), whose resolvers run before a sanitizer is ready for them.
[[gnu::target("avx2")]] std::int32_t scanAvx2(const std::int8_t *codes, const QueryCode &query)
{
    return product(codes, query.codes.data(), query.codes.size());
}

[[gnu::target("avx2")]] ExactSums sumsAvx2(const float *row, const double *query,
                                           std::size_t dimension)
{
    return sums(row, query, dimension);
}

bool hasAvx2()
{
    static const bool has = __builtin_cpu_supports("avx2") != 0;
    return has;
}
#endif
} // namespace

ScanKernel scanKernel()
{
#if defined(__x86_64__)
    if (hasAvx2()) {
        return scanAvx2;
    }
#endif
    return scanAnywhere;
}

ScanKernel portableScanKernel()
{
    return scanAnywhere;
}

ExactSums exactSums(const float *row, const double *query, std::size_t dimension)
{
#if defined(__x86_64__)
    if (hasAvx2()) {
        return sumsAvx2(row, query, dimension);
    }
#endif
    return sums(row, query, dimension);
}
} // namespace VectorDB
