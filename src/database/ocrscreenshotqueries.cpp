// The reading half of OcrScreenshotDatabase but for the text search. Every read takes its
// connection from readDatabase(), so that none makes a file.

#include "database/ocrscreenshotdatabase.h"

#include "database/daytext.h"
#include "database/screenshotrow.h"
#include "database/sqlite3connection.h"
#include "database/statement.h"

#include <QDebug>
#include <QDir>

#include <algorithm>

#include <sqlite3.h>

namespace
{
constexpr char FRAME_OF_VIDEO[] = "SELECT * FROM screenshots WHERE real_time >= ? AND real_time <= "
                                  "? AND video_name = ? AND frame_index_of_video = ?";
constexpr char FRAME_OF_DAY[] = "SELECT * FROM screenshots WHERE frame_index_of_day = ? AND "
                                "real_time >= ? AND real_time <= ?";
constexpr char APPS_OF_DAY[] =
    "SELECT desktop_file_path FROM screenshots WHERE real_time >= ? AND real_time <= ?";
constexpr char FRAMES_OF_DAY[] = "SELECT frame_index_of_day FROM screenshots WHERE real_time >= ? "
                                 "AND real_time <= ? ORDER BY real_time DESC";
constexpr char LAST_INSERTED[] = "SELECT real_time FROM screenshots ORDER BY id DESC LIMIT 1;";

// Its bounds go to @p position and to the one after.
void bindDay(Statement &statement, int position, const QString &day)
{
    const DayText::Bounds bounds = DayText::boundsOfDay(DayText::toDate(day));
    statement.bindInt64(position, bounds.start);
    statement.bindInt64(position + 1, bounds.end);
}

QList<ActiveAppInfo> runsOfApps(Statement &rows)
{
    QList<ActiveAppInfo> runs;
    ActiveAppInfo current;
    while (rows.step() == SQLITE_ROW) {
        const QString path = rows.text(0);
        if (current.desktopFilePath.isEmpty()) {
            current.desktopFilePath = path;
            ++current.frameCount;
        } else if (path == current.desktopFilePath) {
            ++current.frameCount;
        } else {
            runs.append(current);
            current = {path, 1};
        }
    }
    if (!current.desktopFilePath.isEmpty()) {
        runs.append(current);
    }
    return runs;
}
} // namespace

QFileInfoList OcrScreenshotDatabase::getDatabaseFileInfo() const
{
    QFileInfoList files = QDir(m_databaseDirectory)
                              .entryInfoList({QStringLiteral("*.db")}, QDir::Files, QDir::NoSort);
    std::sort(files.begin(), files.end(), [](const QFileInfo &left, const QFileInfo &right) {
        return left.fileName() > right.fileName();
    });
    return files;
}

ScreenShotData OcrScreenshotDatabase::getScreenShotDataOfVideo(const QString &videoName,
                                                               uint frameIndexOfVideo) const
{
    const auto connection = readDatabase(DayText::monthOfDayOrVideo(videoName));
    if (!connection) {
        qDebug() << "Database not initialized!";
        return {};
    }
    Statement frame(connection.get(), FRAME_OF_VIDEO);
    if (!frame.isPrepared()) {
        qDebug() << "Error preparing statement: " << frame.errorText();
        return {};
    }
    bindDay(frame, 1, DayText::dayOfVideo(videoName));
    frame.bindText(3, videoName);
    frame.bindInt(4, frameIndexOfVideo);
    if (frame.step() != SQLITE_ROW) {
        return {};
    }
    ScreenShotData data = ScreenshotRow::read(frame);
    data.videoName = videoName;
    data.date = ScreenshotRow::dateOf(data);
    return data;
}

ScreenShotData OcrScreenshotDatabase::getScreenShotDataOfDay(const QString &day,
                                                             uint frameIndexOfDay) const
{
    const auto connection = readDatabase(DayText::monthOfDayOrVideo(day));
    if (!connection) {
        qDebug() << "Database not initialized!";
        return {};
    }
    Statement frame(connection.get(), FRAME_OF_DAY);
    if (!frame.isPrepared()) {
        qDebug() << "Error preparing statement: " << frame.errorText();
        return {};
    }
    frame.bindInt(1, frameIndexOfDay);
    bindDay(frame, 2, day);
    return frame.step() == SQLITE_ROW ? ScreenshotRow::read(frame) : ScreenShotData();
}

QList<ActiveAppInfo> OcrScreenshotDatabase::getAppListOfDay(const QString &day)
{
    const auto connection = readDatabase(DayText::monthOfDayOrVideo(day));
    if (!connection) {
        qDebug() << "Database not initialized!";
        return {};
    }
    Statement rows(connection.get(), APPS_OF_DAY);
    if (!rows.isPrepared()) {
        qDebug() << "Error preparing statement: " << rows.errorText();
        return {};
    }
    bindDay(rows, 1, day);
    return runsOfApps(rows);
}

uint OcrScreenshotDatabase::getFrameNumOfDay(const QString &day)
{
    const auto connection = readDatabase(DayText::monthOfDayOrVideo(day));
    if (!connection) {
        qDebug() << "Database not initialized!";
        return 0;
    }
    Statement newest(connection.get(), FRAMES_OF_DAY);
    if (!newest.isPrepared()) {
        qDebug() << "Error preparing statement: " << newest.errorText();
        return 0;
    }
    bindDay(newest, 1, day);
    return newest.step() == SQLITE_ROW ? static_cast<uint>(newest.int32(0)) : 0;
}

QVector<QString> OcrScreenshotDatabase::getDatabasesInTimeRange(long start, long end)
{
    QDateTime current = QDateTime::fromSecsSinceEpoch(start);
    const QDateTime last = QDateTime::fromSecsSinceEpoch(end);
    qDebug() << "Deleting time range: " << current << last;
    QVector<QString> months;
    while (current < last) {
        months.append(DayText::monthOfDate(current.date()));
        const QDate next = current.date().addMonths(1);
        current = QDateTime(QDate(next.year(), next.month(), 1), QTime(0, 0, 0, 0));
    }
    qDebug() << "Related databases: " << months;
    return months;
}

long OcrScreenshotDatabase::getLastScreenshotRealTime()
{
    const QFileInfoList files = getDatabaseFileInfo();
    if (files.isEmpty()) {
        qDebug() << "No database file found";
        return 0;
    }
    const auto connection = readDatabase(DayText::monthOfDayOrVideo(files.first().fileName()));
    if (!connection) {
        qDebug() << "Failed to read database";
        return 0;
    }
    Statement newest(connection.get(), LAST_INSERTED);
    if (!newest.isPrepared()) {
        qDebug() << "Error preparing statement: " << newest.errorText();
        return 0;
    }
    if (newest.step() != SQLITE_ROW) {
        qDebug() << "Error retrieving last screenshot real time";
        return 0;
    }
    return newest.int64(0);
}
