// The tracker's hold on what is stored: removing frames from disk, measuring what they occupy, and
// reading one of them back.

#include "capture/screenhistorytracker.h"

#include "database/databasemanager.h"
#include "database/daytext.h"
#include "database/screenshotdata.h"
#include "picturememory/packedpicture.h"
#include "video/videocomposer.h"

#include <QDebug>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QThread>

#include <algorithm>
#include <set>

namespace
{
constexpr long SECONDS_PER_HOUR = 3600;

// Seconds since the epoch at which a range that ends now begins; -1 for a number that is no range.
long startOfRange(TimeRange range, const QDateTime &now)
{
    switch (range) {
    case LastHour:
        return now.toSecsSinceEpoch() - SECONDS_PER_HOUR;
    case LastDay:
        return now.addDays(-1).toSecsSinceEpoch();
    case LastWeek:
        return now.addDays(-7).toSecsSinceEpoch();
    case LastMonth:
        return now.addMonths(-1).toSecsSinceEpoch();
    case AllTime:
        return 0;
    }
    return -1;
}

// The videos of frames, without the one that is shortened and without frames that have none.
std::set<QString> videosOf(const QVector<ScreenShotData> &records, const QString &shortened)
{
    std::set<QString> names;
    for (const ScreenShotData &record : records) {
        if (!record.videoName.isEmpty() && record.videoName != shortened) {
            names.insert(record.videoName);
        }
    }
    return names;
}
} // namespace

bool ScreenHistoryTracker::deleteScreenShotData(TimeRange range)
{
    const QDateTime now = QDateTime::currentDateTime();
    const long start = startOfRange(range, now);
    return start >= 0 && deleteVideosWithinTime(start, now.toSecsSinceEpoch());
}

bool ScreenHistoryTracker::deleteVideosWithinTime(long start, long end)
{
    if (start == 0) {
        qDebug() << "No start time specified, deleting all videos";
        deleteAllVideos();
        return true;
    }
    const QVector<ScreenShotData> records = getScreenshotsWithinTimeInOrder(start, end);
    if (records.isEmpty()) {
        qDebug() << "No screenshots to delete";
        return true;
    }
    const ScreenShotData &first = records.first();
    shortenVideoOf(first);
    for (const QString &name : videosOf(records, first.videoName)) {
        deleteVideo(name);
    }
    deleteSafetyCopies(records);
    resetVideoStates();
    // The range ends now, so the frames of today have all gone where it began before today.
    const bool beganToday = QDateTime::fromSecsSinceEpoch(start).date() == QDate::currentDate();
    m_todayFrameNumber = beganToday ? first.frameIndexOfDay - 1 : 0;
    return true;
}

// The index counts from 1 and so many frames stay: the frame of the record itself stays in the
// file, as required, although nothing refers to it any more.
void ScreenHistoryTracker::shortenVideoOf(const ScreenShotData &record)
{
    qDebug() << "The first screenshot" << record.videoName << record.frameIndexOfVideo
             << record.realTime;
    const QString path =
        getScreenshotDirByDate(DayText::toDate(record.date)) + QLatin1Char('/') + record.videoName;
    if (!m_videoComposer->deleteFramesToEndFromVideoFile(path, record.frameIndexOfVideo)) {
        qDebug() << "Failed to delete frames from video file" << path;
    }
}

void ScreenHistoryTracker::deleteVideo(const QString &name)
{
    qDebug() << "Deleting video" << name;
    const QString path = pathOfVideo(name);
    if (!m_videoComposer->deleteFramesToEndFromVideoFile(path, 0)) {
        qDebug() << "Failed to delete" << path;
    }
}

// Frames of a batch that is not in its video yet exist as these files only. Left behind, the next
// start would bring what the user erased back as a video.
void ScreenHistoryTracker::deleteSafetyCopies(const QVector<ScreenShotData> &records)
{
    for (const ScreenShotData &record : records) {
        if (!record.videoName.isEmpty()) {
            QFile::remove(safetyCopyOf(pathOfVideo(record.videoName),
                                       static_cast<int>(record.frameIndexOfVideo)));
        }
    }
}

