#pragma once
// The two settings of the desktop that the program follows, "style-name" and "hoursystem", as this
// process writes them. Owned by SettingsKeeper; main thread. A schema that a desktop brings itself,
// or that nobody brings, is not written to.

#include "desktopbridge/settings/gsettingshandle.h"

class KeptSettings
{
public:
    /// Looks for the schemas once.
    KeptSettings();

    /// False where a desktop keeps both itself, or neither schema is installed.
    bool keepsAny() const { return m_style || m_hours; }

    /// Written only if the present style is the other one: a light style of another name stays.
    void setDark(bool dark);

    /// Written only if the present value is another.
    void setTwelveHours(bool twelve);

private:
    GSettingsPtr m_style; // null: not ours to write
    GSettingsPtr m_hours; // null: not ours to write
};
