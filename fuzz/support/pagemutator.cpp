// Damage as a month file can have it: within pages, whole pages in each other's place, and the head
// left plausible, without which SQLite looks no further.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <random>

extern "C" std::size_t LLVMFuzzerMutate(std::uint8_t *data, std::size_t size, std::size_t most);

namespace
{
constexpr std::size_t headBytes = 100; // of SQLite's file format
constexpr char magic[16] = "SQLite format 3";

std::size_t pageSizeOf(const std::uint8_t *data)
{
    const std::size_t size = std::size_t(data[16]) << 8 | data[17];
    const bool isValid = size >= 512 && (size & (size - 1)) == 0;
    return isValid ? size : 1024;
}

// SQLite takes the size from the head where it fits the change counters, else from the file.
void repairHead(std::uint8_t *data, std::size_t size, std::size_t page)
{
    std::memcpy(data, magic, sizeof(magic));
    data[16] = static_cast<std::uint8_t>(page >> 8);
    data[17] = static_cast<std::uint8_t>(page);
    data[18] = std::clamp<std::uint8_t>(data[18], 1, 2);
    data[19] = std::clamp<std::uint8_t>(data[19], 1, 2);
    const std::uint8_t fractions[] = {64, 32, 32};
    std::memcpy(data + 21, fractions, sizeof(fractions));
    const std::size_t pages = size / page;
    for (int byte = 0; byte < 4; ++byte) {
        data[28 + byte] = static_cast<std::uint8_t>(pages >> (24 - 8 * byte));
    }
    std::memcpy(data + 92, data + 24, 4);
}
} // namespace

extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t *data, std::size_t size,
                                               std::size_t most, unsigned int seed)
{
    std::minstd_rand random(seed);
    if (size < headBytes || random() % 16 == 0) {
        return LLVMFuzzerMutate(data, size, most);
    }
    const std::size_t page = pageSizeOf(data);
    const std::size_t pages = std::max<std::size_t>(1, size / page);
    std::uint8_t *one = data + random() % pages * page;
    std::uint8_t *other = data + random() % pages * page;
    const std::size_t length = std::min<std::size_t>(page, data + size - std::max(one, other));
    switch (random() % 8) {
    case 0:
        std::memmove(one, other, length);
        break;
    case 1: // the page's own head and its first cells' places
        LLVMFuzzerMutate(one + (one == data ? headBytes : 0),
                         std::min<std::size_t>(24, length > headBytes ? length - headBytes : 1),
                         24);
        break;
    default: {
        const std::size_t start = random() % length;
        const std::size_t part = std::min<std::size_t>(length - start, 1 + random() % 64);
        LLVMFuzzerMutate(one + start, part, part);
        break;
    }
    }
    if (random() % 8 != 0) {
        repairHead(data, size, page);
    }
    return size;
}
