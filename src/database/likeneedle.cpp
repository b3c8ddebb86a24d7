#include "database/likeneedle.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

namespace
{
// As many bytes as are probed before it is asked whether any fitted.
constexpr std::size_t BLOCK = 64;

// Sixteen bytes in one register, on any processor that has such; the compiler turns 64 bytes of
// plain loop into twice as many instructions.
using Lane = unsigned char __attribute__((vector_size(16)));

constexpr std::uint32_t REPLACEMENT = 0xFFFD;
constexpr unsigned char CASE_BIT = 0x20;

bool isLetter(unsigned char byte)
{
    return (byte | CASE_BIT) >= 'a' && (byte | CASE_BIT) <= 'z';
}

bool isContinuation(unsigned char byte)
{
    return (byte & 0xC0) == 0x80;
}

// The payload of a byte that begins a sequence, from 0xC0 upwards.
std::uint32_t payload(unsigned char lead)
{
    if (lead < 0xE0) {
        return lead & 0x1FU;
    }
    if (lead < 0xF0) {
        return lead & 0x0FU;
    }
    if (lead < 0xF8) {
        return lead & 0x07U;
    }
    return lead < 0xFC ? lead & 0x03U : lead < 0xFE ? lead & 0x01U : 0U;
}

// Reads as SQLite does: a stray continuation byte stands for itself, a sequence takes every
// continuation byte that follows, and what may not be encoded reads as U+FFFD. At the end: 0.
std::uint32_t readCharacter(const unsigned char *&at, const unsigned char *end)
{
    if (at == end) {
        return 0;
    }
    const unsigned char lead = *at++;
    if (lead < 0xC0) {
        return lead;
    }
    std::uint32_t character = payload(lead);
    while (at != end && isContinuation(*at)) {
        character = (character << 6U) + (*at++ & 0x3FU);
    }
    const bool allowed = character >= 0x80 && (character & 0xFFFFF800U) != 0xD800 &&
                         (character & 0xFFFFFFFEU) != 0xFFFE;
    return allowed ? character : REPLACEMENT;
}

std::size_t properLength(std::uint32_t character)
{
    return character < 0x80 ? 1 : character < 0x800 ? 2 : character < 0x10000 ? 3 : 4;
}

std::size_t announcedLength(unsigned char lead)
{
    return lead < 0xC0 ? 1 : lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
}

bool isProperText(const unsigned char *at, const unsigned char *end)
{
    while (at != end) {
        const unsigned char *start = at;
        const std::uint32_t character = readCharacter(at, end);
        const auto length = static_cast<std::size_t>(at - start);
        if (character == 0 || character == REPLACEMENT || character > 0x10FFFF ||
            length != properLength(character) || length != announcedLength(*start)) {
            return false;
        }
    }
    return true;
}

// How often a byte stands in ordinary text, by rank: the smaller, the rarer.
int frequency(unsigned char byte)
{
    static constexpr std::string_view RARE_TO_FREQUENT = "zqjxkvbywgpfmucdlhrsnioate ";
    const char letter = static_cast<char>(isLetter(byte) ? byte | CASE_BIT : byte);
    const std::size_t rank = RARE_TO_FREQUENT.find(letter);
    const int others = 8; // digits and signs stand about where "w" does
    return rank == std::string_view::npos ? others : static_cast<int>(rank);
}

const unsigned char *bytes(std::string_view text)
{
    return reinterpret_cast<const unsigned char *>(text.data());
}
} // namespace

std::optional<LikeNeedle> LikeNeedle::ofPattern(std::string_view pattern)
{
    if (pattern.size() < 3 || pattern.front() != '%' || pattern.back() != '%') {
        return std::nullopt;
    }
    const std::string_view needle = pattern.substr(1, pattern.size() - 2);
    const auto first = static_cast<unsigned char>(needle.front());
    const bool foundInStrayBytes = first >= 0x80 && first < 0xC3;
    if (needle.find_first_of("%_") != std::string_view::npos || foundInStrayBytes ||
        !isProperText(bytes(needle), bytes(needle) + needle.size())) {
        return std::nullopt;
    }
    return LikeNeedle(needle);
}

LikeNeedle::LikeNeedle(std::string_view needle) : m_needle(needle)
{
    const auto firstOther = std::find_if(needle.begin(), needle.end(), [](char byte) {
        return static_cast<unsigned char>(byte) >= 0x80;
    });
    const auto asciiLength = static_cast<std::size_t>(firstOther - needle.begin());
    m_beginsWithAscii = asciiLength > 0;
    m_beginsWithAscii ? probeTheRarest(asciiLength) : probeTheFirstCharacter();
}

