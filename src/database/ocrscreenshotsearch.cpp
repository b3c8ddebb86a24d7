// The text search of OcrScreenshotDatabase: a scan of every month's file, the newest first.

#include "database/ocrscreenshotdatabase.h"

#include "database/daytext.h"
#include "database/monthsahead.h"
#include "database/screenshotrow.h"
#include "database/sqlite3connection.h"
#include "database/statement.h"
#include "database/stoppablescan.h"

#include <QDebug>

#include <sqlite3.h>

namespace
{
// The text goes in as it stands: what "%", "_" and a quote mean to SQL is part of the search.
QByteArray sqlOf(const SearchQuery &query, RowTexts texts)
{
    // To sort whole rows takes twice as long as to find them. A quote would end the text and go on
    // as SQL, which may count on the columns.
    const bool leavesTexts = texts == RowTexts::Left && !query.text.contains(QLatin1Char('\''));
    QByteArray sql = leavesTexts
                         ? "SELECT id, video_name, '', frame_index_of_video, frame_index_of_day, "
                           "real_time, desktop_file_path FROM screenshots WHERE 1=1"
                         : "SELECT * FROM screenshots WHERE 1=1";
    if (!query.text.isEmpty()) {
        sql += " AND ocr_text LIKE '%" + query.text.toUtf8() + "%'";
    }
    if (query.endTime != 0) {
        sql += " AND real_time >= " + QByteArray::number(query.startTime) +
               " AND real_time <= " + QByteArray::number(query.endTime);
    }
    sql += " ORDER BY real_time DESC";
    if (query.limit != 0) {
        sql += " LIMIT " + QByteArray::number(query.limit);
    }
    return sql + ";";
}

// SQLite's message quotes the place of a mistake, which would put a piece of the query on the log.
// The same statement without the text tells of the file's faults; a fault of the text itself is
// told by its kind alone.
QByteArray failureOf(const SQLite3Connection *connection, SearchQuery query)
{
    query.text.clear();
    const Statement withoutText(connection, sqlOf(query, RowTexts::Read).constData());
    return withoutText.isPrepared() ? sqlite3_errstr(SQLITE_ERROR) : withoutText.errorText();
}

QString monthOf(const QFileInfo &file)
{
    return DayText::monthOfDayOrVideo(file.fileName());
}

MonthsAhead::Rows scanMonth(const SQLite3Connection *connection, const QByteArray &sql,
                            const SearchQuery &query, RowTexts texts)
{
    MonthsAhead::Rows month;
    Statement rows(connection, sql.constData());
    if (!rows.isPrepared()) {
        month.failure = failureOf(connection, query);
        return month;
    }
    ScreenshotRow::Dates dates;
    while ((month.result = rows.step()) == SQLITE_ROW) {
        ScreenShotData data = ScreenshotRow::read(rows, texts);
        data.date = dates.of(data);
        month.found.append(data);
    }
    return month;
}

bool isComplete(const QVector<ScreenShotData> &found, const SearchQuery &query)
{
    return query.limit != 0 && static_cast<quint32>(found.size()) >= query.limit;
}
} // namespace

QVector<ScreenShotData> OcrScreenshotDatabase::getOcrScreenshotData(const SearchQuery &query,
                                                                    RowTexts texts) const
{
    if (query.limit == 0) {
        qWarning() << "request 0 result, will actually return all available data";
    }
    const StoppableScan stoppable;
    const QByteArray sql = sqlOf(query, texts);
    const QFileInfoList files = getDatabaseFileInfo();
    const auto scan = [&](int file) {
        const auto connection = readDatabase(monthOf(files.at(file)));
        return scanMonth(connection.get(), sql, query, texts);
    };
    MonthsAhead ahead(query.limit == 0 ? files.size() : 0, scan);
    QVector<ScreenShotData> found;
    for (int file = 0; file < files.size() && !StoppableScan::isToStop(); ++file) {
        const QString month = monthOf(files.at(file));
        if (!readDatabase(month)) {
            qDebug() << "Open database failed: " << month;
            continue;
        }
        qDebug() << "Searching ocr database: " << month;
        const MonthsAhead::Rows rows = ahead.take(file);
        if (!rows.failure.isEmpty()) {
            qDebug() << "Error preparing statement: " << rows.failure.constData();
            return found;
        }
        if (rows.result != SQLITE_DONE && rows.result != SQLITE_ROW &&
            rows.result != SQLITE_INTERRUPT) {
            // The message could quote the query here as well.
            qDebug() << "Error executing statement: " << sqlite3_errstr(rows.result);
        }
        if (StoppableScan::isToStop()) {
            break;
        }
        found += rows.found;
        if (isComplete(found, query)) {
            found.resize(static_cast<int>(query.limit));
            break;
        }
    }
    return found;
}
