#pragma once
// Style of KDE's desktop, which keeps it in the file kdeglobals and tells changes on the bus. Its
// clock follows the locale. Owned by SettingsKeeper; main thread.

#include "desktopbridge/settings/desktopkeys.h"

class KdeKeys : public DesktopKeys
{
    Q_OBJECT

public:
    explicit KdeKeys(const QDBusConnection &bus);

    std::optional<bool> dark() const override;
    std::optional<bool> twelveHours() const override { return std::nullopt; }

private Q_SLOTS:
    void onNotified(int type, int argument);
};
