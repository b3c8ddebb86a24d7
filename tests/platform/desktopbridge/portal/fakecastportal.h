#pragma once
// A desktop portal that casts screens, answers, forgets, refuses and dies as the test orders. It
// lives on a bus connection of its own; test thread only.

#include "pipewire/pipewiredaemon.h"
#include "privatebus.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusVirtualObject>
#include <QRect>
#include <QVariantMap>

class FakeCastPortal : public QDBusVirtualObject
{
    Q_OBJECT

public:
    enum class User { SaysYes, SaysNo, IsAway };

    struct Stream {
        quint32 node = 0;
        QRect logical; ///< not told if it is empty
    };

    /// Hands out connections to @p daemon, which must outlive this object.
    FakeCastPortal(const PrivateBus &bus, const PipeWireDaemon &daemon);
    ~FakeCastPortal() override;

    void appear();
    void die();

    /// Ends every session and says so, as when the user takes the permission back.
    void closeSessions();

    /// The user answers the question that is open.
    void answer(User user);

    QVector<Stream> m_streams;
    User m_user = User::SaysYes;
    bool m_givesTokens = true;
    bool m_fails = false;       ///< its requests end without an answer of the user
    bool m_castsScreens = true; ///< else it knows no such interface

    int m_failures = 0;
    int m_questions = 0;     ///< the user has been asked
    int m_starts = 0;        ///< of casts, asked or not
    QVariantMap m_sources;   ///< options of the latest selection
    QStringList m_sessions;  ///< paths of those that are open
    QStringList m_takenBack; ///< paths of requests that the caller closed
    QString m_token;         ///< the one that spares the question

    QString introspect(const QString &path) const override;
    bool handleMessage(const QDBusMessage &message, const QDBusConnection &connection) override;

private:
    void respond(const QString &request, uint response, const QVariantMap &results = {});
    void start(const QString &request);
    void grant(const QString &request);
    void openRemote(const QDBusMessage &call);

    const PipeWireDaemon &m_daemon;
    QDBusConnection m_bus;
    QString m_openQuestion; // path of the request
};
