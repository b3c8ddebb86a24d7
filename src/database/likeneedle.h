#pragma once
// One needle, looked for in many texts as SQL's "LIKE '%needle%'" does: anywhere, ASCII letters in
// either case. Owner: whoever scans. Thread: any; a needle never changes.

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

class LikeNeedle
{
public:
    /// The needle of a pattern "%needle%". None for a pattern of another form, and for the few
    /// needles whose bytes do not tell where they may lie: those that are not proper UTF-8 or that
    /// begin with a character from U+0080 to U+00BF, which SQLite also finds in a stray byte.
    static std::optional<LikeNeedle> ofPattern(std::string_view pattern);

    /// Whether the needle lies in @p text before its first NUL. Exactly SQLite's answer, also for
    /// text that is not proper UTF-8.
    bool isIn(std::string_view text) const;

private:
    // A byte that the needle needs at a fixed distance from where the probing stands.
    struct Probe {
        std::size_t offset = 0;
        unsigned char ignored = 0; // bits in which the cases of a letter differ
        unsigned char value = 0;
        bool fits(unsigned char byte) const { return (byte | ignored) == value; }
    };

    explicit LikeNeedle(std::string_view needle);
    void probeTheRarest(std::size_t asciiLength);
    void probeTheFirstCharacter();
    const unsigned char *skipBlocks(const unsigned char *at, const unsigned char *last) const;
    const unsigned char *firstMatch(const unsigned char *begin, const unsigned char *from,
                                    const unsigned char *to, const unsigned char *end) const;
    bool matchesAround(const unsigned char *begin, const unsigned char *candidate,
                       const unsigned char *end) const;
    bool matchesFrom(const unsigned char *start, const unsigned char *end) const;

    std::string m_needle;
    Probe m_first;
    Probe m_second;
    bool m_beginsWithAscii = true;
};
