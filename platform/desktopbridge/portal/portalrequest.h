#pragma once
// One question to the desktop portal whose answer comes later, by a signal of an object made for
// it: perhaps after the user has answered a dialog. Owned by CastSession; main thread; never waits.

#include <QDBusConnection>
#include <QDBusError>
#include <QObject>
#include <QVariantMap>

class PortalRequest : public QObject
{
    Q_OBJECT

public:
    static const QString SERVICE; ///< bus name
    static const QString PATH;    ///< of the object that is asked
    static const QString SCREEN_CAST;

    /// What a portal answers.
    enum Response : uint { Granted = 0, RefusedByTheUser = 1, EndedOtherwise = 2 };

    /// Asks @p method of the interface for screens, with @p arguments and, behind them, @p options.
    PortalRequest(const QDBusConnection &bus, const QString &method, QVariantList arguments,
                  QVariantMap options);

    /// Takes the question back if it has not been answered, so that a dialog goes.
    ~PortalRequest() override;

    /// A word that no other request or session of this connection has used.
    static QString newToken();

    /// Path of the object of @p kind, "request" or "session", that the portal makes for @p token.
    static QString pathFor(const QDBusConnection &bus, const QString &kind, const QString &token);

Q_SIGNALS:
    void answered(uint response, const QVariantMap &results);
    void failed(const QDBusError &error); ///< the question could not be asked

private Q_SLOTS:
    void onResponse(uint response, const QVariantMap &results);

private:
    QDBusConnection m_bus;
    QString m_path;
    bool m_answered = false;
};
