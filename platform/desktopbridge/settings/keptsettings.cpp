#include "desktopbridge/settings/keptsettings.h"

#include <QDebug>

namespace
{
constexpr const char *STYLE_SCHEMA = "org.vesk.style";
constexpr const char *STYLE_KEY = "style-name";
constexpr const char *HOURS_SCHEMA = "org.vesk.control-center.panel.plugins";
constexpr const char *HOURS_KEY = "hoursystem";
constexpr const char *OUR_MARK = "stand-in"; // a key that no desktop's own schema has

const QString DARK_STYLE = QStringLiteral("vesk-dark");
const QString LIGHT_STYLE = QStringLiteral("vesk-light");

struct SourceDeleter {
    void operator()(GSettingsSchemaSource *source) const { g_settings_schema_source_unref(source); }
};
using SourcePtr = std::unique_ptr<GSettingsSchemaSource, SourceDeleter>;

bool isOurs(const GSettingsSchemaPtr &schema)
{
    return g_settings_schema_has_key(schema.get(), OUR_MARK) != FALSE;
}

// Ours may be found first, from a prefix or a variable, and yet hide one of the system.
bool desktopBringsIt(const char *id)
{
    for (const char *const *folder = g_get_system_data_dirs(); *folder != nullptr; ++folder) {
        const QByteArray schemas = QByteArray(*folder) + "/glib-2.0/schemas";
        const SourcePtr source(g_settings_schema_source_new_from_directory(schemas.constData(),
                                                                           nullptr, TRUE, nullptr));
        if (!source) {
            continue;
        }
        const GSettingsSchemaPtr schema(g_settings_schema_source_lookup(source.get(), id, FALSE));
        if (schema && !isOurs(schema)) {
            return true;
        }
    }
    return false;
}

GSettingsPtr openOurs(const char *id)
{
    const GSettingsSchemaPtr schema = installedSchema(id);
    if (!schema) {
        qWarning() << "No schema" << id << "is installed: the program cannot follow this desktop";
        return nullptr;
    }
    return isOurs(schema) && !desktopBringsIt(id) ? openSettings(id) : nullptr;
}
} // namespace

KeptSettings::KeptSettings() : m_style(openOurs(STYLE_SCHEMA)), m_hours(openOurs(HOURS_SCHEMA)) {}

void KeptSettings::setDark(bool dark)
{
    if (m_style && (settingsValue(m_style.get(), STYLE_KEY).toString() == DARK_STYLE) != dark) {
        const QByteArray style = (dark ? DARK_STYLE : LIGHT_STYLE).toUtf8();
        g_settings_set_string(m_style.get(), STYLE_KEY, style.constData());
    }
}

void KeptSettings::setTwelveHours(bool twelve)
{
    const QString hours = twelve ? QStringLiteral("12") : QStringLiteral("24");
    if (m_hours && settingsValue(m_hours.get(), HOURS_KEY).toString() != hours) {
        g_settings_set_string(m_hours.get(), HOURS_KEY, hours.toUtf8().constData());
    }
}
