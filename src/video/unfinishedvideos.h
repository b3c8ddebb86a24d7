#pragma once
// The videos that wait for the encoder or are being written, and what was erased of them meanwhile:
// their files are not there yet, or not whole. Owned by the composer, by value. Any thread.

#include <QHash>
#include <QString>

#include <mutex>
#include <optional>

class UnfinishedVideos
{
public:
    /// @p videoFile is on its way; as often as that it has to end.
    void begin(const QString &videoFile);

    /// How many frames of @p videoFile are still to stay, if not all.
    std::optional<unsigned int> limitOf(const QString &videoFile) const;

    /// No more than the first @p frames of @p videoFile are to stay. False, with nothing noted, if
    /// it is not on its way.
    bool limit(const QString &videoFile, unsigned int frames);

    /// Nothing is to stay of the videos below @p directory.
    void eraseBelow(const QString &directory);

    /// To be called until it gives nothing, and then that way of @p videoFile has ended. Before, it
    /// gives how many frames the file is to be cut to first.
    std::optional<unsigned int> end(const QString &videoFile);

private:
    struct Video {
        int ways = 0;
        std::optional<unsigned int> limit;
    };

    mutable std::mutex m_mutex;
    QHash<QString, Video> m_videos;
};
