#include "desktopbridge/portal/accessibleactivewindow.h"

#include <QDBusArgument>
#include <QDBusMetaType>
#include <QDBusObjectPath>
#include <QDBusPendingCallWatcher>

#include <utility>

namespace
{
const QString EVENTS = QStringLiteral("org.a11y.atspi.Event.Window");
const QString ACCESSIBLE = QStringLiteral("org.a11y.atspi.Accessible");
const QString REGISTRY = QStringLiteral("org.a11y.atspi.Registry");
const QString REGISTRY_PATH = QStringLiteral("/org/a11y/atspi/registry");
const QString ROOT_PATH = QStringLiteral("/org/a11y/atspi/accessible/root");
const QString BUS = QStringLiteral("org.freedesktop.DBus");
const QString BUS_PATH = QStringLiteral("/org/freedesktop/DBus");
const QString LOCAL_PATH = QStringLiteral("/org/freedesktop/DBus/Local");
const QString LOCAL = QStringLiteral("org.freedesktop.DBus.Local");

constexpr int RESTART_MS = 1000;
constexpr int SEARCH_MS = 300;
constexpr int MOST_SEARCHES = 4;          // within half a minute
constexpr quint32 ACTIVE_STATE = 1U << 1; // of the first of the words that make up a state

QDBusMessage call(const QString &service, const QString &path, const QString &interface,
                  const QString &method)
{
    QDBusMessage message = QDBusMessage::createMethodCall(service, path, interface, method);
    message.setAutoStartService(false);
    return message;
}

// The answer to GetChildren: names and paths.
QVector<QPair<QString, QString>> childrenFrom(const QDBusMessage &reply)
{
    QVector<QPair<QString, QString>> children;
    if (reply.signature() != QLatin1String("a(so)")) {
        return children;
    }
    const auto list = reply.arguments().constFirst().value<QDBusArgument>();
    list.beginArray();
    while (!list.atEnd()) {
        QString program;
        QDBusObjectPath path;
        list.beginStructure();
        list >> program >> path;
        list.endStructure();
        children.append({program, path.path()});
    }
    list.endArray();
    return children;
}

bool tellsActive(const QDBusMessage &reply)
{
    if (reply.signature() != QLatin1String("au")) {
        return false;
    }
    const auto words = qdbus_cast<QList<quint32>>(reply.arguments().constFirst());
    return !words.isEmpty() && (words.constFirst() & ACTIVE_STATE) != 0;
}
} // namespace

AccessibleActiveWindow::AccessibleActiveWindow(const QDBusConnection &session)
    : m_session(session), m_name(QStringLiteral("accessibility of %1").arg(quintptr(this)))
{
    m_search.setSingleShot(true);
    connect(&m_search, &QTimer::timeout, this, &AccessibleActiveWindow::search);
    m_programs.setWatchMode(QDBusServiceWatcher::WatchForUnregistration);
    connect(&m_programs, &QDBusServiceWatcher::serviceUnregistered, this,
            [this](const QString &program) {
                m_processIds.remove(program);
                m_programs.removeWatchedService(program);
                if (m_window.program == program) {
                    ++m_events;
                    clear();
                }
            });
}

AccessibleActiveWindow::~AccessibleActiveWindow()
{
    leave();
}

std::optional<quint32> AccessibleActiveWindow::processId() const
{
    if (!m_bus) {
        return std::nullopt;
    }
    return m_processIds.value(m_window.program, 0);
}

void AccessibleActiveWindow::start()
{
    if (std::exchange(m_running, true)) {
        return;
    }
    const QDBusMessage question = QDBusMessage::createMethodCall(
        QStringLiteral("org.a11y.Bus"), QStringLiteral("/org/a11y/bus"),
        QStringLiteral("org.a11y.Bus"), QStringLiteral("GetAddress"));
    ask(m_session, question, [this](const QDBusMessage &reply) {
        if (reply.signature() == QLatin1String("s")) {
            join(reply.arguments().constFirst().toString());
        }
    });
}

void AccessibleActiveWindow::stop()
{
    m_running = false;
    leave();
}

void AccessibleActiveWindow::join(const QString &address)
{
    QDBusConnection bus = QDBusConnection::connectToBus(address, m_name);
    if (!bus.isConnected()) {
        QDBusConnection::disconnectFromBus(m_name);
        return;
    }
    m_bus = bus;
    m_programs.setConnection(bus);
    listen(true);
    registerEvents();
    searchSoon();
    findActive();
}

void AccessibleActiveWindow::leave()
{
    ++m_epoch;
    m_window = Window();
    m_search.stop();
    m_processIds.clear();
    m_programs.setWatchedServices({});
    if (m_bus) {
        listen(false);
        m_bus.reset();
        m_programs.setConnection(m_session);
        QDBusConnection::disconnectFromBus(m_name);
    }
}

