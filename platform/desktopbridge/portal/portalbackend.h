#pragma once
// The screens that the user lets us see through the desktop portal: GNOME's Wayland session and
// any other desktop with one. Owned by DesktopBridge; main thread; no call waits for the portal.
//
// The user is asked when watching starts, which is when the program does. A yes is kept as a token,
// so that later starts need no question. After a no, or when the user ends the cast, nothing is
// asked until watching starts the next time. A cast that ends for any other reason (PipeWire or the
// portal restarted, screens changed, session locked) is taken up again by itself, as long as the
// token spares the question. While nothing is watched there is no cast.

#include "desktopbridge/portal/accessibleactivewindow.h"
#include "desktopbridge/portal/castpicture.h"
#include "desktopbridge/portal/castsession.h"
#include "desktopbridge/portal/restoretoken.h"
#include "desktopbridge/portal/sessionevents.h"
#include "desktopbridge/screenbackend.h"

#include <QDBusServiceWatcher>
#include <QElapsedTimer>
#include <QTimer>

class PortalBackend : public ScreenBackend
{
    Q_OBJECT

public:
    /// Null, with the reason in @p problem, if there is no Wayland session or no portal.
    static std::unique_ptr<PortalBackend> connectToSession(QString &problem);

    /// @p outputs may be null. An interrupted cast is taken up again after @p firstRetry
    /// milliseconds and, if that fails, after ever longer times, up to 120 times as long.
    PortalBackend(const QDBusConnection &session, const QDBusConnection &system,
                  std::unique_ptr<WaylandOutputs> outputs, RestoreToken token = RestoreToken(),
                  int firstRetry = 500);
    ~PortalBackend() override;

    QString problem() const override;
    QVector<QRect> screens() override;
    QRect virtualScreen() override;
    int tileEdge() override;
    PicturePtr fetch(const QRect &area) override;
    bool startWatching() override;
    void stopWatching() override;
    QVector<QRect> takeDamage() override;
    std::optional<quint32> activeWindowPid() override;

private:
    enum class State {
        Unasked,     ///< nothing is watched
        Asked,       ///< the portal, or by it the user, has not answered
        Expected,    ///< allowed, but there was no picture yet
        Live,        ///< the only one in which there are pictures
        Unsettled,   ///< the pictures stopped; why is seen in a moment
        Paused,      ///< by the compositor, which may go on
        Interrupted, ///< is taken up again in a while
        Locked,      ///< is taken up again when the session is unlocked
        Refused,     ///< these need the user, or a portal
        Revoked,
        NeedsUser,
        Absent,
        Broken
    };
    struct Words;

    void setState(State state);
    void tellChange(State before);
    static bool isFinal(State state) { return state >= State::Refused; }

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
    RestoreToken m_token;
    SessionEvents m_events;
    AccessibleActiveWindow m_activeWindow;
    int m_firstRetry;
    QDBusServiceWatcher m_portal;
    State m_state = State::Unasked;
    bool m_owesMessage = false; // pictures have stopped and the log does not say so
    bool m_watching = false;
    std::unique_ptr<CastSession> m_session;
    std::unique_ptr<CastPicture> m_picture;
    bool m_answered = false;   // the user, since watching started
    bool m_closed = false;     // the present session, by the desktop
    bool m_portalGone = false; // during the present session
    int m_attempts = 0;        // in a row without a picture
    QTimer m_settling;
    QTimer m_retry;
    QElapsedTimer m_sinceClosed;
    QElapsedTimer m_sinceOutputs;
};
