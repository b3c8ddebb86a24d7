#pragma once
// The lock of this process's login session, as logind on the system bus tells it. Owned by
// LockWatcher; main thread. Never starts the service, never waits, does without the bus.

#include <QDBusConnection>
#include <QDBusPendingReply>
#include <QDBusServiceWatcher>
#include <QObject>
#include <QVariantMap>

#include <functional>

class LogindSource : public QObject
{
    Q_OBJECT

public:
    explicit LogindSource(const QDBusConnection &bus);

Q_SIGNALS:
    void reported(bool locked);
    void left();
    void answered(); ///< the question for the state is settled; a lock was reported before

private Q_SLOTS:
    void onLock();
    void onUnlock();
    void onPropertiesChanged(const QString &interface, const QVariantMap &changed,
                             const QStringList &invalidated);

private:
    using PathHandler = std::function<void(const QString &path)>;

    void onOwnerChanged(const QString &name, const QString &before, const QString &now);
    void findSession();
    void askManager(const QString &method, const QVariant &argument, const PathHandler &handler);
    void follow(const QString &session);
    void unfollow();
    void askLockedHint();
    void event(bool locked);

    QDBusConnection m_bus;
    QString m_session; // object path; empty while unknown
    QDBusServiceWatcher m_watcher;
    int m_events = 0; // an answer asked for before the latest event is out of date
};
