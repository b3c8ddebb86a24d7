#include "desktopbridge/portal/portalcast.h"

#include <QDebug>

#include <algorithm>
#include <fcntl.h>
#include <iterator>
#include <utility>

namespace
{
// The end of a stream, of its session and of PipeWire come by different ways, in any order.
constexpr int SETTLE_MS = 500;

// How far apart an event of the session and the end of a cast that it brings about may lie.
constexpr qint64 EXPLAINS_MS = 5000;

constexpr int RETRY_FACTORS[] = {1, 4, 10, 30, 120};

// A portal that fails this often before the user was ever asked will not work the next time either.
constexpr int MOST_FAILURES = 6;
} // namespace

PortalCast::PortalCast(const QDBusConnection &session, SessionEvents &events, RestoreToken token,
                       int firstRetry)
    : m_bus(session)
    , m_events(events)
    , m_token(std::move(token))
    , m_firstRetry(firstRetry)
    , m_portal(PortalRequest::SERVICE, session, QDBusServiceWatcher::WatchForOwnerChange)
{
    m_settling.setSingleShot(true);
    m_settling.setInterval(SETTLE_MS);
    m_retry.setSingleShot(true);
    connect(&m_settling, &QTimer::timeout, this, &PortalCast::settle);
    connect(&m_retry, &QTimer::timeout, this, &PortalCast::resume);
    connect(&m_portal, &QDBusServiceWatcher::serviceUnregistered, this, &PortalCast::onPortalGone);
    connect(&m_portal, &QDBusServiceWatcher::serviceRegistered, this, &PortalCast::onPortalThere);
    connect(&m_events, &SessionEvents::locked, this, &PortalCast::onLocked);
    connect(&m_events, &SessionEvents::unlocked, this, &PortalCast::onUnlocked);
    connect(&m_events, &SessionEvents::outputsChanged, this, &PortalCast::onOutputsChanged);
}

PortalCast::~PortalCast() = default;

void PortalCast::start()
{
    m_wanted = true;
    m_answered = false;
    m_attempts = 0;
    open();
}

void PortalCast::stop()
{
    m_wanted = false;
    m_retry.stop();
    dropSession();
    setState(CastState::Unasked);
}

void PortalCast::setState(CastState state)
{
    if (state == m_state) {
        return;
    }
    const CastState before = std::exchange(m_state, state);
    tellChange(before);
    if (state == CastState::Live || before == CastState::Live) {
        Q_EMIT changed();
    }
    if (m_state == CastState::Live) { // who was told may have stopped it
        Q_EMIT damaged();
    }
}

// One message when the pictures stop, however many states that goes through; another one only if
// they then turn out to need the user.
void PortalCast::tellChange(CastState before)
{
    if (before == CastState::Live) {
        m_owesMessage = m_state != CastState::Unasked;
    }
    if (m_state == CastState::Live) {
        m_owesMessage = false;
        qInfo() << "The desktop shows the screen";
    } else if (isFinal(m_state) || (m_owesMessage && m_state != CastState::Unsettled)) {
        m_owesMessage = false;
        qWarning() << "Recording pauses:" << problemOf(m_state);
    }
}

void PortalCast::open()
{
    dropSession();
    m_retry.stop();
    m_session = std::make_unique<CastSession>(m_bus);
    connect(m_session.get(), &CastSession::granted, this, &PortalCast::onGranted);
    connect(m_session.get(), &CastSession::opened, this, &PortalCast::onOpened);
    connect(m_session.get(), &CastSession::failed, this, &PortalCast::onFailed);
    connect(m_session.get(), &CastSession::closed, this, &PortalCast::onClosed);
    setState(CastState::Asked);
    m_session->open(m_token.load());
}

// Both are deleted later, for this may be called out of their signals.
void PortalCast::dropSession()
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

void PortalCast::onGranted(const QString &restoreToken)
{
    m_answered = true;
    if (!m_token.save(restoreToken)) {
        qWarning() << "The desktop's permission to show the screen cannot be kept";
    }
}

void PortalCast::onOpened()
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
    connect(m_picture.get(), &CastPicture::layoutChanged, this, &PortalCast::onPictureChanged);
    connect(m_picture.get(), &CastPicture::damaged, this, &PortalCast::damaged);
    connect(m_picture.get(), &CastPicture::ended, this, &PortalCast::unsettle);
    setState(CastState::Expected);
}

void PortalCast::onFailed(CastSession::Failure failure, const QString & /*text*/)
{
    dropSession();
    if (failure == CastSession::Failure::Refused) {
        m_answered = true;
        setState(CastState::Refused);
    } else if (failure == CastSession::Failure::Absent) {
        setState(CastState::Absent);
    } else if (m_answered || m_attempts < MOST_FAILURES) {
        interrupt();
    } else {
        setState(CastState::Broken);
    }
}

void PortalCast::onClosed()
{
    m_closed = true;
    m_sinceClosed.start();
    unsettle();
}

void PortalCast::onPictureChanged()
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
    if (m_state == CastState::Live) {
        Q_EMIT changed();
        Q_EMIT damaged();
    } else {
        setState(CastState::Live);
    }
}

void PortalCast::onPortalGone()
{
    if (m_session) {
        m_portalGone = true;
        unsettle();
    }
}

void PortalCast::onPortalThere()
{
    if (m_wanted && m_state == CastState::Absent) {
        m_attempts = 0;
        open();
    }
}

void PortalCast::unsettle()
{
    setState(CastState::Unsettled);
    m_settling.start();
}

void PortalCast::settle()
{
    const bool cutOff = m_portalGone || (m_picture && m_picture->isCutOff());
    if (m_closed && !cutOff) {
        settleClosed();
    } else if (cutOff || !m_picture || m_picture->hasEnded()) {
        interrupt();
    } else {
        setState(CastState::Paused);
    }
}

// The portal does not tell who closed a session, the user or the compositor.
void PortalCast::settleClosed()
{
    if (m_events.isLocked()) {
        dropSession();
        setState(CastState::Locked);
    } else if (isRecent(m_sinceOutputs)) {
        interrupt();
    } else {
        dropSession();
        setState(CastState::Revoked);
    }
}

void PortalCast::interrupt()
{
    dropSession();
    const int last = int(std::size(RETRY_FACTORS)) - 1;
    m_retry.start(m_firstRetry * RETRY_FACTORS[std::min(m_attempts, last)]);
    ++m_attempts;
    setState(CastState::Interrupted);
}

// Without a token this would be a question; one that was never answered may be asked again.
void PortalCast::resume()
{
    if (m_answered && m_token.load().isEmpty()) {
        setState(CastState::NeedsUser);
    } else {
        open();
    }
}

bool PortalCast::isRecent(const QElapsedTimer &event) const
{
    return event.isValid() && event.elapsed() < EXPLAINS_MS;
}

void PortalCast::onLocked()
{
    if (m_state == CastState::Revoked && isRecent(m_sinceClosed)) {
        setState(CastState::Locked);
    }
}

void PortalCast::onUnlocked()
{
    if (m_state == CastState::Locked) {
        m_attempts = 0;
        resume();
    }
}

void PortalCast::onOutputsChanged()
{
    m_sinceOutputs.start();
    if (m_state == CastState::Revoked && isRecent(m_sinceClosed)) {
        interrupt();
    } else if (m_picture) {
        m_picture->setOrder(m_events.outputPlaces());
    }
}