void AccessibleActiveWindow::listen(bool on)
{
    const auto connectOrNot =
        on ? qOverload<const QString &, const QString &, const QString &, const QString &,
                       QObject *, const char *>(&QDBusConnection::connect)
           : qOverload<const QString &, const QString &, const QString &, const QString &,
                       QObject *, const char *>(&QDBusConnection::disconnect);
    const QString any;
    const auto each = [&](const QString &event, const char *slot) {
        ((*m_bus).*connectOrNot)(any, any, EVENTS, event, this, slot);
    };
    each(QStringLiteral("Activate"), SLOT(onActivate(QDBusMessage)));
    each(QStringLiteral("Deactivate"), SLOT(onDeactivate(QDBusMessage)));
    each(QStringLiteral("Destroy"), SLOT(onDeactivate(QDBusMessage)));
    ((*m_bus).*connectOrNot)(any, LOCAL_PATH, LOCAL, QStringLiteral("Disconnected"), this,
                             SLOT(onDisconnected()));
    ((*m_bus).*connectOrNot)(BUS, BUS_PATH, BUS, QStringLiteral("NameOwnerChanged"), this,
                             SLOT(onOwnerChanged(QString, QString, QString)));
}

// Toolkits send only what somebody has registered for.
void AccessibleActiveWindow::registerEvents()
{
    for (const char *event : {"window:activate", "window:deactivate", "window:destroy"}) {
        QDBusMessage request =
            call(REGISTRY, REGISTRY_PATH, REGISTRY, QStringLiteral("RegisterEvent"));
        request.setAutoStartService(true);
        request << QString::fromLatin1(event);
        m_bus->call(request, QDBus::NoBlock);
    }
}

void AccessibleActiveWindow::findActive()
{
    const int search = m_events;
    ask(*m_bus, call(REGISTRY, ROOT_PATH, ACCESSIBLE, QStringLiteral("GetChildren")),
        [this, search](const QDBusMessage &reply) {
            for (const auto &[program, path] : childrenFrom(reply)) {
                askWindowsOf(program, path, search);
            }
        });
}

void AccessibleActiveWindow::askWindowsOf(const QString &program, const QString &path, int search)
{
    ask(*m_bus, call(program, path, ACCESSIBLE, QStringLiteral("GetChildren")),
        [this, search](const QDBusMessage &reply) {
            for (const auto &[owner, window] : childrenFrom(reply)) {
                askWhetherActive({owner, window}, search);
            }
        });
}

void AccessibleActiveWindow::askWhetherActive(const Window &window, int search)
{
    ask(*m_bus, call(window.program, window.path, ACCESSIBLE, QStringLiteral("GetState")),
        [this, window, search](const QDBusMessage &reply) {
            // What programs tell is newer than what they answer.
            if (search == m_events && tellsActive(reply)) {
                setActive(window);
            }
        });
}

void AccessibleActiveWindow::onActivate(const QDBusMessage &event)
{
    ++m_events;
    setActive({event.service(), event.path()});
}

void AccessibleActiveWindow::onDeactivate(const QDBusMessage &event)
{
    ++m_events;
    if (m_window == Window{event.service(), event.path()}) {
        clear();
    }
}

void AccessibleActiveWindow::setActive(const Window &window)
{
    m_window = window;
    m_search.stop();
    const QString program = window.program;
    if (m_processIds.contains(program)) {
        return;
    }
    m_programs.addWatchedService(program);
    QDBusMessage question = call(BUS, BUS_PATH, BUS, QStringLiteral("GetConnectionUnixProcessID"));
    question << program;
    ask(*m_bus, question, [this, program](const QDBusMessage &reply) {
        if (reply.signature() == QLatin1String("u")) {
            m_processIds.insert(program, reply.arguments().constFirst().toUInt());
        }
    });
}

// Qt's programs say nothing if they get the focus back within a tenth of a second.
void AccessibleActiveWindow::clear()
{
    m_window = Window();
    searchSoon();
}

void AccessibleActiveWindow::searchSoon()
{
    m_searches = 0;
    m_search.start(SEARCH_MS);
}

void AccessibleActiveWindow::search()
{
    if (++m_searches < MOST_SEARCHES) {
        m_search.start(SEARCH_MS << (2 * m_searches));
    }
    findActive();
}

// A program that has just joined may have its window active before it knows who listens.
void AccessibleActiveWindow::onOwnerChanged(const QString &name, const QString & /*before*/,
                                            const QString &now)
{
    if (name.startsWith(QLatin1Char(':')) && !now.isEmpty() && m_window.program.isEmpty()) {
        searchSoon();
    }
}

// Its launcher starts another one for whoever asks.
void AccessibleActiveWindow::onDisconnected()
{
    stop();
    QTimer::singleShot(RESTART_MS, this, [this, epoch = m_epoch] {
        if (epoch == m_epoch) {
            start();
        }
    });
}

void AccessibleActiveWindow::ask(const QDBusConnection &bus, const QDBusMessage &question,
                                 const Handler &handler)
{
    auto *reply = new QDBusPendingCallWatcher(bus.asyncCall(question), this);
    connect(reply, &QDBusPendingCallWatcher::finished, this,
            [this, handler, epoch = m_epoch](QDBusPendingCallWatcher *finished) {
                const QDBusMessage message = finished->reply();
                finished->deleteLater();
                if (epoch == m_epoch && message.type() == QDBusMessage::ReplyMessage) {
                    handler(message);
                }
            });
}
