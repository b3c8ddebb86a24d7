// NumKong's kernels of the npm package usearch: 8 by 8 bits, so a query goes in two halves.

#include "vectordb/matrix/scankernel.h"

#include "vectordb/matrix/rowcode.h"

#include <numkong/capabilities.h>
#include <numkong/dot.h>

namespace VectorDB
{
namespace
{
using Dot = void (*)(const nk_i8_t *, const nk_i8_t *, nk_size_t, nk_i32_t *);

template <Dot dot>
std::int32_t scan(const std::int8_t *codes, const QueryCode &query)
{
    nk_i32_t high = 0;
    nk_i32_t low = 0;
    dot(codes, query.high.data(), query.high.size(), &high);
    dot(codes, query.low.data(), query.low.size(), &low);
    return 128 * high + low;
}
} // namespace

ScanKernel numKongScanKernel()
{
#if defined(__x86_64__)
    if (nk_capabilities() & nk_cap_haswell_k) {
        return scan<nk_dot_i8_haswell>;
    }
#endif
    return nullptr;
}
} // namespace VectorDB
