#pragma once
// Keys in the session's Secret Service, in the user's default collection. Owner: the tool. Thread:
// main.

#include "vault/keys/keystore.h"

#include <libsecret/secret.h>

#include <memory>

namespace Vault
{
class SecretServiceKeyStore : public KeyStore
{
public:
    /// Asks the user to unlock the collection if it is locked.
    Outcome unlock() override;
    Outcome find(const std::string &box, std::optional<SecretKey> &key) override;
    Outcome keep(const std::string &box, const SecretKey &key) override;
    Outcome forget(const std::string &box) override;

private:
    struct Unref {
        void operator()(gpointer object) const { g_object_unref(object); }
    };

    Outcome connect();

    std::unique_ptr<SecretService, Unref> m_service; ///< null before connect()
};
} // namespace Vault
