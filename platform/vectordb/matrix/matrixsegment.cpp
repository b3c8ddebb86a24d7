#include "vectordb/matrix/matrixsegment.h"

#include <sys/mman.h>

#include <algorithm>

namespace VectorDB
{
namespace
{
constexpr std::size_t WORD_BITS = 64;

template <typename Bits>
bool hasBit(const Bits &bits, std::size_t slot)
{
    return (bits[slot / WORD_BITS] >> (slot % WORD_BITS) & 1) != 0;
}

template <typename Bits>
void setBit(Bits &bits, std::size_t slot, bool value)
{
    const std::uint64_t bit = std::uint64_t{1} << (slot % WORD_BITS);
    if (value) {
        bits[slot / WORD_BITS] |= bit;
    } else {
        bits[slot / WORD_BITS] &= ~bit;
    }
}
} // namespace

std::shared_ptr<MatrixSegment> MatrixSegment::map(int file, std::size_t offset,
                                                  const MatrixLayout &layout)
{
    void *start = mmap(nullptr, layout.segmentBytes(), PROT_READ, MAP_SHARED, file,
                       static_cast<off_t>(offset));
    if (start == MAP_FAILED) {
        return nullptr;
    }
    return std::shared_ptr<MatrixSegment>(
        new MatrixSegment(static_cast<const char *>(start), layout));
}

MatrixSegment::~MatrixSegment()
{
    munmap(const_cast<char *>(m_start), m_layout.segmentBytes());
}

const std::int8_t *MatrixSegment::codes(std::size_t slot) const
{
    return reinterpret_cast<const std::int8_t *>(m_start + m_layout.codes(slot));
}

const float *MatrixSegment::floats(std::size_t slot) const
{
    return reinterpret_cast<const float *>(m_start + m_layout.floats(slot));
}

bool MatrixSegment::isAlive(std::size_t slot) const
{
    return hasBit(m_alive, slot);
}

bool MatrixSegment::hasAlive() const
{
    return std::any_of(m_alive.begin(), m_alive.end(), [](const auto &word) { return word != 0; });
}

void MatrixSegment::setAlive(std::size_t slot, bool alive)
{
    setBit(m_alive, slot, alive);
}

// In both of the following a row may be deleted and wiped while it is looked at, hence the last
// look at its life.

bool MatrixSegment::areCodesWhole(std::size_t rows)
{
    if (m_codesWhole) {
        return true;
    }
    for (std::size_t slot = 0; slot < rows; ++slot) {
        if (isAlive(slot) &&
            checksumOf(codes(slot), m_layout.codeBytes()) !=
                MatrixLayout::head(card(slot)).codeChecksum &&
            isAlive(slot)) {
            return false;
        }
    }
    m_codesWhole = true;
    return true;
}

bool MatrixSegment::areFloatsWhole(std::size_t slot)
{
    if (hasBit(m_wholeFloats, slot)) {
        return true;
    }
    if (checksumOf(floats(slot), m_layout.floatBytes()) !=
            MatrixLayout::head(card(slot)).floatChecksum &&
        isAlive(slot)) {
        return false;
    }
    setBit(m_wholeFloats, slot, true);
    return true;
}
} // namespace VectorDB
