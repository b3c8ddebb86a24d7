#pragma once
// What KWin reads before it trusts a program: a desktop file in the home of the test. Test thread
// only.

#include <QDBusConnection>
#include <QStringList>

class KwinPermission
{
public:
    KwinPermission() = default;
    ~KwinPermission();
    KwinPermission(const KwinPermission &) = delete;
    KwinPermission &operator=(const KwinPermission &) = delete;

    /// Writes a file for each of @p programs, the first of which is the running one, and waits
    /// until the KWin on @p bus trusts it. With an invalid bus it does not wait.
    bool give(const QStringList &programs, const QDBusConnection &bus);

    bool isGiven() const { return !m_files.isEmpty(); }

private:
    void write(const QString &program);
    void takeAway();

    QStringList m_files;
};
