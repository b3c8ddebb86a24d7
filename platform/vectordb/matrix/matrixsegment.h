#pragma once
// One segment of a matrix file, mapped for reading, and which of its rows are alive. Owner: shared
// by the matrix and by every search that began while it was part of it, so neither a deletion nor a
// new file takes anything away under a search. Thread: any; writing goes through MatrixFile.

#include "vectordb/matrix/matrixlayout.h"

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>

namespace VectorDB
{
class MatrixSegment
{
public:
    /// Null if the file can't be mapped; errno tells why.
    static std::shared_ptr<MatrixSegment> map(int file, std::size_t offset,
                                              const MatrixLayout &layout);
    ~MatrixSegment();
    MatrixSegment(const MatrixSegment &) = delete;
    MatrixSegment &operator=(const MatrixSegment &) = delete;

    const char *card(std::size_t slot) const { return m_start + m_layout.card(slot); }
    const std::int8_t *codes(std::size_t slot) const;
    const float *floats(std::size_t slot) const;

    bool isAlive(std::size_t slot) const;
    bool hasAlive() const;
    void setAlive(std::size_t slot, bool alive);

    /// Whether the codes of the living among the first @p rows are as they were written. Looks at
    /// their checksums once; rows that come later were written by this process.
    bool areCodesWhole(std::size_t rows);

    /// The same for the floats of one row.
    bool areFloatsWhole(std::size_t slot);

private:
    MatrixSegment(const char *start, const MatrixLayout &layout) : m_start(start), m_layout(layout)
    {
    }
    using Bits = std::array<std::atomic<std::uint64_t>, SEGMENT_ROWS / 64>;

    const char *m_start;
    MatrixLayout m_layout;
    Bits m_alive{};
    Bits m_wholeFloats{};
    std::atomic<bool> m_codesWhole{false};
};
} // namespace VectorDB
