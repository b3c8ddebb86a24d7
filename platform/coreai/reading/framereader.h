// The reading of one picture, in steps of a line or a few: cut, looked up in the cache, and only
// what is new given to the recogniser. The lines are the same as those of a reading with an empty
// cache. Owner: the runtime's job. Thread: one at a time.

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
    // Reads several: their texts in their order. Fewer where the rest was not tried, which then
    // stays unread.
    using RecognizeAll =
        std::function<std::vector<std::optional<LineText>>(const std::vector<cv::Mat> &)>;

    // Lines are read together until they are so many times as wide as high: about 0.2 s of one
    // core, as long as a line of small print across the screen takes.
    static constexpr double mostTogether = 160;

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

    // As readNext(), but the next lines up to mostTogether, two at least where there are two. None
    // is left to be read alone after them.
    void readNextTogether(const RecognizeAll &recognize);

    // One certain line, which may have been read already.
    void read(std::size_t index, const Recognize &recognize);

    const std::vector<Line> &lines() const { return m_lines; }

    // Gives the memory of the unread lines back (up to some MB a picture). They cannot be read
    // until the picture is cut again; a complete frame has none.
    void dropBitmaps();

    // As dropBitmaps(), and also takes back that lines failed: cut again, they are asked for anew.
    void startAgain();

private:
    std::vector<std::size_t> nextTogether();
    bool takeFromCache(Line &line);
    void settle(Line &line, const std::optional<LineText> &text);

    LineCache *m_cache;
    std::vector<Line> m_lines;
    std::size_t m_next = 0;
    int m_unread = 0;
    bool m_cut = false;
};
} // namespace coreai
