#pragma once
// What KWin draws, by a stream of each output that tells the areas drawn to. Owned by KwinBackend;
// main thread. On a still screen nothing comes, so nothing wakes up. KWin is asked for two pictures
// a second at most, however often it draws.
//
// The streams need PipeWire, and KWin 5.27 without a screen (--virtual) opens them and puts no
// picture into them. While one is missing or silent every output counts as drawn to every few
// seconds, so that nothing is overlooked; that is when a missing one is tried anew.

#include "desktopbridge/pipewire/pipewirestream.h"
#include "desktopbridge/wayland/waylandoutputs.h"

#include <QTimer>

#include <zkde-screencast-unstable-v1-client-protocol.h>

struct ScreencastDelete {
    void operator()(zkde_screencast_unstable_v1 *screencast) const
    {
        zkde_screencast_unstable_v1_destroy(screencast);
    }
    void operator()(zkde_screencast_stream_unstable_v1 *stream) const
    {
        zkde_screencast_stream_unstable_v1_close(stream);
    }
};

class KwinScreencast : public QObject
{
    Q_OBJECT

public:
    static constexpr int RETRY_MS = 5000;

    /// @p outputs must outlive this object. @p retry: milliseconds after which a missing stream is
    /// tried again.
    KwinScreencast(std::shared_ptr<WaylandConnection> connection, const WaylandOutputs &outputs,
                   int retry = RETRY_MS);
    ~KwinScreencast() override;

    /// False if KWin does not let this process record.
    bool isOffered() const { return m_screencast != nullptr; }

    void start();
    void stop();

    /// True while there is a picture of every output.
    bool isLive() const;

    /// The areas of the virtual screen drawn to since the last call.
    QVector<QRect> takeDamage();

    /// Copies the newest picture of the output @p global, as Picture describes. @p area lies in the
    /// output; @p targetWidth is the distance of rows in pixels. False without such a picture.
    bool copy(quint32 global, const QRect &area, quint32 *target, int targetWidth) const;

Q_SIGNALS:
    void damaged();

    /// A stream begins with the next thing that KWin draws, which on a still screen may be never.
    /// Sent until pictures come; @p place is on the output in question, in KWin's own units.
    void drawingNeeded(const QPoint &place);

private:
    struct Cast;
    struct Events;

    void restart();
    void open(const WaylandOutput &output);
    void onNode(Cast &cast, quint32 node);
    void onLiveChanged();
    void giveUpLater(const QString &reason);
    void noteProblem(const QString &reason);
    void tryAgain();
    void askForDrawing();
    void close();

    std::shared_ptr<WaylandConnection> m_connection;
    const WaylandOutputs &m_outputs;
    std::unique_ptr<zkde_screencast_unstable_v1, ScreencastDelete> m_screencast;
    std::unique_ptr<PipeWireRemote> m_remote;
    std::vector<std::unique_ptr<Cast>> m_casts; // before the remote they are read from
    bool m_started = false;
    bool m_isBroken = false; // to be opened anew; else only silent
    bool m_unseen = false;   // something may have been drawn that no stream has told
    QString m_problem;       // the one that was logged; empty while all is well
    QTimer m_retry;          // runs while a stream is missing
    QTimer m_asking;         // runs while a stream may lack nothing but something drawn
};
