#pragma once
// Memory whose pages exist only while somebody looks at them. The kernel tells of an access to a
// page that is not there (userfaultfd), the thread "pixel pages" fills in the piece around it from
// packed pixels, and pieces that were filled in earlier go again: what has gone comes back the same
// way, so a reader need not ask for anything. Owner: shared by the packed pictures of the process.
// Any thread.

#include "picturememory/packedpixels.h"

#include <deque>
#include <map>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

class PixelPages
{
public:
    /// The one that pictures use if they are given no other.
    static const std::shared_ptr<PixelPages> &ofProcess();

    /// A descriptor for accesses by this process's own code, not by the kernel on its behalf, which
    /// needs no privilege (Linux 5.11). -1 where kernel or container refuse.
    static int openFaults();

    /// @p faults is openFaults()'s, and is closed at the end; with -1 nothing can be added.
    explicit PixelPages(int faults);
    ~PixelPages();
    PixelPages(const PixelPages &) = delete;
    PixelPages &operator=(const PixelPages &) = delete;

    bool isServed() const { return m_thread.joinable(); }

    /// Where @p pixels can be read from now on, not written; null if that cannot be had.
    uchar *add(PackedPixels pixels);

    /// Whether add() gave @p begin, and it was not removed since.
    bool holds(const uchar *begin);

    /// Nobody may read from @p begin, which add() gave, any more.
    void remove(const uchar *begin);

private:
    /// What is there at a time, beside what is just being read: 8 MiB.
    static constexpr size_t mostPieces = 4;

    struct Piece {
        uchar *begin;
        size_t number;
    };

    void run();
    void serve(uchar *address);
    void makeRoom();
    void fillIn(uchar *begin, size_t bytes);

    int m_faults;
    int m_stop;
    ZstdContext m_context; ///< the thread's, as the next
    std::vector<uchar> m_unpacked;
    std::mutex m_mutex; ///< over the two below, and over what is mapped where
    std::map<uchar *, PackedPixels> m_pixels;
    std::deque<Piece> m_present; ///< oldest first
    std::thread m_thread;
};
