// The reading half of OcrScreenshotDatabase. Every read takes its connection from readDatabase(),
// so that none makes a file.

#include "database/ocrscreenshotdatabase.h"

#include "database/daytext.h"
#include "database/sqlite3connection.h"
#include "database/statement.h"

#include <QDebug>
#include <QDir>

#include <algorithm>

#include <sqlite3.h>

namespace
{
constexpr char APPS_OF_DAY[] =
    "SELECT desktop_file_path FROM screenshots WHERE real_time >= ? AND real_time <= ?";
constexpr char FRAMES_OF_DAY[] = "SELECT frame_index_of_day FROM screenshots WHERE real_time >= ? "
                                 "AND real_time <= ? ORDER BY real_time DESC";
constexpr char LAST_INSERTED[] = "SELECT real_time FROM screenshots ORDER BY id DESC LIMIT 1;";

void bindDay(Statement &statement, const QString &day)
{
    const DayText::Bounds bounds = DayText::boundsOfDay(DayText::toDate(day));
    statement.bindInt64(1, bounds.start);
    statement.bindInt64(2, bounds.end);
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
    bindDay(rows, day);
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
    bindDay(newest, day);
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
