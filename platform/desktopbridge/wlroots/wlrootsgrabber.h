#pragma once
// Pixels of the outputs by wlr-screencopy. Owned by WlrootsBackend; called on the main thread.
// Pictures may outlive it and be freed on any thread.

#include "desktopbridge/picture.h"
#include "desktopbridge/wayland/waylandoutputs.h"
#include "desktopbridge/wayland/waylandqueue.h"
#include "desktopbridge/wlroots/framepixels.h"
#include "desktopbridge/wlroots/screencopyframe.h"

#include <QHash>
#include <QSet>

#include <atomic>
#include <vector>

class WlrootsGrabber
{
public:
    /// @p outputs must outlive this object.
    WlrootsGrabber(const std::shared_ptr<WaylandConnection> &connection,
                   const WaylandOutputs &outputs);

    /// The pixels of @p area now, without the mouse pointer; the compositor gives them with its
    /// next frame, up to 17 ms later at 60 Hz. What no output shows is black. Null if an output
    /// gives no picture, such as one that is off, or if nothing comes within two seconds.
    PicturePtr fetch(const QRect &area);

    /// From now on parts are fetched anew: see fetchPart().
    void forgetKept();

    /// True if the last picture of the output showed all of it and just these pixels. Whoever was
    /// given that picture has nothing new to see.
    bool lastWas(const WaylandOutput &output, const FramePixels &pixels) const;

private:
    struct Buffer {
        std::unique_ptr<SharedBuffer> shared;
        std::shared_ptr<std::atomic_bool> isHeld; // by a picture, on whatever thread
    };

    // What was copied, and which part of the virtual screen it shows.
    struct Shot {
        std::shared_ptr<Buffer> buffer;
        FramePixels pixels;
        QRect area;
    };

    PicturePtr fetchPart(const WaylandOutput &output, const QRect &area);
    PicturePtr fetchComposed(const QRect &area);
    static std::shared_ptr<const quint32> pixelsOf(const Buffer &buffer);
    bool capture(const WaylandOutput &output, const QRect &area, Shot &shot);
    zwlr_screencopy_frame_v1 *ask(const WaylandOutput &output, const QRect &area, QRect &asked);
    std::shared_ptr<Buffer> bufferFor(const ScreencopyFrame &frame, bool isWhole);
    void tellOnce(const WaylandOutput &output, bool hasPicture);

    std::shared_ptr<WaylandConnection> m_connection;
    const WaylandOutputs &m_outputs;
    WaylandQueue m_queue;
    WaylandPtr<wl_shm> m_shm;
    ScreencopyManagerPtr m_manager;
    WaylandWrapperPtr<zwlr_screencopy_manager_v1> m_ownManager; // its frames come to m_queue
    std::vector<std::shared_ptr<Buffer>> m_buffers;             // used again once nobody holds them
    std::vector<Shot> m_kept;                                   // whole outputs, for further parts
    bool m_fetchedPart = false;
    QHash<quint32, PicturePtr> m_last; // of whole outputs, by their global
    QSet<quint32> m_dark;              // outputs without a picture, by their global
};
