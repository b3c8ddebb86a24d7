#include "vault/tool/vaultloader.h"

#include "vault/encryption/gocryptfsbackend.h"
#include "vault/encryption/nullbackend.h"
#include "vault/keys/nullkeystore.h"
#include "vault/keys/secretservicekeystore.h"

#include <gio/gio.h>

namespace Vault::VaultLoader
{
namespace
{
constexpr char SECRET_SERVICE[] = "org.freedesktop.secrets";
constexpr int BUS_LIMIT_MS = 5000;

struct Unref {
    void operator()(GDBusConnection *bus) const { g_object_unref(bus); }
    void operator()(GVariant *variant) const { g_variant_unref(variant); }
};
using BusPtr = std::unique_ptr<GDBusConnection, Unref>;
using VariantPtr = std::unique_ptr<GVariant, Unref>;

bool lists(GDBusConnection *bus, const char *method)
{
    const VariantPtr reply(g_dbus_connection_call_sync(
        bus, "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus", method,
        nullptr, G_VARIANT_TYPE("(as)"), G_DBUS_CALL_FLAGS_NONE, BUS_LIMIT_MS, nullptr, nullptr));
    if (!reply) {
        return false;
    }
    const VariantPtr names(g_variant_get_child_value(reply.get(), 0));
    for (gsize at = 0; at < g_variant_n_children(names.get()); ++at) {
        const VariantPtr name(g_variant_get_child_value(names.get(), at));
        if (g_str_equal(g_variant_get_string(name.get(), nullptr), SECRET_SERVICE)) {
            return true;
        }
    }
    return false;
}
} // namespace

std::unique_ptr<BoxBackend> backend()
{
    auto gocryptfs = std::make_unique<GocryptfsBackend>();
    const Outcome usable = gocryptfs->isUsable();
    if (!usable) {
        return std::make_unique<NullBackend>(usable.reason());
    }
    return gocryptfs;
}

std::unique_ptr<KeyStore> keyStore()
{
    const BusPtr bus(g_bus_get_sync(G_BUS_TYPE_SESSION, nullptr, nullptr));
    if (!bus) {
        return std::make_unique<NullKeyStore>("there is no session bus, so no Secret Service");
    }
    if (!lists(bus.get(), "ListNames") && !lists(bus.get(), "ListActivatableNames")) {
        return std::make_unique<NullKeyStore>("there is no Secret Service to keep the key");
    }
    return std::make_unique<SecretServiceKeyStore>();
}
} // namespace Vault::VaultLoader
