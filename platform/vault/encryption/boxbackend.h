#pragma once
// Encrypts a folder and shows its plain content at another place. Owner: the tool. Thread: main;
// every operation blocks, for half a minute at most.

#include "vault/boxes/outcome.h"
#include "vault/keys/secretkey.h"

#include <filesystem>

namespace Vault
{
class BoxBackend
{
public:
    BoxBackend() = default;
    BoxBackend(const BoxBackend &) = delete;
    BoxBackend &operator=(const BoxBackend &) = delete;
    virtual ~BoxBackend() = default;

    /// Whether this system has what the operations need.
    virtual Outcome isUsable() const = 0;

    /// Makes the empty folder @p cipher one that @p key opens.
    virtual Outcome initialise(const std::filesystem::path &cipher, const SecretKey &key) = 0;

    /// Whether @p cipher holds what opening it needs; says nothing of its files.
    virtual Outcome isIntact(const std::filesystem::path &cipher) const = 0;

    /// Shows the content of @p cipher at @p mountPoint, beyond the life of this process.
    virtual Outcome mount(const std::filesystem::path &cipher,
                          const std::filesystem::path &mountPoint, const SecretKey &key) = 0;

    /// Takes @p mountPoint away, a dead one too; not one in use unless @p isDead.
    virtual Outcome unmount(const std::filesystem::path &mountPoint, bool isDead) = 0;
};
} // namespace Vault
