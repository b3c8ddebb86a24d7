#pragma once
// Services that tell of the screen's lock, as the test orders: two screen savers and logind. Each
// lives on a bus connection that it is given; test thread only.

#include <QDBusConnection>
#include <QDBusContext>
#include <QDBusObjectPath>
#include <QObject>

class FakeFreedesktopSaver : public QObject
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.ScreenSaver")

public:
    bool m_active = false;
    int m_asked = 0; ///< questions for the state; who asks has subscribed

public Q_SLOTS:
    bool GetActive()
    {
        ++m_asked;
        return m_active;
    }

Q_SIGNALS:
    void ActiveChanged(bool active);
};

class FakeGnomeSaver : public QObject
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.gnome.ScreenSaver")

public:
    bool m_active = false;
    int m_asked = 0; ///< questions for the state; who asks has subscribed

public Q_SLOTS:
    bool GetActive()
    {
        ++m_asked;
        return m_active;
    }

Q_SIGNALS:
    void ActiveChanged(bool active);
};

class FakeLogindSession : public QObject
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.login1.Session")
    Q_PROPERTY(bool LockedHint READ lockedHint)

public:
    /// Sets the property and tells so, as logind does.
    void setLockedHint(const QDBusConnection &bus, const QString &path, bool locked);

    bool lockedHint()
    {
        ++m_asked;
        return m_lockedHint;
    }

    bool m_lockedHint = false;
    int m_asked = 0; ///< readings of the property; who reads has subscribed

Q_SIGNALS:
    void Lock();
    void Unlock();
};

class FakeLogind : public QObject, protected QDBusContext
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.login1.Manager")

public:
    explicit FakeLogind(const QDBusConnection &bus);

    bool ownName();
    void giveUpName();
    bool isOwner() const { return m_owner; }

    QDBusConnection m_bus;
    bool m_owner = false;
    bool m_knowsProcesses = true; ///< false: this process is in no session
    QStringList m_asked;          ///< what GetSession was asked for
    FakeLogindSession m_session;  ///< of the test
    FakeLogindSession m_other;    ///< of somebody else
    QString m_sessionPath = QStringLiteral("/org/freedesktop/login1/session/_31");

public Q_SLOTS:
    QDBusObjectPath GetSessionByPID(uint pid);
    QDBusObjectPath GetSession(const QString &id);
};
