#include "vectordb/matrix/matrixlayout.h"

#include <algorithm>
#include <cstring>
#include <variant>

#include <isa-l/crc.h>

namespace VectorDB
{
namespace
{
constexpr std::size_t LENGTH_BYTES = 2;
constexpr std::size_t PAGE = 4096;
constexpr std::size_t LINE = 64; // of the processor's cache

std::size_t roundUp(std::size_t value, std::size_t step)
{
    return (value + step - 1) / step * step;
}
} // namespace

std::uint32_t checksumOf(const void *data, std::size_t bytes)
{
    // The library reads only; its declaration lacks the const.
    auto *buffer = static_cast<unsigned char *>(const_cast<void *>(data));
    return crc32_iscsi(buffer, static_cast<int>(bytes), ~0U);
}

MatrixLayout::MatrixLayout(const CollectionDefinition &definition)
    : m_dimension(definition.dimension())
    , m_codeBytes(roundUp(m_dimension, LINE))
    , m_floatBytes(m_dimension * sizeof(float))
{
    std::size_t offset = sizeof(RowHead);
    for (std::size_t place = 0; place < definition.scalars.size(); ++place) {
        const FieldSchema &field = definition.scalar(place);
        const bool isText = field.Type() == DataType::VARCHAR;
        m_slots.push_back({offset, isText ? field.MaxLength() : 0});
        offset += isText ? LENGTH_BYTES + field.MaxLength() : sizeof(std::int64_t);
    }
    m_cardBytes = roundUp(offset, alignof(RowHead));
    // Each part on pages of its own, so that it can be wiped by itself.
    m_codesStart = roundUp(m_cardBytes * SEGMENT_ROWS, PAGE);
    m_floatsStart = m_codesStart + roundUp(m_codeBytes * SEGMENT_ROWS, PAGE);
    m_segmentBytes = m_floatsStart + roundUp(m_floatBytes * SEGMENT_ROWS, PAGE);
}

void MatrixLayout::seal(std::vector<char> &card, RowHead head) const
{
    std::memcpy(card.data(), &head, sizeof(head));
    head.checksum =
        checksumOf(card.data() + sizeof(head.checksum), card.size() - sizeof(head.checksum));
    std::memcpy(card.data(), &head.checksum, sizeof(head.checksum));
}

std::vector<char> MatrixLayout::makeCard(RowHead head, const std::vector<Scalar> &scalars) const
{
    std::vector<char> card(m_cardBytes);
    for (std::size_t place = 0; place < m_slots.size(); ++place) {
        char *target = card.data() + m_slots[place].offset;
        if (const auto *number = std::get_if<std::int64_t>(&scalars[place])) {
            std::memcpy(target, number, sizeof(*number));
        } else {
            const auto &text = std::get<std::string>(scalars[place]);
            const auto length = static_cast<std::uint16_t>(text.size());
            std::memcpy(target, &length, LENGTH_BYTES);
            // NOLINTNEXTLINE(bugprone-not-null-terminated-result): its length stands before it
            std::memcpy(target + LENGTH_BYTES, text.data(), text.size());
        }
    }
    seal(card, head);
    return card;
}

std::vector<char> MatrixLayout::makeDeadCard(std::int64_t rowId, Death death) const
{
    RowHead head;
    head.rowId = rowId;
    head.death = death;
    std::vector<char> card(m_cardBytes);
    seal(card, head);
    return card;
}

RowHead MatrixLayout::head(const char *card)
{
    RowHead head;
    std::memcpy(&head, card, sizeof(head));
    return head;
}

bool MatrixLayout::isCard(const char *card) const
{
    const RowHead read = head(card);
    return read.rowId > 0 && read.checksum == checksumOf(card + sizeof(read.checksum),
                                                         m_cardBytes - sizeof(read.checksum));
}

Scalar MatrixLayout::scalar(const char *card, std::size_t place) const
{
    const Slot &slot = m_slots[place];
    const char *source = card + slot.offset;
    if (slot.textBytes == 0) {
        std::int64_t number = 0;
        std::memcpy(&number, source, sizeof(number));
        return number;
    }
    std::uint16_t length = 0;
    std::memcpy(&length, source, LENGTH_BYTES);
    // A card that is being wiped may be read: its row is found dead right after.
    return std::string(source + LENGTH_BYTES, std::min<std::size_t>(length, slot.textBytes));
}
} // namespace VectorDB
