#include "desktopbridge/portal/portalbackend.h"

#include "desktopbridge/wayland/outputlayout.h"

#include <QDBusConnectionInterface>
#include <QDebug>

#include <algorithm>
#include <fcntl.h>
#include <iterator>

namespace
{
// The end of a stream, of its session and of PipeWire come by different ways, in any order.
constexpr int SETTLE_MS = 500;

// How far apart an event of the session and the end of a cast that it brings about may lie.
constexpr qint64 EXPLAINS_MS = 5000;

constexpr int RETRY_FACTORS[] = {1, 4, 10, 30, 120};

// A portal that fails this often before the user was ever asked will not work the next time either.
constexpr int MOST_FAILURES = 6;

bool hasPortal(const QDBusConnection &bus)
{
    const QDBusReply<bool> owned = bus.interface()->isServiceRegistered(PortalRequest::SERVICE);
    if (owned.isValid() && owned.value()) {
        return true;
    }
    const QDBusReply<QStringList> names = bus.interface()->activatableServiceNames();
    return names.isValid() && names.value().contains(PortalRequest::SERVICE);
}
} // namespace

struct PortalBackend::Words {
    static QString of(State state)
    {
        switch (state) {
        case State::Live:
            return {};
        case State::Unasked:
            return QStringLiteral("nobody watches the screen, so the desktop was not asked for it");
        case State::Asked:
            return QStringLiteral("the desktop was asked for the screen and has not answered yet");
        case State::Expected:
            return QStringLiteral("the desktop shows the screen but has sent no picture yet");
        case State::Unsettled:
        case State::Interrupted:
            return QStringLiteral(
                "the desktop's pictures of the screen were interrupted; they are asked for again");
        case State::Paused:
            return QStringLiteral("the desktop sends no pictures of the screen for now");
        case State::Locked:
            return QStringLiteral("the desktop shows no pictures of the locked screen");
        case State::Refused:
            return QStringLiteral("the desktop was not allowed to show the screen; the next start "
                                  "of the program asks again");
        case State::Revoked:
            return QStringLiteral("the desktop's permission to show the screen was taken back; the "
                                  "next start of the program asks again");
        case State::NeedsUser:
            return QStringLiteral("the desktop must ask again before it shows the screen; the next "
                                  "start of the program does");
        case State::Absent:
            return QStringLiteral("this desktop has no portal that shows the screen");
        case State::Broken:
            return QStringLiteral("the desktop's portal fails to show the screen");
        }
        return {};
    }
};

std::unique_ptr<PortalBackend> PortalBackend::connectToSession(QString &problem)
{
    const QDBusConnection session = QDBusConnection::sessionBus();
    std::shared_ptr<WaylandConnection> compositor = WaylandConnection::connectToDisplay(problem);
    if (!compositor) {
        return nullptr;
    }
    if (!session.isConnected() || !hasPortal(session)) {
        problem = QStringLiteral("there is no desktop portal");
        return nullptr;
    }
    return std::make_unique<PortalBackend>(session, QDBusConnection::systemBus(),
                                           std::make_unique<WaylandOutputs>(std::move(compositor)));
}

PortalBackend::PortalBackend(const QDBusConnection &session, const QDBusConnection &system,
                             std::unique_ptr<WaylandOutputs> outputs, RestoreToken token,
                             int firstRetry)
    : m_bus(session)
    , m_token(std::move(token))
    , m_events(session, system, std::move(outputs))
    , m_activeWindow(session)
    , m_firstRetry(firstRetry)
    , m_portal(PortalRequest::SERVICE, session, QDBusServiceWatcher::WatchForOwnerChange)
{
    m_settling.setSingleShot(true);
    m_settling.setInterval(SETTLE_MS);
    m_retry.setSingleShot(true);
    connect(&m_settling, &QTimer::timeout, this, &PortalBackend::settle);
    connect(&m_retry, &QTimer::timeout, this, &PortalBackend::resume);
    connect(&m_portal, &QDBusServiceWatcher::serviceUnregistered, this,
            &PortalBackend::onPortalGone);
    connect(&m_portal, &QDBusServiceWatcher::serviceRegistered, this,
            &PortalBackend::onPortalThere);
    connect(&m_events, &SessionEvents::locked, this, &PortalBackend::onLocked);
    connect(&m_events, &SessionEvents::unlocked, this, &PortalBackend::onUnlocked);
    connect(&m_events, &SessionEvents::outputsChanged, this, &PortalBackend::onOutputsChanged);
}

