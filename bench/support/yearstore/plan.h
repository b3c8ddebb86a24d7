#pragma once
// Which frames a year has: days, videos, times and applications, before any text or file exists.
// Plain values. Any thread.

#include "support/yearstore.h"

#include <QByteArray>
#include <QVector>

#include <vector>

namespace YearStore
{
struct PlannedVideo {
    QString name; ///< "yyyy-MM-dd_hh-mm-ss.mp4"
    int frames = 0;
};

struct PlannedFrame {
    qint64 time = 0; ///< seconds since the epoch
    int video = 0;   ///< its place in Plan::videos
    int indexOfVideo = 0;
    int indexOfDay = 0;
    int application = 0; ///< its place in applications()
    bool startsRun = false;
    bool hasRareWord = false;
    bool hasRareChineseWord = false;
};

struct Plan {
    QVector<PlannedVideo> videos;
    std::vector<PlannedFrame> frames; ///< in order of time
};

Plan plan(const Options &options);

/// Desktop entries.
const QVector<QByteArray> &applications();

/// "yyyy-MM" and "yyyy-MM-dd" of a video's name.
inline QString monthOf(const PlannedVideo &video)
{
    return video.name.left(7);
}
inline QString dayOf(const PlannedVideo &video)
{
    return video.name.left(10);
}
} // namespace YearStore
