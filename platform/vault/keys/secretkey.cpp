#include "vault/keys/secretkey.h"

#include <sys/mman.h>
#include <sys/random.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <cstddef>
#include <cstring>

namespace Vault
{
namespace
{
constexpr std::size_t BYTES = 32; // 256 bits
constexpr std::size_t DIGITS = 2 * BYTES;
} // namespace

struct SecretKey::Memory {
    std::array<unsigned char, BYTES> random;
    std::array<char, DIGITS> digits;
};

void SecretKey::Wipe::operator()(Memory *memory) const
{
    explicit_bzero(memory, sizeof(Memory));
    munlock(memory, sizeof(Memory));
    delete memory;
}

SecretKey::SecretKey() : m_memory(new Memory())
{
    // Without the right to lock it the key is only as safe as the swap space.
    mlock(m_memory.get(), sizeof(Memory));
}

std::optional<SecretKey> SecretKey::random()
{
    SecretKey key;
    if (getrandom(key.m_memory->random.data(), BYTES, 0) != static_cast<ssize_t>(BYTES)) {
        return std::nullopt;
    }
    static constexpr char HEXADECIMAL[] = "0123456789abcdef";
    for (std::size_t at = 0; at < BYTES; ++at) {
        const unsigned char byte = key.m_memory->random[at];
        key.m_memory->digits[2 * at] = HEXADECIMAL[byte >> 4];
        key.m_memory->digits[2 * at + 1] = HEXADECIMAL[byte & 15];
    }
    return key;
}

std::optional<SecretKey> SecretKey::fromText(std::string_view text)
{
    const bool isKey = text.size() == DIGITS &&
                       std::all_of(text.begin(), text.end(),
                                   [](unsigned char digit) { return std::isxdigit(digit) != 0; });
    if (!isKey) {
        return std::nullopt;
    }
    SecretKey key;
    std::copy(text.begin(), text.end(), key.m_memory->digits.begin());
    return key;
}

std::string_view SecretKey::text() const
{
    return {m_memory->digits.data(), DIGITS};
}

bool operator==(const SecretKey &one, const SecretKey &other)
{
    return one.text() == other.text();
}
} // namespace Vault
