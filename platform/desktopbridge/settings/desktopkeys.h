#pragma once
// What the running desktop's own settings say of style and clock: GSettings of GNOME and its kin,
// KDE's kdeglobals. Owned by SettingsKeeper; main thread.

#include <QDBusConnection>
#include <QObject>

#include <memory>
#include <optional>

class DesktopKeys : public QObject
{
    Q_OBJECT

public:
    /// The one that suits @p desktop, the text of XDG_CURRENT_DESKTOP; GNOME's keys for an unknown
    /// one, for they are shared by many. Never null.
    static std::unique_ptr<DesktopKeys> forDesktop(const QString &desktop,
                                                   const QDBusConnection &bus);

    /// Nothing where the desktop does not tell.
    virtual std::optional<bool> dark() const = 0;
    virtual std::optional<bool> twelveHours() const = 0;

Q_SIGNALS:
    void changed();
};
