#pragma once
// A session in which the real program records real windows: starting and ending it, its settings
// as another program would set them, a terminal whose contents change all the time. Main thread of
// a test.

#include <QByteArray>
#include <QProcess>
#include <QString>

namespace RecordedSession
{
/// The program under test, with all that it logged so far.
class Program
{
public:
    Program();
    ~Program(); ///< kills it if it still runs
    Q_DISABLE_COPY(Program)

    /// From now on it is started by another command, which keeps its process and its arguments.
    void runUnder(const QStringList &command);

    /// Starts it, waits until its settings are in force and minimises its window, in front of which
    /// nothing is recorded. False if it ended or took too long.
    bool start(const QStringList &arguments = {});

    /// The same, but the window stays.
    bool startInFront(const QStringList &arguments = {});

    /// Minimises the window.
    bool giveWay();

    /// Whether a window of the program has the input focus.
    bool isInFront() const;

    /// Starts it without waiting for anything.
    void launch(const QStringList &arguments = {});

    /// Whether @p text is logged within the time, counted from the start.
    bool waitForLog(const QString &text, int milliseconds = 10000);

    /// Sends a signal. @ref waitForEnd then waits for what comes of it.
    void sendSignal(int number);
    bool waitForEnd(int milliseconds = 30000);

    QString log() const;
    QString path() const { return m_process.program(); }
    uint processId() const { return static_cast<uint>(m_process.processId()); }
    int exitCode() const { return m_process.exitCode(); }
    QProcess::ExitStatus exitStatus() const { return m_process.exitStatus(); }

private:
    QProcess m_process;
    QStringList m_before; // the program's own arguments
    QByteArray m_output;
};

/// Id of a window of process @p pid that is shown, for xdotool; empty if it has none.
QString windowOf(qint64 pid);

/// Sets a key of the program's settings from outside, by the desktop's own tool.
bool setSetting(const QString &key, const QString &value);
QString setting(const QString &key);

/// A terminal over the whole screen whose text changes completely twice a second.
class BusyTerminal
{
public:
    BusyTerminal();
    ~BusyTerminal();
    Q_DISABLE_COPY(BusyTerminal)

    static QString desktopEntry();

private:
    QProcess m_process;
};

/// Process id of who owns @p service on the session bus; 0 if nobody does.
uint ownerOf(const QString &service);
} // namespace RecordedSession
