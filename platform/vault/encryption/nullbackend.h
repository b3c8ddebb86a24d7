#pragma once
// Stands where nothing can encrypt a folder: every operation fails with the reason it was made
// with. Owner: the tool. Thread: any.

#include "vault/encryption/boxbackend.h"

#include <string>
#include <utility>

namespace Vault
{
class NullBackend : public BoxBackend
{
public:
    explicit NullBackend(std::string reason) : m_reason(std::move(reason)) {}

    Outcome isUsable() const override { return Outcome::failure(m_reason); }
    Outcome initialise(const std::filesystem::path & /*cipher*/, const SecretKey & /*key*/) override
    {
        return Outcome::failure(m_reason);
    }
    Outcome isIntact(const std::filesystem::path & /*cipher*/) const override
    {
        return Outcome::failure(m_reason);
    }
    Outcome mount(const std::filesystem::path & /*cipher*/,
                  const std::filesystem::path & /*mountPoint*/, const SecretKey & /*key*/) override
    {
        return Outcome::failure(m_reason);
    }
    Outcome unmount(const std::filesystem::path & /*mountPoint*/, bool /*isDead*/) override
    {
        return Outcome::failure(m_reason);
    }

private:
    std::string m_reason;
};
} // namespace Vault
