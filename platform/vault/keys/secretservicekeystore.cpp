#include "vault/keys/secretservicekeystore.h"

namespace Vault
{
namespace
{
struct FreeError {
    void operator()(GError *error) const { g_error_free(error); }
};
struct FreeTable {
    void operator()(GHashTable *table) const { g_hash_table_unref(table); }
};
struct FreeObjects {
    void operator()(GList *list) const { g_list_free_full(list, g_object_unref); }
};
struct FreeValue {
    void operator()(SecretValue *value) const { secret_value_unref(value); }
};
using ErrorPtr = std::unique_ptr<GError, FreeError>;
using TablePtr = std::unique_ptr<GHashTable, FreeTable>;
using ObjectsPtr = std::unique_ptr<GList, FreeObjects>;
using ValuePtr = std::unique_ptr<SecretValue, FreeValue>;

const SecretSchema &schema()
{
    static const SecretSchema instance = {
        "com.tavel.vaultsm.Box",
        SECRET_SCHEMA_NONE,
        {{"box", SECRET_SCHEMA_ATTRIBUTE_STRING}, {nullptr, SECRET_SCHEMA_ATTRIBUTE_STRING}},
        0,
        nullptr,
        nullptr,
        nullptr,
        nullptr,
        nullptr,
        nullptr,
        nullptr};
    return instance;
}

TablePtr attributesOf(const std::string &box)
{
    return TablePtr(secret_attributes_build(&schema(), "box", box.c_str(), nullptr));
}

Outcome failed(const std::string &doing, GError *error)
{
    const ErrorPtr owner(error);
    return Outcome::failure("the Secret Service cannot " + doing +
                            (error ? ": " + std::string(error->message) : std::string()));
}

Outcome refused()
{
    return Outcome::failure("the Secret Service stays locked, its keys cannot be used");
}
} // namespace

Outcome SecretServiceKeyStore::connect()
{
    if (m_service) {
        return Outcome::success();
    }
    GError *error = nullptr;
    m_service.reset(secret_service_get_sync(SECRET_SERVICE_OPEN_SESSION, nullptr, &error));
    return m_service ? Outcome::success() : failed("be reached", error);
}

Outcome SecretServiceKeyStore::unlock()
{
    if (Outcome connected = connect(); !connected) {
        return connected;
    }
    GError *error = nullptr;
    const std::unique_ptr<SecretCollection, Unref> collection(secret_collection_for_alias_sync(
        m_service.get(), SECRET_COLLECTION_DEFAULT, SECRET_COLLECTION_NONE, nullptr, &error));
    if (error) {
        return failed("name its default collection", error);
    }
    if (!collection || !secret_collection_get_locked(collection.get())) {
        return Outcome::success(); // a missing one is made, with a prompt, by the first key
    }
    GList locked = {collection.get(), nullptr, nullptr};
    const gint unlocked =
        secret_service_unlock_sync(m_service.get(), &locked, nullptr, nullptr, &error);
    if (error) {
        return failed("be unlocked", error);
    }
    return unlocked > 0 ? Outcome::success() : refused();
}

Outcome SecretServiceKeyStore::find(const std::string &box, std::optional<SecretKey> &key)
{
    if (Outcome connected = connect(); !connected) {
        return connected;
    }
    key.reset();
    GError *error = nullptr;
    const TablePtr attributes = attributesOf(box);
    const auto how = static_cast<SecretSearchFlags>(SECRET_SEARCH_UNLOCK | SECRET_SEARCH_ALL |
                                                    SECRET_SEARCH_LOAD_SECRETS);
    const ObjectsPtr items(secret_service_search_sync(m_service.get(), &schema(), attributes.get(),
                                                      how, nullptr, &error));
    if (error) {
        return failed("look for the key of the box " + box, error);
    }
    if (!items) {
        return Outcome::success();
    }
    auto *item = static_cast<SecretItem *>(items->data);
    if (secret_item_get_locked(item)) {
        return refused();
    }
    const ValuePtr value(secret_item_get_secret(item));
    const char *text = value ? secret_value_get_text(value.get()) : nullptr;
    key = SecretKey::fromText(text ? text : "");
    return key ? Outcome::success()
               : Outcome::failure("what the Secret Service keeps for the box " + box +
                                  " is no key");
}

Outcome SecretServiceKeyStore::keep(const std::string &box, const SecretKey &key)
{
    if (Outcome connected = connect(); !connected) {
        return connected;
    }
    GError *error = nullptr;
    const TablePtr attributes = attributesOf(box);
    const ValuePtr value(
        secret_value_new(key.text().data(), static_cast<gssize>(key.text().size()), "text/plain"));
    const std::string label = "Key of the encrypted box " + box;
    const bool isKept = secret_service_store_sync(m_service.get(), &schema(), attributes.get(),
                                                  SECRET_COLLECTION_DEFAULT, label.c_str(),
                                                  value.get(), nullptr, &error);
    return isKept ? Outcome::success() : failed("keep the key of the box " + box, error);
}

Outcome SecretServiceKeyStore::forget(const std::string &box)
{
    if (Outcome connected = connect(); !connected) {
        return connected;
    }
    GError *error = nullptr;
    const TablePtr attributes = attributesOf(box);
    secret_service_clear_sync(m_service.get(), &schema(), attributes.get(), nullptr, &error);
    return error ? failed("forget the key of the box " + box, error) : Outcome::success();
}
} // namespace Vault