PortalBackend::~PortalBackend() = default;

QString PortalBackend::problem() const
{
    return Words::of(m_state);
}

QVector<QRect> PortalBackend::screens()
{
    return m_state == State::Live ? m_picture->screens() : QVector<QRect>();
}

QRect PortalBackend::virtualScreen()
{
    return spannedBy(screens());
}

int PortalBackend::tileEdge()
{
    return m_state == State::Live ? m_picture->tileEdge() : tileEdgeForScale(1.0);
}

PicturePtr PortalBackend::fetch(const QRect &area)
{
    return m_state == State::Live ? m_picture->fetch(area) : nullptr;
}

bool PortalBackend::startWatching()
{
    m_activeWindow.start();
    m_watching = true;
    m_answered = false;
    m_attempts = 0;
    open();
    return true;
}

void PortalBackend::stopWatching()
{
    m_watching = false;
    m_activeWindow.stop();
    m_retry.stop();
    dropSession();
    setState(State::Unasked);
}

QVector<QRect> PortalBackend::takeDamage()
{
    return m_state == State::Live ? m_picture->takeDamage() : QVector<QRect>();
}

std::optional<quint32> PortalBackend::activeWindowPid()
{
    return m_activeWindow.processId();
}

void PortalBackend::setState(State state)
{
    if (state == m_state) {
        return;
    }
    const State before = std::exchange(m_state, state);
    tellChange(before);
    if (state == State::Live || before == State::Live) {
        Q_EMIT layoutChanged();
    }
    if (state == State::Live) {
        Q_EMIT damaged();
    }
}

// One message when the pictures stop, however many states that goes through; another one only if
// they then turn out to need the user.
void PortalBackend::tellChange(State before)
{
    if (before == State::Live) {
        m_owesMessage = m_state != State::Unasked;
    }
    if (m_state == State::Live) {
        m_owesMessage = false;
        qInfo() << "The desktop shows the screen";
    } else if (isFinal(m_state) || (m_owesMessage && m_state != State::Unsettled)) {
        m_owesMessage = false;
        qWarning() << "Recording pauses:" << problem();
    }
}

void PortalBackend::open()
{
    dropSession();
    m_retry.stop();
    m_session = std::make_unique<CastSession>(m_bus);
    connect(m_session.get(), &CastSession::granted, this, &PortalBackend::onGranted);
    connect(m_session.get(), &CastSession::opened, this, &PortalBackend::onOpened);
    connect(m_session.get(), &CastSession::failed, this, &PortalBackend::onFailed);
    connect(m_session.get(), &CastSession::closed, this, &PortalBackend::onClosed);
    setState(State::Asked);
    m_session->open(m_token.load());
}

// Both are deleted later, for this may be called out of their signals.
void PortalBackend::dropSession()
{
    m_settling.stop();
    m_closed = m_portalGone = false;
    if (m_picture) {
        m_picture->disconnect(this);
        m_picture.release()->deleteLater();
    }
    if (m_session) {
        m_session->disconnect(this);
        m_session.release()->deleteLater();
    }
}

void PortalBackend::onGranted(const QString &restoreToken)
{
    m_answered = true;
    if (!m_token.save(restoreToken)) {
        qWarning() << "The desktop's permission to show the screen cannot be kept";
    }
}

