// Damage as an MP4 file can have it: inside boxes, which keep their places, and boxes that are
// gone, doubled, or longer than they are.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <random>
#include <vector>

extern "C" std::size_t LLVMFuzzerMutate(std::uint8_t *data, std::size_t size, std::size_t most);

namespace
{
constexpr std::size_t headBytes = 8; // length and name
constexpr int mostDepth = 8;

struct Box {
    std::size_t start;
    std::size_t size;
};

std::size_t bigEndian(const std::uint8_t *at)
{
    return std::size_t(at[0]) << 24 | std::size_t(at[1]) << 16 | std::size_t(at[2]) << 8 | at[3];
}

bool holdsBoxes(const std::uint8_t *name)
{
    for (const char *container : {"moov", "trak", "mdia", "minf", "stbl", "dinf", "edts", "udta"}) {
        if (std::memcmp(name, container, 4) == 0) {
            return true;
        }
    }
    return false;
}

void collect(const std::uint8_t *data, Box within, int depth, std::vector<Box> &boxes)
{
    std::size_t at = within.start;
    const std::size_t end = within.start + within.size;
    while (at + headBytes <= end) {
        const std::size_t size = bigEndian(data + at);
        if (size < headBytes || size > end - at) {
            return;
        }
        boxes.push_back({at, size});
        if (depth < mostDepth && holdsBoxes(data + at + 4)) {
            collect(data, {at + headBytes, size - headBytes}, depth + 1, boxes);
        }
        at += size;
    }
}
} // namespace

extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t *data, std::size_t size,
                                               std::size_t most, unsigned int seed)
{
    std::minstd_rand random(seed);
    std::vector<Box> boxes;
    collect(data, {0, size}, 0, boxes);
    if (boxes.empty() || random() % 16 == 0) {
        return LLVMFuzzerMutate(data, size, most);
    }
    const Box box = boxes[random() % boxes.size()];
    std::uint8_t *start = data + box.start;
    const std::size_t behind = size - box.start - box.size;
    switch (random() % 8) {
    case 0: // gone
        std::memmove(start, start + box.size, behind);
        return std::max<std::size_t>(1, size - box.size);
    case 1: // doubled
        if (size + box.size <= most) {
            std::memmove(start + 2 * box.size, start + box.size, behind);
            std::memcpy(start + box.size, start, box.size);
            return size + box.size;
        }
        [[fallthrough]];
    case 2: // another length or name
        LLVMFuzzerMutate(start, headBytes, headBytes);
        return size;
    case 3: // cut off
        return std::max<std::size_t>(1, box.start + random() % box.size);
    default: {
        const std::size_t content = box.size - headBytes;
        if (content > 0) {
            const std::size_t from = random() % content;
            const std::size_t part = std::min<std::size_t>(content - from, 1 + random() % 32);
            LLVMFuzzerMutate(start + headBytes + from, part, part);
        }
        return size;
    }
    }
}
