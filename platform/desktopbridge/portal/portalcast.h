#pragma once
// The screen cast through the desktop portal, from the question to the user until nobody wants it
// any more. Owned by PortalBackend; main thread; no call waits for the portal.
//
// The user is asked when it starts, which is when the program does. A yes is kept as a token, so
// that later starts need no question. After a no, or when the user ends the cast, nothing is asked
// until the next start. A cast that ends for any other reason (PipeWire or the portal restarted,
// screens changed, session locked) is taken up again by itself, as long as the token spares the
// question.

#include "desktopbridge/portal/castpicture.h"
#include "desktopbridge/portal/castsession.h"
#include "desktopbridge/portal/caststate.h"
#include "desktopbridge/portal/restoretoken.h"
#include "desktopbridge/portal/sessionevents.h"

#include <QDBusServiceWatcher>
#include <QElapsedTimer>
#include <QTimer>

class PortalCast : public QObject
{
    Q_OBJECT

public:
    /// @p events must outlive this object. An interrupted cast is taken up again after
    /// @p firstRetry milliseconds and, if that fails, after ever longer times, up to 120 times as
    /// long.
    PortalCast(const QDBusConnection &session, SessionEvents &events, RestoreToken token,
               int firstRetry);
    ~PortalCast() override;

    void start();
    void stop();

    CastState state() const { return m_state; }

    /// Null unless it is live.
    CastPicture *picture() const { return m_state == CastState::Live ? m_picture.get() : nullptr; }

Q_SIGNALS:
    void changed(); ///< it became live or ceased to be, or the screens changed
    void damaged();

private:
    void setState(CastState state);
    void tellChange(CastState before);

    void open();
    void dropSession();
    void onGranted(const QString &restoreToken);
    void onOpened();
    void onFailed(CastSession::Failure failure, const QString &text);
    void onClosed();
    void onPictureChanged();
    void onPortalGone();
    void onPortalThere();

    void unsettle();
    void settle();
    void settleClosed();
    void interrupt();
    void resume();
    void onLocked();
    void onUnlocked();
    void onOutputsChanged();
    bool isRecent(const QElapsedTimer &event) const;

    QDBusConnection m_bus;
    SessionEvents &m_events;
    RestoreToken m_token;
    int m_firstRetry;
    QDBusServiceWatcher m_portal;
    CastState m_state = CastState::Unasked;
    bool m_owesMessage = false; // pictures have stopped and the log does not say so
    bool m_wanted = false;
    std::unique_ptr<CastSession> m_session;
    std::unique_ptr<CastPicture> m_picture;
    bool m_answered = false;   // the user, since the start
    bool m_closed = false;     // the present session, by the desktop
    bool m_portalGone = false; // during the present session
    int m_attempts = 0;        // in a row without a picture
    QTimer m_settling;
    QTimer m_retry;
    QElapsedTimer m_sinceClosed;
    QElapsedTimer m_sinceOutputs;
};
