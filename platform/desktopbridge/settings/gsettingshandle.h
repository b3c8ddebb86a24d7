#pragma once
// GSettings with an owner, and access that cannot abort: GLib ends the process over a schema or a
// key that is not installed. Any one thread, with a GLib main loop where changes are listened to.

#include <QString>
#include <QVariant>

#include <gio/gio.h>

#include <memory>

struct GSettingsDeleter {
    void operator()(GSettings *settings) const { g_object_unref(settings); }
};
using GSettingsPtr = std::unique_ptr<GSettings, GSettingsDeleter>;

struct GSettingsSchemaDeleter {
    void operator()(GSettingsSchema *schema) const { g_settings_schema_unref(schema); }
};
using GSettingsSchemaPtr = std::unique_ptr<GSettingsSchema, GSettingsSchemaDeleter>;

/// Null where no such schema is installed.
GSettingsSchemaPtr installedSchema(const char *id);

/// Null where the schema is not installed.
GSettingsPtr openSettings(const char *schema);

/// Value of a key that holds a text, an enumeration or a truth value; invalid where there is none.
QVariant settingsValue(GSettings *settings, const char *key);

/// The same, but invalid while the key has its default.
QVariant chosenSettingsValue(GSettings *settings, const char *key);
