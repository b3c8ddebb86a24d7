#include "database/databasemanager.h"

#include "database/daytext.h"
#include "database/timerange.h"

#include <QDebug>

#include <utility>

namespace
{
// An invalid date, with a warning, for a text that is no day of the calendar.
QDate validDate(const QString &day)
{
    const QDate date = DayText::toDate(day);
    if (!date.isValid()) {
        qWarning() << "Invalid date string:" << day;
    }
    return date;
}
} // namespace

DatabaseManager *DatabaseManager::getInstance()
{
    static DatabaseManager instance;
    return &instance;
}

bool DatabaseManager::saveScreenShotData(ScreenShotData data)
{
    return m_ocrDatabase.saveScreenshotData(std::move(data));
}

bool DatabaseManager::updateScreenshotOCRText(ScreenShotData data)
{
    return m_ocrDatabase.updateScreenshotOCRText(std::move(data));
}

bool DatabaseManager::saveScreenShotEmbedding(QVector<float> embedding, ScreenShotData data)
{
    return m_embeddingDatabase.saveScreenShotEmbedding(std::move(embedding), std::move(data));
}

bool DatabaseManager::deleteDatabase(long start, long end)
{
    if (!m_ocrDatabase.deleteOcrDatabase(start, end)) {
        qWarning() << "Delete ocr database failed";
        return false;
    }
    if (!m_embeddingDatabase.deleteVectorDatabase(start, end)) {
        qWarning() << "Delete vector database failed";
        return false;
    }
    return true;
}

bool DatabaseManager::deleteUserData(TimeRange range, const QDateTime &now)
{
    const qint64 start = startOfRange(range, now);
    return start >= 0 && deleteDatabase(start, now.toSecsSinceEpoch());
}

QVector<ScreenShotData> DatabaseManager::getOcrScreenShotData(const SearchQuery &query,
                                                              RowTexts texts) const
{
    return m_ocrDatabase.getOcrScreenshotData(query, texts);
}

QVector<ScreenShotData> DatabaseManager::getVisualScreenShotData(const SearchQuery &query,
                                                                 RowTexts texts) const
{
    return m_ocrDatabase.getScreenShotDataOfVideos(
        m_embeddingDatabase.getVisualScreenShotData(query), texts);
}

void DatabaseManager::deleteDataAtDate(const QString &day)
{
    const QDate date = validDate(day);
    if (date.isValid()) {
        const DayText::Bounds bounds = DayText::boundsOfDay(date);
        deleteDatabase(bounds.start, bounds.end);
    }
}

ScreenShotData DatabaseManager::getScreenShotDataOfDay(const QString &day,
                                                       uint frameIndexOfDay) const
{
    return validDate(day).isValid() ? m_ocrDatabase.getScreenShotDataOfDay(day, frameIndexOfDay)
                                    : ScreenShotData();
}

QList<ActiveAppInfo> DatabaseManager::getAppListOfDay(const QString &day)
{
    return validDate(day).isValid() ? m_ocrDatabase.getAppListOfDay(day) : QList<ActiveAppInfo>();
}

uint DatabaseManager::getFrameNumOfDay(const QString &day)
{
    return validDate(day).isValid() ? m_ocrDatabase.getFrameNumOfDay(day) : 0;
}

long DatabaseManager::getLastScreenshotRealTime()
{
    return m_ocrDatabase.getLastScreenshotRealTime();
}
