#pragma once
// Where everything stands in a matrix file (docs/formats.md shows one). Plain values. Any thread.
//
// The head, then segments of SEGMENT_ROWS rows each. A segment holds the cards of its rows, then
// their codes, then their floats, each part one array. A card has a RowHead, then the row's
// scalars: numbers with 8 bytes, strings with 2 bytes of length and as many bytes as the field may
// hold.

#include "vectordb/local/collection.h"
#include "vectordb/matrix/rowcode.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace VectorDB
{
constexpr std::size_t SEGMENT_ROWS = 1024;

struct FileHead {
    std::array<char, 8> magic{'Y', 'V', 'M', 'A', 'T', 'R', 'I', 'X'};
    std::uint32_t checksum = 0; ///< of everything behind this field
    std::uint32_t version = 1;
    std::array<char, 32> identity{}; ///< of the store of rows that it belongs to
    std::int64_t collection = 0;
    std::int64_t generation = 0;
    std::uint32_t dimension = 0;
    std::uint32_t cardBytes = 0;
    std::uint32_t segmentRows = SEGMENT_ROWS;
    std::uint32_t reserved = 0;
};
static_assert(sizeof(FileHead) == 80);

enum Death : std::uint32_t {
    ALIVE = 0,
    WIPED = 1,
    DYING = 2, ///< dead; its codes and floats may not have been overwritten yet
};

struct RowHead {
    std::uint32_t checksum = 0; ///< of the rest of the card
    std::uint32_t codeChecksum = 0;
    std::int64_t rowId = 0;
    RowScale scale;
    std::uint32_t floatChecksum = 0;
    std::uint32_t death = 0; ///< a Death
    bool isDead() const { return death != 0; }
};
static_assert(sizeof(RowHead) == 32);

class MatrixLayout
{
public:
    explicit MatrixLayout(const CollectionDefinition &definition);

    static constexpr std::size_t HEAD_BYTES = 4096; ///< segments begin at whole pages

    std::size_t dimension() const { return m_dimension; }
    std::size_t cardBytes() const { return m_cardBytes; }
    std::size_t codeBytes() const { return m_codeBytes; }
    std::size_t floatBytes() const { return m_floatBytes; }
    std::size_t segmentBytes() const { return m_segmentBytes; }

    /// Offsets in a segment of the row at @p slot of it.
    std::size_t card(std::size_t slot) const { return slot * m_cardBytes; }
    std::size_t codes(std::size_t slot) const { return m_codesStart + slot * m_codeBytes; }
    std::size_t floats(std::size_t slot) const { return m_floatsStart + slot * m_floatBytes; }

    /// The bytes of a card, its checksum set.
    std::vector<char> makeCard(RowHead head, const std::vector<Scalar> &scalars) const;
    std::vector<char> makeDeadCard(std::int64_t rowId, Death death) const;

    /// Whether a card is whole and of a row.
    bool isCard(const char *card) const;
    static RowHead head(const char *card);
    Scalar scalar(const char *card, std::size_t place) const;

private:
    void seal(std::vector<char> &card, RowHead head) const;

    struct Slot {
        std::size_t offset = 0;
        std::size_t textBytes = 0; ///< 0 for a number
    };
    std::size_t m_dimension;
    std::size_t m_cardBytes;
    std::size_t m_codeBytes;
    std::size_t m_floatBytes;
    std::size_t m_codesStart;
    std::size_t m_floatsStart;
    std::size_t m_segmentBytes;
    std::vector<Slot> m_slots;
};

/// CRC-32C.
std::uint32_t checksumOf(const void *data, std::size_t bytes);
} // namespace VectorDB
