#include "coreai/runtime/recentframes.h"

#include <opencv2/imgproc.hpp>

namespace coreai
{
namespace
{
const cv::Size cells(64, 36);
}

cv::Mat RecentFrames::thumbnailOf(const cv::Mat &picture)
{
    if (picture.empty()) {
        return {};
    }
    cv::Mat small;
    cv::resize(picture, small, cells, 0, 0, cv::INTER_AREA);
    cv::Mat grey;
    cv::cvtColor(small, grey, cv::COLOR_BGRA2GRAY);
    return grey;
}

void RecentFrames::add(const cv::Size &size, const cv::Mat &thumbnail,
                       std::shared_ptr<FrameReader> frame)
{
    m_frames.push_front({size, thumbnail, std::move(frame)});
    if (m_frames.size() > most) {
        m_frames.pop_back();
    }
}

std::shared_ptr<FrameReader> RecentFrames::find(const cv::Size &size,
                                                const cv::Mat &thumbnail) const
{
    std::shared_ptr<FrameReader> best;
    double least = mostDifference;
    for (const Frame &frame : m_frames) {
        if (frame.size != size || frame.thumbnail.empty() || thumbnail.empty()) {
            continue;
        }
        const double difference =
            cv::norm(frame.thumbnail, thumbnail, cv::NORM_L1) / double(cells.area());
        if (difference < least) {
            least = difference;
            best = frame.frame;
        }
    }
    return best;
}
} // namespace coreai
