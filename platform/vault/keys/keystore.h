#pragma once
// Keeps the keys of boxes, away from what they open. Owner: the tool. Thread: main; every operation
// may wait for the user to answer a prompt.

#include "vault/boxes/outcome.h"
#include "vault/keys/secretkey.h"

#include <optional>
#include <string>

namespace Vault
{
class KeyStore
{
public:
    KeyStore() = default;
    KeyStore(const KeyStore &) = delete;
    KeyStore &operator=(const KeyStore &) = delete;
    virtual ~KeyStore() = default;

    /// Makes the store ready to be read and written. A failure has changed nothing.
    virtual Outcome unlock() = 0;

    /// Puts the key of @p box into @p key; success with nothing in it if the store has none.
    virtual Outcome find(const std::string &box, std::optional<SecretKey> &key) = 0;

    /// Keeps @p key for @p box, instead of one that is there.
    virtual Outcome keep(const std::string &box, const SecretKey &key) = 0;

    /// Forgets the key of @p box.
    virtual Outcome forget(const std::string &box) = 0;
};
} // namespace Vault
