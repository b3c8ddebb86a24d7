#include "history/numbering.h"

#include <QDateTime>
#include <QHash>

#include <algorithm>

namespace HistoryChecker
{
namespace
{
/// What the rows so far tell of a day.
struct DayState {
    int deletionsBefore = 0; ///< seen in the month's file before the day's first row
    bool wasReported = false;
    QString lastVideo;
    qint64 lastBase = 0;      ///< number in the day less number in the video, of the last video
    qint64 lastIndex = 0;     ///< of the last row's frame in that video
    qint64 firstOfSecond = 0; ///< number in the day of the first row in the last row's second
    qint64 lastTime = -1;
};

/// What the rows so far tell of a video.
struct VideoState {
    qint64 base = 0;
    uint lastIndex = 0;
    qint64 lastTime = 0;
    bool isMisnumbered = false;
    bool isBackwards = false;
};

QString dayOf(qint64 time)
{
    return QDateTime::fromSecsSinceEpoch(time).toString(QStringLiteral("yyyy-MM-dd"));
}

class NumberWalk
{
public:
    NumberWalk(const StoredFiles &files, Report &report) : m_files(files), m_report(report) {}

    void take(const StoredRow &row)
    {
        noticeDeletions(row);
        DayState &day = dayState(row);
        if (!row.videoName.isEmpty()) {
            const auto known = m_videos.find(row.videoName);
            if (known == m_videos.end()) {
                beginVideo(row, day);
            } else {
                goOn(row, *known);
            }
            day.lastIndex = row.indexOfVideo;
        }
        day.firstOfSecond = row.time == day.lastTime ? day.firstOfSecond : row.indexOfDay;
        day.lastTime = row.time;
        ++m_rowsOfDay[dayOf(row.time)];
    }

private:
    void noticeDeletions(const StoredRow &row)
    {
        if (row.month != m_month) {
            m_month = row.month;
            m_lastId = 0;
        }
        m_deletionsBefore = m_deletions;
        m_deletions += row.id == m_lastId + 1 ? 0 : 1;
        m_lastId = row.id;
    }

    DayState &dayState(const StoredRow &row)
    {
        const QString name = row.videoName.isEmpty() ? dayOf(row.time) : row.videoName.left(10);
        const auto known = m_days.find(name);
        if (known != m_days.end()) {
            return *known;
        }
        DayState state;
        state.deletionsBefore = m_deletionsBefore;
        return *m_days.insert(name, state);
    }

    static qint64 baseOf(const StoredRow &row)
    {
        return qint64{row.indexOfDay} - qint64{row.indexOfVideo};
    }

    void beginVideo(const StoredRow &row, DayState &day)
    {
        const qint64 base = baseOf(row);
        m_videos.insert(row.videoName, {base, row.indexOfVideo, row.time, false, false});
        judgeBase(row, base, day);
        day.lastVideo = row.videoName;
        day.lastBase = base;
    }

    void judgeBase(const StoredRow &row, qint64 base, DayState &day)
    {
        const qint64 counted = m_rowsOfDay.value(row.videoName.left(10));
        const qint64 least = day.lastBase + day.lastIndex;
        const qint64 most = day.lastBase + framesBetween(day.lastVideo, row.videoName);
        if (base == counted || (base >= least && base <= std::max(least, most))) {
            return;
        }
        // A row on the first second of a deletion stays, and its number is given again.
        const bool followsKeptRow = day.lastTime >= 0 && base == day.firstOfSecond - 1;
        const bool wasDeleted = m_deletions != day.deletionsBefore || followsKeptRow;
        if (!day.wasReported) {
            m_report.add({wasDeleted ? Kind::Renumbered : Kind::MisnumberedDay, row.videoName,
                          QStringLiteral("begins at %1 of the day, after %2 rows")
                              .arg(base + 1)
                              .arg(counted),
                          row.time});
        }
        day.wasReported = true;
    }

    /// How many frames the videos from @p first (empty: the day's first) to the one before @p last
    /// hold: rows of frames that could not be stored are no rows, but were counted.
    qint64 framesBetween(const QString &first, const QString &last) const
    {
        const QString begin = first.isEmpty() ? last.left(10) : first;
        qint64 frames = 0;
        for (auto video = m_files.videos.lowerBound(begin);
             video != m_files.videos.cend() && video.key() < last; ++video) {
            frames += std::max<qint64>(video->reachable, video->images.size());
        }
        return frames;
    }

    void goOn(const StoredRow &row, VideoState &video)
    {
        const bool isBehind = row.indexOfVideo < video.lastIndex;
        if (!video.isMisnumbered && (baseOf(row) != video.base || isBehind)) {
            video.isMisnumbered = true;
            m_report.add({Kind::MisnumberedVideo, row.videoName,
                          QStringLiteral("frame %1 is number %2 of the day, the first rows tell %3")
                              .arg(row.indexOfVideo)
                              .arg(row.indexOfDay)
                              .arg(video.base + row.indexOfVideo),
                          row.time});
        }
        if (!video.isBackwards && row.time < video.lastTime) {
            video.isBackwards = true;
            m_report.add({Kind::BackwardsVideo, row.videoName,
                          QStringLiteral("at frame %1").arg(row.indexOfVideo), row.time});
        }
        video.lastIndex = row.indexOfVideo;
        video.lastTime = row.time;
    }

    const StoredFiles &m_files;
    Report &m_report;
    QHash<QString, DayState> m_days;
    QHash<QString, VideoState> m_videos;
    QHash<QString, qint64> m_rowsOfDay; ///< by the day of the rows' times
    QString m_month;
    qint64 m_lastId = 0;
    int m_deletions = 0; ///< gaps in the rows' numbers so far
    int m_deletionsBefore = 0;
};
} // namespace

void checkNumbering(const StoredRows &stored, const StoredFiles &files, Report &report)
{
    NumberWalk walk(files, report);
    for (const StoredRow &row : stored.rows) {
        walk.take(row);
    }
}
} // namespace HistoryChecker