QString ScreenHistoryTracker::pathOfVideo(const QString &name) const
{
    return getScreenshotDirByDate(DayText::toDate(DayText::dayOfVideo(name))) + QLatin1Char('/') +
           name;
}

QVector<ScreenShotData> ScreenHistoryTracker::getScreenshotsWithinTimeInOrder(long start,
                                                                              long end) const
{
    SearchQuery query;
    query.startTime = static_cast<quint64>(start);
    query.endTime = static_cast<quint64>(end);
    query.limit = 0; // all
    QVector<ScreenShotData> records = m_databaseManager->getOcrScreenShotData(query);
    std::sort(records.begin(), records.end(),
              [](const ScreenShotData &left, const ScreenShotData &right) {
                  return left.realTime < right.realTime;
              });
    return records;
}

void ScreenHistoryTracker::deleteAllVideos()
{
    const QFileInfoList entries =
        QDir(screenshotsRoot()).entryInfoList(QDir::Dirs | QDir::NoDotAndDotDot, QDir::NoSort);
    for (const QFileInfo &entry : entries) {
        if (entry.isDir()) {
            QDir(entry.absoluteFilePath()).removeRecursively();
        }
    }
    resetVideoStates();
    m_todayFrameNumber = 0;
    m_lastCheckTime = QDateTime::currentDateTime(); // with no frame left no time is behind
    m_today = DayText::ofDate(QDate::currentDate());
    m_videoStorageDir = getVideoStorageDir();
    m_currentApp = QLatin1String("");
}

void ScreenHistoryTracker::deleteDataAtDate(const QString &date)
{
    const QDate day = DayText::toDate(date);
    qDebug() << "Deleting data at date" << date;
    QDir directory(getScreenshotDirByDate(day));
    // Without a day the path is that of all days.
    if (day.isValid() && directory.exists()) {
        directory.removeRecursively();
    } else {
        qDebug() << "Date directory does not exist:" << directory.path();
    }
}

quint64 ScreenHistoryTracker::getDirectorySize(const QString &path) const
{
    const QDir directory(path);
    if (!directory.exists()) {
        qDebug() << "Directory does not exist:" << path;
        return 0;
    }
    quint64 bytes = 0;
    const QFileInfoList entries =
        directory.entryInfoList(QDir::Dirs | QDir::Files | QDir::NoDotAndDotDot, QDir::NoSort);
    for (const QFileInfo &entry : entries) {
        bytes += entry.isDir() ? getDirectorySize(entry.absoluteFilePath())
                               : static_cast<quint64>(entry.size());
    }
    return bytes;
}

quint64 ScreenHistoryTracker::getScreenshotsStorageSize() const
{
    return getDirectorySize(screenshotsRoot());
}

QImage ScreenHistoryTracker::getImageFromVideoFile(const QString &videoName, uint frameIndex)
{
    const QString name = videoName.section(QLatin1Char('/'), -1);
    const std::lock_guard<std::mutex> reading(m_readMutex);
    if (frameIndex == m_cachedFrameIndex && name == m_cachedVideoName) {
        return m_cachedImage;
    }
    // Before the read, as required: a failed read leaves the former picture under these keys.
    m_cachedFrameIndex = frameIndex;
    m_cachedVideoName = name;
    {
        const std::lock_guard<std::mutex> lock(m_batchMutex);
        if (name == m_videoFile.section(QLatin1Char('/'), -1)) {
            return imageOfOpenBatch(frameIndex);
        }
    }
    m_frameExtractor.setAbsoluteVideoName(pathOfVideo(name));
    m_cachedImage = m_frameExtractor.requestGetFrame(static_cast<int>(frameIndex) - 1);
    if (m_cachedImage.isNull() && QThread::currentThread()->isInterruptionRequested()) {
        // No read has failed: whoever asks next is to get the picture.
        m_cachedFrameIndex = 0;
        m_cachedVideoName.clear();
    }
    return m_cachedImage;
}

QImage ScreenHistoryTracker::imageOfOpenBatch(uint frameIndex)
{
    if (frameIndex == 0 || static_cast<uint>(m_images.size()) < frameIndex) {
        qWarning() << "requested frame index is out of range";
        return {};
    }
    m_cachedImage = plainPicture(m_images.at(static_cast<int>(frameIndex) - 1));
    return m_cachedImage;
}
