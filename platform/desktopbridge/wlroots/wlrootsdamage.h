#pragma once
// What was drawn on the outputs since the last look, by frames that the compositor fills only once
// something differs. Owned by WlrootsBackend; main thread. A screen that stays as it is costs
// nothing; one that changes all the time one copy for each look.

#include "desktopbridge/wayland/waylandoutputs.h"
#include "desktopbridge/wlroots/screencopyframe.h"

#include <QTimer>

#include <map>

class WlrootsGrabber;

class WlrootsDamage : public QObject
{
    Q_OBJECT

public:
    /// How often an output that gives no frame is asked again, in milliseconds: no event tells that
    /// it is on again.
    static constexpr int RETRY_TIME = 5000;

    /// @p outputs and @p grabber must outlive this object.
    WlrootsDamage(const std::shared_ptr<WaylandConnection> &connection,
                  const WaylandOutputs &outputs, const WlrootsGrabber &grabber,
                  int retry = RETRY_TIME);
    ~WlrootsDamage() override;

    /// False if the compositor cannot tell. At first everything counts as drawn but for what the
    /// last picture shows already.
    bool start();
    void stop();

    /// The areas drawn to, in device pixels of the virtual screen; the compositor collects what is
    /// drawn from its last report on, whether or not it is being asked.
    QVector<QRect> take();

    /// The outputs are others, or look different.
    void onOutputsChanged();

Q_SIGNALS:
    void damaged(); ///< once until the next take()

private:
    struct Watch;

    void arm(const WaylandOutput &output);
    void armAll();
    void onFrameChanged(quint32 global);
    bool differs(const Watch &watch) const;
    void noteDamage(Watch &watch);

    std::shared_ptr<WaylandConnection> m_connection;
    const WaylandOutputs &m_outputs;
    const WlrootsGrabber &m_grabber;
    WaylandPtr<wl_shm> m_shm;
    // Of its own: damage is counted from the last copy that was asked of the same manager.
    ScreencopyManagerPtr m_manager;
    std::map<quint32, std::unique_ptr<Watch>> m_watches; // by the output's global
    QVector<QRect> m_areas;
    bool m_isWatching = false;
    bool m_isTold = false;
    const int m_retryTime;
    QTimer m_retry; // for outputs that are not watched at the moment: off, or nothing is new
};