void PortalBackend::onOpened()
{
    FileDescriptor connection(
        ::fcntl(m_session->connection().fileDescriptor(), F_DUPFD_CLOEXEC, 0));
    QString problem;
    m_picture = CastPicture::read(std::move(connection), m_session->streams(), problem);
    if (!m_picture) {
        interrupt();
        return;
    }
    m_picture->setOrder(m_events.outputPlaces());
    connect(m_picture.get(), &CastPicture::layoutChanged, this, &PortalBackend::onPictureChanged);
    connect(m_picture.get(), &CastPicture::damaged, this, &PortalBackend::damaged);
    connect(m_picture.get(), &CastPicture::ended, this, &PortalBackend::unsettle);
    setState(State::Expected);
}

void PortalBackend::onFailed(CastSession::Failure failure, const QString & /*text*/)
{
    dropSession();
    if (failure == CastSession::Failure::Refused) {
        m_answered = true;
        setState(State::Refused);
    } else if (failure == CastSession::Failure::Absent) {
        setState(State::Absent);
    } else if (m_answered || m_attempts < MOST_FAILURES) {
        interrupt();
    } else {
        setState(State::Broken);
    }
}

void PortalBackend::onClosed()
{
    m_closed = true;
    m_sinceClosed.start();
    unsettle();
}

void PortalBackend::onPictureChanged()
{
    if (!m_picture->isLive()) {
        unsettle();
        return;
    }
    m_attempts = 0;
    if (m_closed || m_portalGone) {
        return;
    }
    m_settling.stop();
    if (m_state == State::Live) {
        Q_EMIT layoutChanged();
        Q_EMIT damaged();
    } else {
        setState(State::Live);
    }
}

void PortalBackend::onPortalGone()
{
    if (m_session) {
        m_portalGone = true;
        unsettle();
    }
}

void PortalBackend::onPortalThere()
{
    if (m_watching && m_state == State::Absent) {
        m_attempts = 0;
        open();
    }
}

void PortalBackend::unsettle()
{
    setState(State::Unsettled);
    m_settling.start();
}

void PortalBackend::settle()
{
    const bool cutOff = m_portalGone || (m_picture && m_picture->isCutOff());
    if (m_closed && !cutOff) {
        settleClosed();
    } else if (cutOff || !m_picture || m_picture->hasEnded()) {
        interrupt();
    } else {
        setState(State::Paused);
    }
}

// The portal does not tell who closed a session, the user or the compositor.
void PortalBackend::settleClosed()
{
    if (m_events.isLocked()) {
        dropSession();
        setState(State::Locked);
    } else if (isRecent(m_sinceOutputs)) {
        interrupt();
    } else {
        dropSession();
        setState(State::Revoked);
    }
}

void PortalBackend::interrupt()
{
    dropSession();
    const int last = int(std::size(RETRY_FACTORS)) - 1;
    m_retry.start(m_firstRetry * RETRY_FACTORS[std::min(m_attempts, last)]);
    ++m_attempts;
    setState(State::Interrupted);
}

// Without a token this would be a question; one that was never answered may be asked again.
void PortalBackend::resume()
{
    if (m_answered && m_token.load().isEmpty()) {
        setState(State::NeedsUser);
    } else {
        open();
    }
}

bool PortalBackend::isRecent(const QElapsedTimer &event) const
{
    return event.isValid() && event.elapsed() < EXPLAINS_MS;
}

void PortalBackend::onLocked()
{
    if (m_state == State::Revoked && isRecent(m_sinceClosed)) {
        setState(State::Locked);
    }
}

void PortalBackend::onUnlocked()
{
    if (m_state == State::Locked) {
        m_attempts = 0;
        resume();
    }
}

void PortalBackend::onOutputsChanged()
{
    m_sinceOutputs.start();
    if (m_state == State::Revoked && isRecent(m_sinceClosed)) {
        interrupt();
    } else if (m_picture) {
        m_picture->setOrder(m_events.outputPlaces());
    }
}
