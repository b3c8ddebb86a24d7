// What was read once: from the hash of a line's bitmap to its text and the vector of its meaning.
// In memory only; bounded; forgets what was not seen for an hour.
// Owner: the runtime's worker. Thread: one at a time.

#pragma once

#include "coreai/engines/linerecognizer.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <list>
#include <optional>
#include <unordered_map>
#include <vector>

namespace coreai
{
// Tells line bitmaps apart: 128 bits of XXH3 over the pixels, and the size. Two different lines of
// a lifetime's recording share a key with a probability below 10^-18.
struct LineKey {
    std::uint64_t high = 0;
    std::uint64_t low = 0;
    std::int32_t width = 0;
    std::int32_t height = 0;

    // `line` is CV_8UC4.
    static LineKey of(const cv::Mat &line);

    bool operator==(const LineKey &other) const
    {
        return high == other.high && low == other.low && width == other.width &&
               height == other.height;
    }
};

struct LineKeyHash {
    std::size_t operator()(const LineKey &key) const { return std::size_t(key.low); }
};

class LineCache
{
public:
    // Room for 12,000 to 14,000 lines with their vectors, some 70 full pages that have nothing in
    // common.
    static constexpr std::size_t usualBytes = std::size_t(14) << 20;
    static constexpr std::chrono::hours lifetime{1};

    using Clock = std::function<std::chrono::steady_clock::time_point()>;

    explicit LineCache(std::size_t mostBytes = usualBytes,
                       Clock clock = std::chrono::steady_clock::now);

    // Nothing where the line is not known. Counts as seeing the line.
    std::optional<LineText> find(const LineKey &key);
    void store(const LineKey &key, const LineText &text);

    // Nothing where the vector was not computed yet; an empty one where the text has no meaning.
    std::optional<std::vector<float>> findVector(const LineKey &key) const;
    // Does nothing where the line is not known any more.
    void storeVector(const LineKey &key, const std::vector<float> &vector);

    // Forgets what was not seen within the lifetime.
    void dropOld();

    std::size_t count() const { return m_places.size(); }
    // An upper estimate of the memory in use.
    std::size_t bytes() const { return m_bytes; }

private:
    struct Entry {
        LineKey key;
        LineText text;
        // Parts of unit vectors as fractions of 32767: half the memory, and the error of a cosine
        // stays below 0.0001.
        std::vector<std::int16_t> vector;
        bool hasVector = false;
        std::chrono::steady_clock::time_point seen;
    };
    using Entries = std::list<Entry>;

    static std::size_t bytesOf(const Entry &entry);
    void drop(Entries::iterator entry);

    std::size_t m_mostBytes;
    Clock m_clock;
    Entries m_entries; // last seen first
    std::unordered_map<LineKey, Entries::iterator, LineKeyHash> m_places;
    std::size_t m_bytes = 0;
};
} // namespace coreai
