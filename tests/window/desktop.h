#pragma once
// A desktop of its own for one run of the program: an X server of a given size, a window manager, a
// session bus with its accessibility bus, and a home directory; and the user in front of it, whose
// eyes are pictures of the screen and whose hands are real input events. Main thread of a test,
// which itself needs no display.

#include <QDBusConnection>
#include <QImage>
#include <QPoint>
#include <QProcess>
#include <QProcessEnvironment>
#include <QRect>
#include <QSize>
#include <QTemporaryDir>
#include <QVector>

#include <memory>

struct xcb_connection_t;

class Desktop
{
public:
    /// @p size in device pixels; @p scale is what the user set in the desktop, 1 or 2.
    explicit Desktop(const QSize &size = QSize(1366, 768), int scale = 1);
    ~Desktop(); ///< ends what it started
    Q_DISABLE_COPY_MOVE(Desktop)

    /// Brings everything up. False if something does not come.
    bool start();

    /// Makes the history that the arguments describe, see paintedhistory.cpp, in small pictures.
    bool paintHistory(const QStringList &days) const;

    QSize size() const { return m_size; }
    int scale() const { return m_scale; }
    QString home() const { return m_home.path(); }
    QProcessEnvironment environment() const { return m_environment; }
    QDBusConnection bus() const;

    /// Runs a command on this desktop to its end and gives what it printed.
    QString outputOf(const QString &program, const QStringList &arguments) const;
    /// The same, and whether it ended with 0.
    bool run(const QString &program, const QStringList &arguments) const;

    bool setSetting(const QString &key, const QString &value) const;
    QString setting(const QString &key) const;

    /// The whole screen as it is now.
    QImage picture() const;

    // Input, in device pixels. False if it could not be sent.

    bool movePointer(const QPoint &to) const;
    /// Moves and clicks; 4 and 5 are a wheel's notches up and down.
    bool click(const QPoint &at, int button = 1) const;
    bool press(const QPoint &at) const;
    bool release() const;
    /// Keys as xdotool names them, such as "Page_Up" and "alt+F4".
    bool key(const QString &name) const;
    bool keyDown(const QString &name) const;
    bool keyUp(const QString &name) const;

    /// Asks the window manager to close a window, as a task bar does.
    bool closeWindow(quint32 window) const;
    /// Windows of a process that are shown, in no order.
    QVector<quint32> windowsOf(qint64 process) const;
    QRect geometryOf(quint32 window) const;

    /// Process id of the window with the input focus; 0 if there is none.
    qint64 processInFront() const;

private:
    bool startServer();
    bool startWindowManager();
    bool startBus();
    bool startAccessibility() const;
    void makeEnvironment();
    static void end(QProcess *process);

    struct Disconnect {
        void operator()(xcb_connection_t *connection) const;
    };

    QSize m_size;
    int m_scale;
    QTemporaryDir m_home;
    QString m_busName; ///< of the test's connection
    QProcessEnvironment m_environment;
    QProcess m_server;
    QProcess m_windowManager;
    QProcess m_busDaemon;
    std::unique_ptr<xcb_connection_t, Disconnect> m_connection;
};
