#pragma once
// One screen cast session with the desktop portal: every monitor that the user lets us see, without
// the pointer. From the first question to PipeWire's descriptor each step waits for the portal by
// signal only. Owned by PortalCast, a new one for each attempt; main thread.

#include "desktopbridge/portal/caststream.h"
#include "desktopbridge/portal/portalrequest.h"

#include <QDBusObjectPath>
#include <QDBusUnixFileDescriptor>

#include <memory>

class CastSession : public QObject
{
    Q_OBJECT

public:
    enum class Failure {
        Refused, ///< by the user
        Absent,  ///< no portal that casts screens
        Broken   ///< anything else
    };

    explicit CastSession(const QDBusConnection &bus);

    /// Ends the session, or takes the question back.
    ~CastSession() override;

    /// Asks for the screens. @p restoreToken may spare the user the question; it may be empty.
    void open(const QString &restoreToken);

    const QVector<CastStream> &streams() const { return m_streams; }

    /// Of PipeWire, once opened.
    const QDBusUnixFileDescriptor &connection() const { return m_connection; }

Q_SIGNALS:
    // After any of them the receiver deletes this object from the event loop, if at all.
    void granted(const QString &restoreToken); ///< the next one; empty if the portal gives none
    void opened();
    void failed(CastSession::Failure failure, const QString &text); ///< text for a log
    void closed(); ///< by the desktop, after it was opened or while it was asked for

private Q_SLOTS:
    void onClosed();

private:
    using Step = void (CastSession::*)(const QVariantMap &results);

    void ask(const QString &method, const QVariantList &arguments, const QVariantMap &options,
             Step next);
    void fail(const QDBusError &error);
    void selectSources(const QVariantMap &results);
    void start(const QVariantMap &results);
    void readStreams(const QVariantMap &results);
    void openRemote();

    QDBusConnection m_bus;
    QString m_restoreToken;
    QDBusObjectPath m_path; // of the session; empty until asked for
    std::unique_ptr<PortalRequest> m_request;
    QVector<CastStream> m_streams;
    QDBusUnixFileDescriptor m_connection;
};
