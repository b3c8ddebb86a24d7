#pragma once
// Stands where no service keeps secrets: every operation fails with the reason it was made with.
// Owner: the tool. Thread: any.

#include "vault/keys/keystore.h"

#include <utility>

namespace Vault
{
class NullKeyStore : public KeyStore
{
public:
    explicit NullKeyStore(std::string reason) : m_reason(std::move(reason)) {}

    Outcome unlock() override { return Outcome::failure(m_reason); }
    Outcome find(const std::string & /*box*/, std::optional<SecretKey> & /*key*/) override
    {
        return Outcome::failure(m_reason);
    }
    Outcome keep(const std::string & /*box*/, const SecretKey & /*key*/) override
    {
        return Outcome::failure(m_reason);
    }
    Outcome forget(const std::string & /*box*/) override { return Outcome::failure(m_reason); }

private:
    std::string m_reason;
};
} // namespace Vault
