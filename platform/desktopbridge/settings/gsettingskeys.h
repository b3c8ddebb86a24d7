#pragma once
// Style and clock of a desktop that keeps them in GSettings. Owned by SettingsKeeper; main thread.

#include "desktopbridge/settings/desktopkeys.h"
#include "desktopbridge/settings/gsettingshandle.h"

class GSettingsKeys : public DesktopKeys
{
    Q_OBJECT

public:
    /// Reads "color-scheme", "gtk-theme", "clock-format" and "clock-use-24h" of @p schema, those
    /// that it has. Without @p defaultsCount a value that nobody chose tells nothing.
    GSettingsKeys(const char *schema, bool defaultsCount);
    ~GSettingsKeys() override;

    std::optional<bool> dark() const override;
    std::optional<bool> twelveHours() const override;

private:
    QVariant value(const char *key) const;

    GSettingsPtr m_settings; // null where the schema is not installed
    bool m_defaultsCount;
};
