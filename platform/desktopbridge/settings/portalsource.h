#pragma once
// The desktop portal's light or dark preference, there or not. Owned by SettingsKeeper; main
// thread. Never starts the portal and never waits for it; what makes no sense is left aside.

#include <QDBusConnection>
#include <QDBusServiceWatcher>
#include <QDBusVariant>
#include <QObject>

class PortalSource : public QObject
{
    Q_OBJECT

public:
    enum class Scheme { NoPreference = 0, Dark = 1, Light = 2 }; // the portal's numbers

    explicit PortalSource(const QDBusConnection &bus);

Q_SIGNALS:
    /// What the portal answered or told; also again what it told before.
    void told(PortalSource::Scheme scheme);

private Q_SLOTS:
    void onSettingChanged(const QString &space, const QString &key, const QDBusVariant &value);

private:
    void ask();
    void tell(QVariant value);

    QDBusConnection m_bus;
    QDBusServiceWatcher m_watcher;
    int m_events = 0; // an answer asked for before the latest event is out of date
};
