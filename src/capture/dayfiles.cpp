// The tracker's bookkeeping of days and video files: where frames lie, when a batch is closed and
// when the day turns.

#include "capture/screenhistorytracker.h"

#include "ai/imageutils.h"
#include "database/databasemanager.h"
#include "database/dataencryptor.h"
#include "database/daytext.h"
#include "database/screenshotdata.h"
#include "picturememory/packedpicture.h"
#include "video/videocomposer.h"

#include <QDebug>
#include <QDir>
#include <QFileInfo>
#include <QStandardPaths>

#include <algorithm>

namespace
{
QString greatestFolderName(const QDir &directory)
{
    const QStringList names = directory.entryList(QDir::Dirs | QDir::NoDotAndDotDot, QDir::NoSort);
    QString greatest;
    for (const QString &name : names) {
        if (greatest < name) {
            greatest = name;
        }
    }
    return greatest;
}
} // namespace

bool ScreenHistoryTracker::hasEncryption() const
{
    return m_dataEncryptor->isSafeDirectoryMounted();
}

QString ScreenHistoryTracker::screenshotsRoot() const
{
    if (hasEncryption()) {
        return QDir::homePath() + QLatin1String("/.vault/tavel-ai-yestermark/screenshots");
    }
    return QStandardPaths::writableLocation(QStandardPaths::GenericCacheLocation) +
           QLatin1String("/tavel-ai-yestermark/screenshots");
}

QString ScreenHistoryTracker::getScreenshotDirByDate(QDate date) const
{
    return screenshotsRoot() + QLatin1Char('/') + DayText::monthOfDate(date) + QLatin1Char('/') +
           DayText::ofDate(date);
}

QString ScreenHistoryTracker::getVideoStorageDir() const
{
    return getScreenshotDirByDate(QDate::currentDate());
}

bool ScreenHistoryTracker::updateVideoFile(const QImage &image)
{
    if (m_videoFrameNumber == m_maxFramesPerVideo) {
        Q_EMIT m_videoComposer->requestConvertImagesToVideo(m_images, m_videoFile);
        resetVideoStates();
    }
    if (shouldTurnToTomorrow()) {
        turnToNewDay();
    }
    if (m_videoFile.isEmpty()) {
        qDebug() << "创建新的视频文件";
        initNewVideoFile();
        Q_EMIT requestCheckStorage();
    }
    addToBatch(image);
    ++m_todayFrameNumber;
    Q_EMIT todayFrameNumberChanged(m_todayFrameNumber);
    ++m_videoFrameNumber;
    return true;
}

/// The newest stays as it is: it is kept for the next comparison anyway, and the pages ask for it
/// as soon as it is there.
void ScreenHistoryTracker::addToBatch(const QImage &image)
{
    const QImage before = m_images.isEmpty() ? QImage() : packedPicture(m_images.constLast());
    const std::lock_guard<std::mutex> lock(m_batchMutex);
    if (!m_images.isEmpty()) {
        m_images.last() = before;
    }
    m_images.append(image);
}

void ScreenHistoryTracker::turnToNewDay()
{
    qDebug() << "恭喜您，进入了新的一天！";
    convertRemainedImagesToVideo();
    m_todayFrameNumber = 0;
    resetVideoStates();
    m_videoStorageDir = getVideoStorageDir();
    m_today = DayText::ofDate(QDate::currentDate());
    Q_EMIT activeAppChanged(m_currentApp);
}

bool ScreenHistoryTracker::shouldTurnToTomorrow()
{
    return QDate::currentDate() > DayText::toDate(m_today);
}

bool ScreenHistoryTracker::initNewVideoFile()
{
    const QDir directory(m_videoStorageDir);
    if (!directory.exists() && !directory.mkpath(QStringLiteral("."))) {
        qDebug() << "目录创建失败：" << m_videoStorageDir;
        return false;
    }
    // The name tells the directory to whoever looks for the video. West over midnight the present
    // day is one before that of the directory, which never goes back.
    const QDateTime now = QDateTime::currentDateTime();
    const QString day = std::max(DayText::ofDate(now.date()), m_today);
    const QString name = day + now.toString(QStringLiteral("_hh-mm-ss"));
    {
        const std::lock_guard<std::mutex> lock(m_batchMutex);
        m_videoFile = m_videoStorageDir + QLatin1Char('/') + name + QLatin1String(".mp4");
    }
    qDebug() << "创建文件：" << m_videoFile;
    return true;
}

void ScreenHistoryTracker::resetVideoStates()
{
    m_videoFrameNumber = 0;
    const std::lock_guard<std::mutex> lock(m_batchMutex);
    m_videoFile.clear();
    m_images.clear(); // detaches from the encoder's copy and keeps the capacity
}

void ScreenHistoryTracker::convertRemainedImagesToVideo()
{
    if (m_images.isEmpty()) {
        return;
    }
    if (!m_videoComposer) {
        qDebug() << "convertRemainedImagesToVideo"
                 << "m_videoComposer is NULL";
        return;
    }
    Q_EMIT m_videoComposer->requestConvertImagesToVideo(m_images, m_videoFile);
}

void ScreenHistoryTracker::initTodayData()
{
    if (!m_databaseManager) {
        return;
    }
    const QList<ActiveAppInfo> apps = m_databaseManager->getAppListOfDay(m_today);
    for (const ActiveAppInfo &app : apps) {
        m_todayFrameNumber += app.frameCount;
    }
    if (!apps.isEmpty()) {
        m_currentApp = apps.last().desktopFilePath;
    }
}

void ScreenHistoryTracker::getTodayFrameNumFromDB()
{
    if (m_today.isEmpty()) {
        qWarning() << "Warning: today is empty";
    }
    m_todayFrameNumber = m_databaseManager->getFrameNumOfDay(m_today);
}

void ScreenHistoryTracker::getTodayVideoFrameNum()
{
    const QFileInfoList files = QDir(m_videoStorageDir).entryInfoList(QDir::Files, QDir::NoSort);
    for (const QFileInfo &file : files) {
        if (isValidVideoNameFormat(file.fileName()) &&
            file.suffix().toLower() == QLatin1String("mp4")) {
            m_todayFrameNumber += static_cast<uint>(
                m_videoComposer->getFrameNumberFromVideo(file.absoluteFilePath()));
        }
    }
}

QString ScreenHistoryTracker::findLatestFolder(const QString &rootPath)
{
    const QDir root(rootPath);
    if (!root.exists()) {
        qWarning() << "screenshots directory does not exist:" << rootPath;
        return {};
    }
    const QString month = greatestFolderName(root);
    if (month.isEmpty()) {
        qWarning() << "No month folders found.";
        return {};
    }
    const QDir monthDirectory(root.filePath(month));
    const QString day = greatestFolderName(monthDirectory);
    if (day.isEmpty()) {
        qWarning() << "No date folders found in the latest month.";
        return {};
    }
    return QDir(monthDirectory.filePath(day)).absolutePath();
}
