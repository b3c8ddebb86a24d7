// The tracker's hold on what is stored: removing frames from disk, measuring what they occupy, and
// reading one of them back.

#include "capture/screenhistorytracker.h"

#include "database/databasemanager.h"
#include "database/daytext.h"
#include "database/screenshotdata.h"
#include "database/timerange.h"
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

bool ScreenHistoryTracker::deleteScreenShotData(TimeRange range, const QDateTime &now)
{
    const qint64 start = startOfRange(range, now);
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
    forgetOpenedVideo();
    convertImagesBefore(records);
    resetVideoStates();
    // The range ends now, so the frames of today have all gone where it began before today.
    const bool beganToday = QDateTime::fromSecsSinceEpoch(start).date() == QDate::currentDate();
    m_todayFrameNumber = beganToday ? first.frameIndexOfDay - 1 : 0;
    return true;
}

// Of an open batch in which the range begins: what is older would exist as PNG files alone, which
// nobody can read, until a start at which that day is the newest.
void ScreenHistoryTracker::convertImagesBefore(const QVector<ScreenShotData> &erased)
{
    const QString video = m_videoFile.section(QLatin1Char('/'), -1);
    if (video.isEmpty() || erased.first().videoName != video) {
        return;
    }
    quint32 first = erased.first().frameIndexOfVideo;
    for (const ScreenShotData &record : erased) { // those of one second come in any order
        if (record.videoName == video) {
            first = std::min(first, record.frameIndexOfVideo);
        }
    }
    {
        const std::lock_guard<std::mutex> lock(m_batchMutex);
        m_images.resize(qBound(0, static_cast<int>(first) - 1, m_images.size()));
    }
    convertRemainedImagesToVideo();
}

// An open file is readable, and takes its room, after it has been removed.
void ScreenHistoryTracker::forgetOpenedVideo()
{
    const std::lock_guard<std::mutex> reading(m_readMutex);
    m_frameExtractor.clearVideoFile();
}

// The index counts from 1 and so many frames stay: the frame of the record itself stays in the
// file, as required, although nothing refers to it any more.
void ScreenHistoryTracker::shortenVideoOf(const ScreenShotData &record)
{
    qDebug() << "The first screenshot" << record.videoName << record.frameIndexOfVideo
             << record.realTime;
    QString path =
        getScreenshotDirByDate(DayText::toDate(record.date)) + QLatin1Char('/') + record.videoName;
    if (!QFile::exists(path)) { // in another time zone that second was of another day
        path = pathOfVideo(record.videoName);
    }
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
    QVector<ScreenShotData> records =
        m_databaseManager->getOcrScreenShotData(query, RowTexts::Left);
    std::sort(records.begin(), records.end(),
              [](const ScreenShotData &left, const ScreenShotData &right) {
                  return left.realTime < right.realTime;
              });
    return records;
}

void ScreenHistoryTracker::deleteAllVideos()
{
    m_videoComposer->dropUnfinishedVideos(screenshotsRoot());
    const QFileInfoList entries =
        QDir(screenshotsRoot()).entryInfoList(QDir::Dirs | QDir::NoDotAndDotDot, QDir::NoSort);
    for (const QFileInfo &entry : entries) {
        if (entry.isDir()) {
            QDir(entry.absoluteFilePath()).removeRecursively();
        }
    }
    forgetOpenedVideo();
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
        m_videoComposer->dropUnfinishedVideos(directory.path());
        directory.removeRecursively();
        forgetOpenedVideo();
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