// The two rarest bytes of the ASCII characters at the needle's beginning: however broken a text is,
// these stand side by side in it.
void LikeNeedle::probeTheRarest(std::size_t asciiLength)
{
    const auto probeAt = [this](std::size_t offset) {
        const auto byte = static_cast<unsigned char>(m_needle[offset]);
        const unsigned char ignored = isLetter(byte) ? CASE_BIT : 0;
        return Probe{offset, ignored, static_cast<unsigned char>(byte | ignored)};
    };
    const auto rarestBut = [&](std::size_t other) {
        std::size_t rarest = other == 0 ? 1 : 0;
        for (std::size_t offset = 0; offset < asciiLength; ++offset) {
            if (offset != other && frequency(static_cast<unsigned char>(m_needle[offset])) <
                                       frequency(static_cast<unsigned char>(m_needle[rarest]))) {
                rarest = offset;
            }
        }
        return rarest;
    };
    const std::size_t rarest = rarestBut(asciiLength);
    m_first = probeAt(rarest);
    m_second = asciiLength > 1 ? probeAt(rarestBut(rarest)) : m_first;
}

// Its last byte holds its lower six bits in every sequence that reads as this character, proper or
// not; above U+07FF the byte before holds the next six.
void LikeNeedle::probeTheFirstCharacter()
{
    const unsigned char *at = bytes(m_needle);
    readCharacter(at, bytes(m_needle) + m_needle.size());
    const auto length = static_cast<std::size_t>(at - bytes(m_needle));
    m_second = {length > 2 ? std::size_t{1} : std::size_t{0}, 0, at[-1]};
    m_first = length > 2 ? Probe{0, 0, at[-2]} : m_second;
}

bool LikeNeedle::isIn(std::string_view text) const
{
    const std::size_t span = std::max(m_first.offset, m_second.offset) + 1;
    if (text.size() < span) {
        return false;
    }
    const unsigned char *begin = bytes(text);
    const unsigned char *end = begin + text.size();
    const unsigned char *last = end - span + 1; // one past the last place to probe
    const unsigned char *match = nullptr;
    const unsigned char *at = begin;
    at = skipBlocks(at, last);
    while (!match && static_cast<std::size_t>(last - at) >= BLOCK) {
        match = firstMatch(begin, at, at + BLOCK, end);
        at = skipBlocks(at + BLOCK, last);
    }
    // What is left is probed as a whole block, too, which reaches back into the one before.
    const bool isLong = static_cast<std::size_t>(last - begin) >= BLOCK;
    if (!match && !(isLong && skipBlocks(last - BLOCK, last) == last)) {
        match = firstMatch(begin, at, last, end);
    }
    return match && !std::memchr(begin, 0, static_cast<std::size_t>(match - begin));
}

// The first block from @p at in which both probes fit at some place; else where less than a block
// is left before @p last.
const unsigned char *LikeNeedle::skipBlocks(const unsigned char *at,
                                            const unsigned char *last) const
{
    const Lane ignored[] = {Lane{} | m_first.ignored, Lane{} | m_second.ignored};
    const Lane values[] = {Lane{} | m_first.value, Lane{} | m_second.value};
    const std::size_t first = m_first.offset;
    const std::size_t second = m_second.offset;
    for (; static_cast<std::size_t>(last - at) >= BLOCK; at += BLOCK) {
        Lane any{};
        for (std::size_t index = 0; index < BLOCK; index += sizeof(Lane)) {
            Lane one;
            Lane two;
            std::memcpy(&one, at + first + index, sizeof one);
            std::memcpy(&two, at + second + index, sizeof two);
            any |= reinterpret_cast<Lane>(((one | ignored[0]) == values[0]) &
                                          ((two | ignored[1]) == values[1]));
        }
        std::uint64_t halves[2];
        std::memcpy(halves, &any, sizeof halves);
        if ((halves[0] | halves[1]) != 0) {
            return at;
        }
    }
    return at;
}

const unsigned char *LikeNeedle::firstMatch(const unsigned char *begin, const unsigned char *from,
                                            const unsigned char *to, const unsigned char *end) const
{
    for (const unsigned char *at = from; at < to; ++at) {
        if (m_first.fits(at[m_first.offset]) && m_second.fits(at[m_second.offset]) &&
            matchesAround(begin, at, end)) {
            return at;
        }
    }
    return nullptr;
}

bool LikeNeedle::matchesAround(const unsigned char *begin, const unsigned char *candidate,
                               const unsigned char *end) const
{
    if (m_beginsWithAscii) {
        return matchesFrom(candidate, end);
    }
    const unsigned char *start = candidate + m_second.offset; // the last byte of the character
    if (start + 1 != end && isContinuation(start[1])) {
        return false;
    }
    while (start != begin && isContinuation(*start)) {
        --start;
    }
    return *start >= 0xC0 && matchesFrom(start, end);
}

bool LikeNeedle::matchesFrom(const unsigned char *start, const unsigned char *end) const
{
    const unsigned char *wanted = bytes(m_needle);
    const unsigned char *const wantedEnd = wanted + m_needle.size();
    while (wanted != wantedEnd) {
        const std::uint32_t left = readCharacter(wanted, wantedEnd);
        const std::uint32_t right = readCharacter(start, end);
        const bool sameLetter = left < 0x80 && isLetter(static_cast<unsigned char>(left)) &&
                                (left | CASE_BIT) == (right | CASE_BIT);
        if (left != right && !sameLetter) {
            return false;
        }
    }
    return true;
}
