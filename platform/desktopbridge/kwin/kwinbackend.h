#pragma once
// The screen of a Plasma session on Wayland. Owned by DesktopBridge; main thread. Pictures come
// from KWin's screenshot interface, changes from its streams, the active window from its window
// management; KWin serves all three to programs whose desktop file asks for them.
//
// KWin may end and be started again, which Plasma does when it crashes, or be too busy with its own
// start to answer. Until it is back there are no pictures and problem() says why; then all goes on
// by itself, on the whole screen anew.

#include "desktopbridge/kwin/kwinscreenshots.h"
#include "desktopbridge/kwin/kwinsession.h"
#include "desktopbridge/screenbackend.h"

#include <QDeadlineTimer>

class KwinBackend : public ScreenBackend
{
    Q_OBJECT

public:
    /// Null, with the reason in @p problem, if the session's compositor is no KWin or does not
    /// serve this process. Where KWin runs and does not answer yet there is a backend with a
    /// problem().
    static std::unique_ptr<KwinBackend>
    connectToSession(QString &problem, const QDBusConnection &bus = QDBusConnection::sessionBus());

    /// @p session was opened before; null to wait for KWin. @p absence: milliseconds for KWin to
    /// come back before it counts as lost.
    KwinBackend(std::unique_ptr<KwinSession> session, const QDBusConnection &bus,
                int absence = 30000);
    ~KwinBackend() override;

    QString problem() const override { return m_problem; }
    QVector<QRect> screens() override;
    QRect virtualScreen() override;
    int tileEdge() override;
    PicturePtr fetch(const QRect &area) override;
    PicturePtr fetchForComparison(const QRect &area) override;
    bool startWatching() override;
    void stopWatching() override;
    QVector<QRect> takeDamage() override;
    std::optional<quint32> activeWindowPid() override;

    /// True while changes come by streams, and not by looking every few seconds.
    bool hasStreams() const;

private:
    void adopt(std::unique_ptr<KwinSession> session);
    void onGone();
    void waitForKwin(const QString &problem);
    void tryAgain();
    bool canShow(const QRect &area);

    KwinScreenshots m_screenshots;
    int m_absence;
    QString m_problem;
    std::unique_ptr<KwinSession> m_session; // null while KWin is gone
    bool m_watching = false;
    QDeadlineTimer m_lostAfter;
    QTimer m_retry; // runs while KWin is gone
};
