#pragma once
// A settings portal that comes, goes, changes and misbehaves as the test orders. It lives on a bus
// connection of its own; test thread only.

#include <QDBusConnection>
#include <QDBusContext>
#include <QDBusVariant>
#include <QObject>

class FakePortal : public QObject, protected QDBusContext
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.portal.Settings")

public:
    FakePortal();
    ~FakePortal() override;

    void appear();
    void die();

    /// Sets the value and tells so, as a portal does.
    void change(const QVariant &value);

    /// Tells of any key of any namespace.
    void tell(const QString &space, const QString &key, const QVariant &value);

    QVariant m_value;          ///< what it answers
    bool m_wrapped = true;     ///< as a variant in a variant, which is how portals answer
    bool m_silent = false;     ///< never answers
    bool m_knowsTheKey = true; ///< else it answers with an error
    int m_asked = 0;           ///< questions so far; who asks has subscribed

public Q_SLOTS:
    QDBusVariant Read(const QString &space, const QString &key);

private:
    QDBusConnection m_bus;
};
