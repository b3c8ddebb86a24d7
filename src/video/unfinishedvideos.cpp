#include "video/unfinishedvideos.h"

#include <algorithm>
#include <utility>

void UnfinishedVideos::begin(const QString &videoFile)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    ++m_videos[videoFile].ways;
}

std::optional<unsigned int> UnfinishedVideos::limitOf(const QString &videoFile) const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_videos.value(videoFile).limit;
}

bool UnfinishedVideos::limit(const QString &videoFile, unsigned int frames)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    const auto video = m_videos.find(videoFile);
    if (video == m_videos.end()) {
        return false;
    }
    video->limit = std::min(frames, video->limit.value_or(frames));
    return true;
}

void UnfinishedVideos::eraseBelow(const QString &directory)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    for (auto video = m_videos.begin(); video != m_videos.end(); ++video) {
        if (video.key().startsWith(directory + QLatin1Char('/'))) {
            video->limit = 0;
        }
    }
}

std::optional<unsigned int> UnfinishedVideos::end(const QString &videoFile)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    const auto video = m_videos.find(videoFile);
    if (video == m_videos.end()) {
        return {};
    }
    std::optional<unsigned int> limit = std::exchange(video->limit, std::nullopt);
    if (!limit && --video->ways == 0) {
        m_videos.erase(video);
    }
    return limit;
}
