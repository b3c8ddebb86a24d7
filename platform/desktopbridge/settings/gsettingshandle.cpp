#include "desktopbridge/settings/gsettingshandle.h"

namespace
{
struct VariantDeleter {
    void operator()(GVariant *value) const { g_variant_unref(value); }
};
using VariantPtr = std::unique_ptr<GVariant, VariantDeleter>;

QVariant toQVariant(const VariantPtr &value)
{
    if (!value) {
        return {};
    }
    if (g_variant_is_of_type(value.get(), G_VARIANT_TYPE_STRING)) {
        return QString::fromUtf8(g_variant_get_string(value.get(), nullptr));
    }
    if (g_variant_is_of_type(value.get(), G_VARIANT_TYPE_BOOLEAN)) {
        return g_variant_get_boolean(value.get()) != FALSE;
    }
    return {};
}

bool hasKey(GSettings *settings, const char *key)
{
    if (settings == nullptr) {
        return false;
    }
    GSettingsSchema *schema = nullptr;
    g_object_get(settings, "settings-schema", &schema, nullptr);
    const GSettingsSchemaPtr owner(schema);
    return g_settings_schema_has_key(schema, key) != FALSE;
}
} // namespace

GSettingsSchemaPtr installedSchema(const char *id)
{
    GSettingsSchemaSource *source = g_settings_schema_source_get_default();
    return GSettingsSchemaPtr(
        source == nullptr ? nullptr : g_settings_schema_source_lookup(source, id, TRUE));
}

GSettingsPtr openSettings(const char *schema)
{
    const GSettingsSchemaPtr installed = installedSchema(schema);
    return GSettingsPtr(installed ? g_settings_new_full(installed.get(), nullptr, nullptr)
                                  : nullptr);
}

QVariant settingsValue(GSettings *settings, const char *key)
{
    return hasKey(settings, key) ? toQVariant(VariantPtr(g_settings_get_value(settings, key)))
                                 : QVariant();
}

QVariant chosenSettingsValue(GSettings *settings, const char *key)
{
    return hasKey(settings, key) ? toQVariant(VariantPtr(g_settings_get_user_value(settings, key)))
                                 : QVariant();
}
