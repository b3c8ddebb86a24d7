#pragma once
// Tells when the screen differs enough from the picture last handed out. Owned by DesktopBridge;
// main thread. Without damage and below the threshold no timer runs and nothing is fetched; above
// it, where nobody takes a picture, the timer soon runs seldom.

#include "desktopbridge/screenbackend.h"
#include "desktopbridge/tilemap.h"

#include <QElapsedTimer>
#include <QTimer>

class ContentWatch : public QObject
{
    Q_OBJECT

public:
    /// @p backend must outlive this object. Signals, and comparisons while a video plays, come at
    /// most once in @p interval milliseconds.
    explicit ContentWatch(ScreenBackend &backend, int interval = 1000);

    /// Watches for rates from @p threshold on, or changes the threshold. False if the backend
    /// cannot watch.
    bool watch(double threshold);
    void unwatch();

    /// Fetches @p area to hand it out: from now on it is what the screen is compared with. Null on
    /// failure; the comparison then goes on with the former picture.
    PicturePtr takePicture(const QRect &area);

Q_SIGNALS:
    /// Sent while the rate is at or above the threshold, at most once an interval, until a picture
    /// is taken; whether or not further damage comes. Without damage, the pauses between signals
    /// that nobody answers by taking a picture grow from the eleventh on, to 30 intervals.
    void changed(double rate);

private:
    void onDamaged();
    void onLayoutChanged();
    void step();
    QVector<QRect> takeAreasToCompare();
    void compare();
    void schedule();
    int pause() const;
    bool aboveThreshold() const;

    ScreenBackend &m_backend;
    int m_interval;
    TileMap m_tiles;
    std::optional<double> m_threshold; // none: not watching
    bool m_pending = false;            // something was drawn and not yet compared
    bool m_everything = false;         // the damage is unknown: compare the whole picture
    int m_unanswered = 0;              // signals since somebody asked or anything was drawn
    QTimer m_timer;                    // the next step, if one is needed
    QElapsedTimer m_sinceStep;
};
