#pragma once
// The key of one box: 256 random bits as 64 hexadecimal digits. Plain value, movable only, in
// memory that is not swapped and is wiped at the end. Any thread.

#include <memory>
#include <optional>
#include <string_view>

namespace Vault
{
class SecretKey
{
public:
    /// Draws a new key from the system's generator; nothing if that has none to give.
    static std::optional<SecretKey> random();

    /// Takes a key that was kept as text; nothing if it is not 64 hexadecimal digits.
    static std::optional<SecretKey> fromText(std::string_view text);

    std::string_view text() const;

private:
    struct Memory;
    struct Wipe {
        void operator()(Memory *memory) const;
    };

    SecretKey();

    std::unique_ptr<Memory, Wipe> m_memory;
};

bool operator==(const SecretKey &one, const SecretKey &other);
} // namespace Vault
