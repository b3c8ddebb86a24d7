#pragma once
// Picks what stands behind boxes on this system. Plain functions. Thread: main.

#include "vault/encryption/boxbackend.h"
#include "vault/keys/keystore.h"

#include <memory>

namespace Vault::VaultLoader
{
/// gocryptfs, or one that says what is missing.
std::unique_ptr<BoxBackend> backend();

/// The session's Secret Service, or one that says what is missing. Starts nothing.
std::unique_ptr<KeyStore> keyStore();
} // namespace Vault::VaultLoader
