#pragma once
// A screen saver service on the session bus, there or not: tells when it becomes active. Owned by
// LockWatcher; main thread. Never starts the service and never waits for it.

#include <QDBusConnection>
#include <QDBusServiceWatcher>
#include <QObject>
#include <QStringList>

class ScreenSaverSource : public QObject
{
    Q_OBJECT

public:
    /// @p name is the bus name and the interface; @p paths the objects that may send the signal,
    /// the first of which is asked for the present state.
    ScreenSaverSource(const QDBusConnection &bus, const QString &name, const QStringList &paths);

Q_SIGNALS:
    void reported(bool active);
    void left();
    void answered(); ///< the question for the state is settled; a lock was reported before

private Q_SLOTS:
    void onActiveChanged(bool active);

private:
    void onOwnerChanged(const QString &name, const QString &before, const QString &now);
    void askState();

    QDBusConnection m_bus;
    QString m_name;
    QString m_statePath;
    QDBusServiceWatcher m_watcher;
    int m_events = 0; // an answer asked for before the latest event is out of date
};
