#include "fakecastportal.h"

#include "toldstream.h"

#include <QDBusMetaType>
#include <QDBusObjectPath>
#include <QDBusUnixFileDescriptor>
#include <QUuid>

namespace
{
const QString CONNECTION = QStringLiteral("cast portal");
const QString SERVICE = QStringLiteral("org.freedesktop.portal.Desktop");
const QString PATH = QStringLiteral("/org/freedesktop/portal/desktop");
const QString SCREEN_CAST = QStringLiteral("org.freedesktop.portal.ScreenCast");
const QString REQUEST = QStringLiteral("org.freedesktop.portal.Request");
const QString SESSION = QStringLiteral("org.freedesktop.portal.Session");

constexpr uint GRANTED = 0, REFUSED = 1, ENDED_OTHERWISE = 2;

QVariantMap lastOptions(const QDBusMessage &call)
{
    return qdbus_cast<QVariantMap>(call.arguments().constLast());
}

QString callerIn(const QDBusMessage &call)
{
    return call.service().mid(1).replace(QLatin1Char('.'), QLatin1Char('_'));
}
} // namespace

FakeCastPortal::FakeCastPortal(const PrivateBus &bus, const PipeWireDaemon &daemon)
    : m_daemon(daemon), m_bus(bus.connect(CONNECTION))
{
    qDBusRegisterMetaType<ToldStream>();
    qDBusRegisterMetaType<QList<ToldStream>>();
    m_bus.registerVirtualObject(PATH, this, QDBusConnection::SubPath);
}

FakeCastPortal::~FakeCastPortal()
{
    die();
    m_bus.unregisterObject(PATH);
    QDBusConnection::disconnectFromBus(CONNECTION);
}

void FakeCastPortal::appear()
{
    m_bus.registerService(SERVICE);
}

void FakeCastPortal::die()
{
    m_sessions.clear();
    m_openQuestion.clear();
    m_bus.unregisterService(SERVICE);
}

void FakeCastPortal::closeSessions()
{
    for (const QString &path : qAsConst(m_sessions)) {
        QDBusMessage closed = QDBusMessage::createSignal(path, SESSION, QStringLiteral("Closed"));
        closed << QVariantMap();
        m_bus.send(closed);
    }
    m_sessions.clear();
}

QString FakeCastPortal::introspect(const QString & /*path*/) const
{
    return {};
}

bool FakeCastPortal::handleMessage(const QDBusMessage &message, const QDBusConnection & /*bus*/)
{
    const QString member = message.member();
    if (message.interface() == SESSION && member == QLatin1String("Close")) {
        m_sessions.removeAll(message.path());
        return true;
    }
    if (message.interface() == REQUEST && member == QLatin1String("Close")) {
        m_takenBack.append(message.path());
        return true;
    }
    if (message.interface() != SCREEN_CAST || !m_castsScreens) {
        return false;
    }
    if (member == QLatin1String("OpenPipeWireRemote")) {
        openRemote(message);
        return true;
    }
    const QVariantMap options = lastOptions(message);
    const QString request =
        QStringLiteral("%1/request/%2/%3")
            .arg(PATH, callerIn(message), options.value(QStringLiteral("handle_token")).toString());
    m_bus.send(message.createReply(QVariant::fromValue(QDBusObjectPath(request))));
    if (m_fails) {
        ++m_failures;
        respond(request, ENDED_OTHERWISE);
    } else if (member == QLatin1String("CreateSession")) {
        const QString session =
            QStringLiteral("%1/session/%2/%3")
                .arg(PATH, callerIn(message),
                     options.value(QStringLiteral("session_handle_token")).toString());
        m_sessions.append(session);
        respond(request, GRANTED, {{QStringLiteral("session_handle"), session}});
    } else if (member == QLatin1String("SelectSources")) {
        m_sources = options;
        respond(request, GRANTED);
    } else if (member == QLatin1String("Start")) {
        start(request);
    }
    return true;
}

void FakeCastPortal::respond(const QString &request, uint response, const QVariantMap &results)
{
    QDBusMessage told = QDBusMessage::createSignal(request, REQUEST, QStringLiteral("Response"));
    told << response << results;
    m_bus.send(told);
}

void FakeCastPortal::start(const QString &request)
{
    ++m_starts;
    const QString token = m_sources.value(QStringLiteral("restore_token")).toString();
    if (!token.isEmpty() && token == m_token) {
        grant(request);
        return;
    }
    ++m_questions;
    m_openQuestion = request;
    if (m_user != User::IsAway) {
        answer(m_user);
    }
}

void FakeCastPortal::answer(User user)
{
    const QString request = std::exchange(m_openQuestion, QString());
    if (user == User::SaysYes) {
        grant(request);
    } else {
        respond(request, REFUSED);
    }
}

void FakeCastPortal::grant(const QString &request)
{
    QList<ToldStream> streams;
    for (const Stream &stream : qAsConst(m_streams)) {
        ToldStream told{stream.node, {}};
        if (!stream.logical.isEmpty()) {
            told.facts = {{QStringLiteral("position"), stream.logical.topLeft()},
                          {QStringLiteral("size"), stream.logical.size()},
                          {QStringLiteral("source_type"), 1U}};
        }
        streams.append(told);
    }
    QVariantMap results{{QStringLiteral("streams"), QVariant::fromValue(streams)}};
    if (m_givesTokens) {
        m_token = QUuid::createUuid().toString(QUuid::WithoutBraces);
        results.insert(QStringLiteral("restore_token"), m_token);
    }
    respond(request, GRANTED, results);
}

void FakeCastPortal::openRemote(const QDBusMessage &call)
{
    const FileDescriptor connection = m_daemon.connection();
    if (connection.isValid()) {
        m_bus.send(
            call.createReply(QVariant::fromValue(QDBusUnixFileDescriptor(connection.get()))));
    } else {
        m_bus.send(call.createErrorReply(QDBusError::Failed, QStringLiteral("no PipeWire")));
    }
}
