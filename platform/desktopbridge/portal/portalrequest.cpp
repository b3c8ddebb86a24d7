#include "desktopbridge/portal/portalrequest.h"

#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>

const QString PortalRequest::SERVICE = QStringLiteral("org.freedesktop.portal.Desktop");
const QString PortalRequest::PATH = QStringLiteral("/org/freedesktop/portal/desktop");
const QString PortalRequest::SCREEN_CAST = QStringLiteral("org.freedesktop.portal.ScreenCast");

namespace
{
const QString REQUEST = QStringLiteral("org.freedesktop.portal.Request");
const QString RESPONSE = QStringLiteral("Response");
} // namespace

QString PortalRequest::newToken()
{
    static int count = 0;
    return QStringLiteral("yestermark%1").arg(++count);
}

QString PortalRequest::pathFor(const QDBusConnection &bus, const QString &kind,
                               const QString &token)
{
    // As the portal writes a caller's unique name.
    const QString caller = bus.baseService().mid(1).replace(QLatin1Char('.'), QLatin1Char('_'));
    return QStringLiteral("%1/%2/%3/%4").arg(PATH, kind, caller, token);
}

PortalRequest::PortalRequest(const QDBusConnection &bus, const QString &method,
                             QVariantList arguments, QVariantMap options)
    : m_bus(bus)
{
    const QString token = newToken();
    m_path = pathFor(bus, QStringLiteral("request"), token);
    // Before the call: the answer may come together with the call's own reply.
    m_bus.connect(SERVICE, m_path, REQUEST, RESPONSE, this, SLOT(onResponse(uint, QVariantMap)));
    options.insert(QStringLiteral("handle_token"), token);
    QDBusMessage question = QDBusMessage::createMethodCall(SERVICE, PATH, SCREEN_CAST, method);
    arguments.append(options);
    question.setArguments(arguments);
    auto *reply = new QDBusPendingCallWatcher(m_bus.asyncCall(question), this);
    connect(reply, &QDBusPendingCallWatcher::finished, this, [this](QDBusPendingCallWatcher *call) {
        const QDBusPendingReply<QDBusObjectPath> path = *call;
        call->deleteLater();
        if (m_answered) {
            return;
        }
        if (path.isError()) {
            m_answered = true;
            Q_EMIT failed(path.error());
        }
    });
}

PortalRequest::~PortalRequest()
{
    if (!m_answered) {
        m_bus.call(
            QDBusMessage::createMethodCall(SERVICE, m_path, REQUEST, QStringLiteral("Close")),
            QDBus::NoBlock);
    }
    m_bus.disconnect(SERVICE, m_path, REQUEST, RESPONSE, this, SLOT(onResponse(uint, QVariantMap)));
}

void PortalRequest::onResponse(uint response, const QVariantMap &results)
{
    if (!m_answered) {
        m_answered = true;
        Q_EMIT answered(response, results);
    }
}
