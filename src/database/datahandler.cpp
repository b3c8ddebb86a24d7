#include "database/datahandler.h"

#include "capture/screenhistorytracker.h"
#include "database/databasemanager.h"
#include "database/dataencryptor.h"

#include <QDateTime>
#include <QDebug>
#include <QDir>
#include <QRegularExpression>

#include <algorithm>

namespace
{
constexpr double GB_PER_MIB = 0.0009765625;

enum class End { First, Last };

// By name, from that end.
QFileInfoList foldersIn(const QString &path, End end)
{
    QFileInfoList folders = QDir(path).entryInfoList(QDir::Dirs | QDir::NoDotAndDotDot);
    if (end == End::Last) {
        std::reverse(folders.begin(), folders.end());
    }
    return folders;
}

// The day that is not empty and next to that end; what lies between costs nothing.
QString dayAt(const QString &root, End end)
{
    for (const QFileInfo &month : foldersIn(root, end)) {
        for (const QFileInfo &day : foldersIn(month.absoluteFilePath(), end)) {
            if (!QDir(day.absoluteFilePath()).isEmpty()) {
                return day.completeBaseName();
            }
        }
    }
    return {};
}
} // namespace

DataHandler::DataHandler(ScreenHistoryTracker &tracker, QObject *parent)
    : QObject(parent)
    , m_tracker(&tracker)
    , m_databaseManager(DatabaseManager::getInstance())
    , m_encryptor(DataEncryptor::getInstance())
{
    connect(m_tracker, &ScreenHistoryTracker::todayFrameNumberChanged, this,
            &DataHandler::todayFrameNumberChanged);
    connect(m_tracker, &ScreenHistoryTracker::activeAppChanged, this,
            &DataHandler::activeAppChanged);
    connect(m_tracker, &ScreenHistoryTracker::requestCheckStorage, this,
            &DataHandler::adjustYestermarkStorage);
}

QVector<ScreenShotData> DataHandler::getOcrScreenShotData(const SearchQuery &query,
                                                          RowTexts texts) const
{
    return m_databaseManager->getOcrScreenShotData(query, texts);
}

QVector<ScreenShotData> DataHandler::getVisualScreenShotData(const SearchQuery &query,
                                                             RowTexts texts) const
{
    return m_databaseManager->getVisualScreenShotData(query, texts);
}

QImage DataHandler::getScreenShotImageFromVideo(const QString &videoName,
                                                unsigned int frameIndexOfVideo)
{
    if (frameIndexOfVideo == 0) {
        qWarning() << "frameIndexOfVideo has to be greater than 0";
        return {};
    }
    return m_tracker->getImageFromVideoFile(videoName, frameIndexOfVideo);
}

ScreenShotImage DataHandler::getScreenShotImageOfDay(const QString &day,
                                                     unsigned int frameIndexOfDay)
{
    if (!isValidDayFormat(day)) {
        return {};
    }
    const ScreenShotData record = m_databaseManager->getScreenShotDataOfDay(day, frameIndexOfDay);
    const bool isThere = record.frameIndexOfVideo != 0; // the tracker's cache answers to 0 as well
    return {record.realTime, record.desktopFilePath,
            isThere ? m_tracker->getImageFromVideoFile(record.videoName, record.frameIndexOfVideo)
                    : QImage()};
}

QList<ActiveAppInfo> DataHandler::getAppListOfDay(const QString &day)
{
    return isValidDayFormat(day) ? m_databaseManager->getAppListOfDay(day) : QList<ActiveAppInfo>();
}

QString DataHandler::screenshotsRoot() const
{
    return m_encryptor->storeRoot() + QLatin1String("/screenshots");
}

QStringList DataHandler::getFirstAndLastDay()
{
    const QString root = screenshotsRoot();
    if (!QDir(root).exists()) {
        qWarning() << root << "not exist !";
        return {QString(), QString()};
    }
    return {dayAt(root, End::First), dayAt(root, End::Last)};
}

bool DataHandler::isValidDayFormat(const QString &day)
{
    static const QRegularExpression format(QStringLiteral("\\d{4}-\\d{2}-\\d{2}"));
    const QRegularExpressionMatch match = format.match(day);
    return match.hasMatch() && match.capturedLength() == day.length();
}

bool DataHandler::deleteDataAtDate(const QString &day)
{
    if (!isValidDayFormat(day)) {
        qWarning() << "Invalid date format:" << day;
        return false;
    }
    // Files first: what a kill in between leaves are rows, and deleting the day, or a range that
    // covers it, ends them. The ceiling does not: it looks for files.
    m_tracker->deleteDataAtDate(day);
    m_databaseManager->deleteDataAtDate(day);
    return true;
}

bool DataHandler::deleteUserData(TimeRange range)
{
    // One moment for both: removing the files takes seconds, and the range ends before them.
    const QDateTime now = QDateTime::currentDateTime();
    return m_tracker->deleteScreenShotData(range, now) &&
           m_databaseManager->deleteUserData(range, now);
}

bool DataHandler::backInTimeDetected()
{
    const QDateTime last =
        QDateTime::fromSecsSinceEpoch(m_databaseManager->getLastScreenshotRealTime());
    if (last.secsTo(QDateTime::currentDateTime()) < 0) {
        qWarning() << "back in time detected";
        return true;
    }
    return false;
}

void DataHandler::setScreenshotStorageSize(qulonglong size)
{
    qDebug() << "Yestermark storage size changed:" << size;
    m_storageLimit = size;
    adjustYestermarkStorage();
}

bool DataHandler::isStorageOverLimit() const
{
    const quint64 mebibytes = m_tracker->getScreenshotsStorageSize() >> 20;
    const double gigabytes = static_cast<double>(mebibytes) * GB_PER_MIB;
    qDebug() << "Yestermark storage: " << gigabytes << "GB"
             << "Yestermark storage limit: " << m_storageLimit << "GB";
    return gigabytes > static_cast<double>(m_storageLimit);
}

bool DataHandler::freeSomeSpace()
{
    const QString oldest = getFirstAndLastDay().first();
    if (oldest.isEmpty()) {
        qWarning() << "No data to delete";
        return false;
    }
    return deleteDataAtDate(oldest);
}

void DataHandler::adjustYestermarkStorage()
{
    while (isStorageOverLimit()) {
        if (!freeSomeSpace()) {
            return;
        }
    }
}
