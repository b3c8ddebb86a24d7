#include "coreai/reading/linecache.h"

#include <xxhash.h>

#include <algorithm>
#include <cmath>

namespace coreai
{
namespace
{
constexpr float fullScale = 32767.0F;

// List node, map node, its bucket and what the allocator adds.
constexpr std::size_t bytesAround = 160;
} // namespace

LineKey LineKey::of(const cv::Mat &line)
{
    const cv::Mat pixels = line.isContinuous() ? line : line.clone();
    const XXH128_hash_t hash = XXH3_128bits(pixels.data, pixels.total() * pixels.elemSize());
    return {hash.high64, hash.low64, line.cols, line.rows};
}

LineCache::LineCache(std::size_t mostBytes, Clock clock)
    : m_mostBytes(mostBytes), m_clock(std::move(clock))
{
}

std::size_t LineCache::bytesOf(const Entry &entry)
{
    return sizeof(Entry) + bytesAround + entry.text.text.capacity() +
           entry.vector.capacity() * sizeof(std::int16_t);
}

void LineCache::drop(Entries::iterator entry)
{
    m_bytes -= bytesOf(*entry);
    m_places.erase(entry->key);
    m_entries.erase(entry);
}

std::optional<LineText> LineCache::find(const LineKey &key)
{
    const auto place = m_places.find(key);
    if (place == m_places.end()) {
        return std::nullopt;
    }
    const Entries::iterator entry = place->second;
    const auto now = m_clock();
    if (now - entry->seen > lifetime) {
        drop(entry);
        return std::nullopt;
    }
    entry->seen = now;
    m_entries.splice(m_entries.begin(), m_entries, entry);
    return entry->text;
}

void LineCache::store(const LineKey &key, const LineText &text)
{
    const auto place = m_places.find(key);
    if (place != m_places.end()) {
        drop(place->second);
    }
    m_entries.push_front({key, text, {}, false, m_clock()});
    m_places[key] = m_entries.begin();
    m_bytes += bytesOf(m_entries.front());
    while (m_bytes > m_mostBytes && !m_entries.empty()) {
        drop(std::prev(m_entries.end()));
    }
}

std::optional<std::vector<float>> LineCache::findVector(const LineKey &key) const
{
    const auto place = m_places.find(key);
    if (place == m_places.end() || !place->second->hasVector) {
        return std::nullopt;
    }
    const std::vector<std::int16_t> &stored = place->second->vector;
    std::vector<float> vector(stored.size());
    std::transform(stored.begin(), stored.end(), vector.begin(),
                   [](std::int16_t part) { return float(part) / fullScale; });
    return vector;
}

void LineCache::storeVector(const LineKey &key, const std::vector<float> &vector)
{
    const auto place = m_places.find(key);
    if (place == m_places.end()) {
        return;
    }
    Entry &entry = *place->second;
    m_bytes -= bytesOf(entry);
    entry.hasVector = true;
    entry.vector.resize(vector.size());
    std::transform(vector.begin(), vector.end(), entry.vector.begin(), [](float part) {
        return std::int16_t(std::lround(std::clamp(part, -1.0F, 1.0F) * fullScale));
    });
    m_bytes += bytesOf(entry);
    while (m_bytes > m_mostBytes && !m_entries.empty()) {
        drop(std::prev(m_entries.end()));
    }
}

void LineCache::dropOld()
{
    const auto now = m_clock();
    while (!m_entries.empty() && now - m_entries.back().seen > lifetime) {
        drop(std::prev(m_entries.end()));
    }
}
} // namespace coreai
