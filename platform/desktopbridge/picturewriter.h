#pragma once
// Writes pictures into pipes, each on a thread of its own, so that neither the bus nor another
// reader waits for a slow one. Owned by DesktopBridge; called on the main thread.

#include "desktopbridge/filedescriptor.h"
#include "desktopbridge/picture.h"

#include <QtGlobal>

#include <array>
#include <atomic>
#include <thread>

class PictureWriter
{
public:
    /// At most so many pictures are under way; each may hold 8 MB (1080p) to 33 MB (4K).
    static constexpr int MOST_PICTURES = 3;

    /// @p patience: after so many milliseconds in which a reader took nothing, its pipe is closed.
    explicit PictureWriter(int patience = 5000);

    /// Gives up what is under way and waits for the threads, which takes no time.
    ~PictureWriter();
    Q_DISABLE_COPY(PictureWriter)

    bool hasRoom() const { return underWay() < MOST_PICTURES; }
    int underWay() const;

    /// Starts to write header and pixels to @p pipe, which becomes non-blocking and, as far as the
    /// system allows, 1 MiB large; closes it at the end. Without room it is closed at once.
    void write(FileDescriptor pipe, const PicturePtr &picture);

private:
    struct Place {
        std::thread thread;
        std::atomic_bool busy{false}; // cleared by the thread
    };

    int m_patience;
    FileDescriptor m_stop; // an event counter; readable once this object goes
    std::array<Place, MOST_PICTURES> m_places;
};
