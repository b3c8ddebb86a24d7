// The reading of one picture, in steps of one line: cut, looked up in the cache, and only what is
// new given to the recogniser. The lines are the same as those of a reading with an empty cache.
// Owner: the runtime's job. Thread: one at a time.

#pragma once

#include "coreai/reading/linecache.h"

#include <functional>
#include <vector>

namespace coreai
{
class FrameReader
{
public:
    // Reads one line's bitmap; nothing where the recogniser failed, which is not remembered.
    using Recognize = std::function<std::optional<LineText>(const cv::Mat &)>;

    struct Line {
        cv::Rect box;
        LineKey key;
        std::optional<LineText> text; // nothing: not read yet
        cv::Mat bitmap;               // empty once read
    };

    explicit FrameReader(LineCache &cache) : m_cache(&cache) {}

    // Cuts the picture (CV_8UC4, may be empty) and looks its lines up. What was read of it before
    // dropBitmaps() is in the cache or is read again.
    void cut(const cv::Mat &picture);

    bool isCut() const { return m_cut; }
    bool isComplete() const { return m_cut && m_unread == 0; }
    int unreadCount() const { return m_unread; }

    // The next line that is still to be read in reading order, read and remembered. A line that
    // another picture brought into the cache meanwhile is taken from there. Only where isCut() and
    // not isComplete().
    void readNext(const Recognize &recognize);

    // One certain line, which may have been read already.
    void read(std::size_t index, const Recognize &recognize);

    const std::vector<Line> &lines() const { return m_lines; }

    // Gives the memory of the unread lines back (up to some MB a picture). They cannot be read
    // until the picture is cut again; a complete frame has none.
    void dropBitmaps();

private:
    LineCache *m_cache;
    std::vector<Line> m_lines;
    std::size_t m_next = 0;
    int m_unread = 0;
    bool m_cut = false;
};
} // namespace coreai
