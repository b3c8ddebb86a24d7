#pragma once
// A real Secret Service on the test's session bus, with its file below the test's home. Owner: a
// test. Thread: main.

#include <QProcess>
#include <QString>
#include <QStringList>

class Keyring
{
public:
    /// Starts it with its default collection unlocked; see isRunning().
    Keyring();
    /// Ends it.
    ~Keyring();
    Q_DISABLE_COPY_MOVE(Keyring)

    bool isRunning() const { return m_isRunning; }

    /// Locks the default collection; without a display nobody can unlock it again.
    bool lock();

    /// The keys that are kept for @p box.
    QStringList keysOf(const QString &box) const;

    bool keep(const QString &box, const QByteArray &key) const;
    void forget(const QString &box) const;

    /// Arguments for dbus-run-session that run @p command on another bus, which can start nothing.
    /// Its configuration is written below @p folder.
    static QStringList onEmptyBus(const QString &folder, const QStringList &command);

private:
    QProcess m_daemon;
    bool m_isRunning = false;
};
