// The pictures that were cut last, each with a thumbnail, by which the lossy copy of a picture that
// comes for its embedding is recognised.
// Owner and thread: the worker.

#pragma once

#include "coreai/reading/framereader.h"

#include <deque>
#include <memory>

namespace coreai
{
class RecentFrames
{
public:
    static constexpr std::size_t most = 8;

    // Mean difference in grey levels up to which two thumbnails show the same screen. JPEG at
    // quality 75 makes 0.1 to 0.6 of it, a changed line of text 0.2 and more, another page 5.
    static constexpr double mostDifference = 2.0;

    // 64x36 cells of mean grey; empty for an empty picture.
    static cv::Mat thumbnailOf(const cv::Mat &picture);

    void add(const cv::Size &size, const cv::Mat &thumbnail, std::shared_ptr<FrameReader> frame);

    // The most alike of the same size, of equals the newest; null where none is alike.
    std::shared_ptr<FrameReader> find(const cv::Size &size, const cv::Mat &thumbnail) const;

    void clear() { m_frames.clear(); }

private:
    struct Frame {
        cv::Size size;
        cv::Mat thumbnail;
        std::shared_ptr<FrameReader> frame;
    };
    std::deque<Frame> m_frames; // newest first
};
} // namespace coreai
