#pragma once
// The process of the active window as assistive technologies see it: programs tell over the
// accessibility bus which of their windows became active. Owned by PortalBackend; main thread;
// never waits for a program. Programs that keep away from that bus are not seen.

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusServiceWatcher>
#include <QHash>
#include <QObject>
#include <QTimer>

#include <functional>
#include <optional>

class AccessibleActiveWindow : public QObject
{
    Q_OBJECT

public:
    /// @p session is the bus that knows where the accessibility bus is.
    explicit AccessibleActiveWindow(const QDBusConnection &session);
    ~AccessibleActiveWindow() override;

    /// Finds the accessibility bus and the window that is active by now, and follows from there.
    void start();
    void stop();

    /// 0 if no program says that it has the active window; nothing without an accessibility bus.
    std::optional<quint32> processId() const;

private Q_SLOTS:
    void onActivate(const QDBusMessage &event);
    void onDeactivate(const QDBusMessage &event);
    void onDisconnected();
    void onOwnerChanged(const QString &name, const QString &before, const QString &now);

private:
    struct Window {
        QString program; // unique name on the accessibility bus
        QString path;

        bool operator==(const Window &other) const
        {
            return program == other.program && path == other.path;
        }
    };
    using Handler = std::function<void(const QDBusMessage &reply)>;

    void join(const QString &address);
    void leave();
    void registerEvents();
    void listen(bool on);
    void searchSoon();
    void search();
    void findActive();
    void askWindowsOf(const QString &program, const QString &path, int search);
    void askWhetherActive(const Window &window, int search);
    void setActive(const Window &window);
    void clear();
    void ask(const QDBusConnection &bus, const QDBusMessage &question, const Handler &handler);

    QDBusConnection m_session;
    QString m_name; // of the connection, within this process
    std::optional<QDBusConnection> m_bus;
    QDBusServiceWatcher m_programs;
    Window m_window;
    QHash<QString, quint32> m_processIds; // of programs that have had the active window
    bool m_running = false;
    QTimer m_search;    // for the active window, where none has said that it is
    int m_searches = 0; // in a row
    int m_epoch = 0;    // an answer to a question of before the latest start or stop is stale
    int m_events = 0;   // told by programs so far
};
