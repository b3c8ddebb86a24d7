#pragma once
// Boxes by gocryptfs, a FUSE file system of the distribution. Owner: the tool. Thread: main.

#include "vault/encryption/boxbackend.h"

namespace Vault
{
class GocryptfsBackend : public BoxBackend
{
public:
    Outcome isUsable() const override;
    Outcome initialise(const std::filesystem::path &cipher, const SecretKey &key) override;
    Outcome isIntact(const std::filesystem::path &cipher) const override;
    Outcome mount(const std::filesystem::path &cipher, const std::filesystem::path &mountPoint,
                  const SecretKey &key) override;
    Outcome unmount(const std::filesystem::path &mountPoint, bool isDead) override;
};
} // namespace Vault
