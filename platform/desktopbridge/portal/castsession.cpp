#include "desktopbridge/portal/castsession.h"

#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>

namespace
{
const QString SESSION = QStringLiteral("org.freedesktop.portal.Session");
const QString CLOSED = QStringLiteral("Closed");

// The portal's numbers.
constexpr uint MONITORS = 1;
constexpr uint POINTER_HIDDEN = 1;
constexpr uint UNTIL_REVOKED = 2;

bool tellsAbsence(const QDBusError &error)
{
    switch (error.type()) {
    case QDBusError::ServiceUnknown:
    case QDBusError::UnknownInterface:
    case QDBusError::UnknownMethod:
    case QDBusError::UnknownObject:
        return true;
    default:
        return false;
    }
}
} // namespace

CastSession::CastSession(const QDBusConnection &bus) : m_bus(bus) {}

CastSession::~CastSession()
{
    m_request.reset();
    if (!m_path.path().isEmpty()) {
        m_bus.disconnect(PortalRequest::SERVICE, m_path.path(), SESSION, CLOSED, this,
                         SLOT(onClosed()));
        QDBusMessage close = QDBusMessage::createMethodCall(PortalRequest::SERVICE, m_path.path(),
                                                            SESSION, QStringLiteral("Close"));
        close.setAutoStartService(false);
        m_bus.call(close, QDBus::NoBlock);
    }
}

void CastSession::open(const QString &restoreToken)
{
    m_restoreToken = restoreToken;
    const QString token = PortalRequest::newToken();
    m_path = QDBusObjectPath(PortalRequest::pathFor(m_bus, QStringLiteral("session"), token));
    m_bus.connect(PortalRequest::SERVICE, m_path.path(), SESSION, CLOSED, this, SLOT(onClosed()));
    ask(QStringLiteral("CreateSession"), {}, {{QStringLiteral("session_handle_token"), token}},
        &CastSession::selectSources);
}

void CastSession::ask(const QString &method, const QVariantList &arguments,
                      const QVariantMap &options, Step next)
{
    m_request = std::make_unique<PortalRequest>(m_bus, method, arguments, options);
    connect(m_request.get(), &PortalRequest::failed, this, &CastSession::fail);
    // Queued, for the next step replaces the request that sends this.
    connect(
        m_request.get(), &PortalRequest::answered, this,
        [this, next](uint response, const QVariantMap &results) {
            if (response == PortalRequest::Granted) {
                (this->*next)(results);
            } else if (response == PortalRequest::RefusedByTheUser) {
                Q_EMIT failed(Failure::Refused, QStringLiteral("refused"));
            } else {
                Q_EMIT failed(Failure::Broken, QStringLiteral("the portal gave up"));
            }
        },
        Qt::QueuedConnection);
}

void CastSession::fail(const QDBusError &error)
{
    Q_EMIT failed(tellsAbsence(error) ? Failure::Absent : Failure::Broken, error.message());
}

void CastSession::selectSources(const QVariantMap & /*results*/)
{
    QVariantMap options{{QStringLiteral("types"), MONITORS},
                        {QStringLiteral("multiple"), true},
                        {QStringLiteral("cursor_mode"), POINTER_HIDDEN},
                        {QStringLiteral("persist_mode"), UNTIL_REVOKED}};
    if (!m_restoreToken.isEmpty()) {
        options.insert(QStringLiteral("restore_token"), m_restoreToken);
    }
    ask(QStringLiteral("SelectSources"), {QVariant::fromValue(m_path)}, options,
        &CastSession::start);
}

void CastSession::start(const QVariantMap & /*results*/)
{
    ask(QStringLiteral("Start"), {QVariant::fromValue(m_path), QString()}, {},
        &CastSession::readStreams);
}

void CastSession::readStreams(const QVariantMap &results)
{
    m_streams = castStreamsFrom(results.value(QStringLiteral("streams")));
    Q_EMIT granted(results.value(QStringLiteral("restore_token")).toString());
    if (m_streams.isEmpty()) {
        Q_EMIT failed(Failure::Broken, QStringLiteral("the portal gave no stream"));
    } else {
        openRemote();
    }
}

void CastSession::openRemote()
{
    QDBusMessage question = QDBusMessage::createMethodCall(
        PortalRequest::SERVICE, PortalRequest::PATH, PortalRequest::SCREEN_CAST,
        QStringLiteral("OpenPipeWireRemote"));
    question << QVariant::fromValue(m_path) << QVariantMap();
    auto *reply = new QDBusPendingCallWatcher(m_bus.asyncCall(question), this);
    connect(reply, &QDBusPendingCallWatcher::finished, this, [this](QDBusPendingCallWatcher *call) {
        const QDBusPendingReply<QDBusUnixFileDescriptor> connection = *call;
        call->deleteLater();
        if (connection.isError()) {
            fail(connection.error());
        } else {
            m_connection = connection.value();
            Q_EMIT opened();
        }
    });
}

void CastSession::onClosed()
{
    Q_EMIT closed();
}
