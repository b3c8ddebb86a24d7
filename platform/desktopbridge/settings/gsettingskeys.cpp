#include "desktopbridge/settings/gsettingskeys.h"

namespace
{
void onChanged(GSettings * /*settings*/, const char * /*key*/, gpointer keys)
{
    Q_EMIT static_cast<GSettingsKeys *>(keys)->changed();
}
} // namespace

GSettingsKeys::GSettingsKeys(const char *schema, bool defaultsCount)
    : m_settings(openSettings(schema)), m_defaultsCount(defaultsCount)
{
    if (m_settings) {
        g_signal_connect(m_settings.get(), "changed", G_CALLBACK(onChanged), this);
    }
}

GSettingsKeys::~GSettingsKeys()
{
    if (m_settings) {
        g_signal_handlers_disconnect_by_data(m_settings.get(), this);
    }
}

std::optional<bool> GSettingsKeys::dark() const
{
    const QString scheme = value("color-scheme").toString();
    if (scheme == QLatin1String("prefer-dark")) {
        return true;
    }
    if (scheme == QLatin1String("prefer-light")) {
        return false;
    }
    const QString theme = value("gtk-theme").toString();
    if (theme.isEmpty()) {
        return std::nullopt;
    }
    return theme.endsWith(QLatin1String("dark"), Qt::CaseInsensitive);
}

QVariant GSettingsKeys::value(const char *key) const
{
    return m_defaultsCount ? settingsValue(m_settings.get(), key)
                           : chosenSettingsValue(m_settings.get(), key);
}

std::optional<bool> GSettingsKeys::twelveHours() const
{
    const QVariant format = value("clock-format");
    if (format.isValid()) {
        return format.toString() == QLatin1String("12h");
    }
    const QVariant twentyFour = value("clock-use-24h");
    if (twentyFour.isValid()) {
        return !twentyFour.toBool();
    }
    return std::nullopt;
}
