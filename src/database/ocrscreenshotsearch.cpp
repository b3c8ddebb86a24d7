// The text search of OcrScreenshotDatabase: a scan of every month's file, the newest first.

#include "database/ocrscreenshotdatabase.h"

#include "database/daytext.h"
#include "database/screenshotrow.h"
#include "database/sqlite3connection.h"
#include "database/statement.h"
#include "database/stoppablescan.h"

#include <QDebug>

#include <sqlite3.h>

namespace
{
// The text goes in as it stands: what "%", "_" and a quote mean to SQL is part of the search.
QByteArray sqlOf(const SearchQuery &query)
{
    QByteArray sql("SELECT * FROM screenshots WHERE 1=1");
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
    const Statement withoutText(connection, sqlOf(query).constData());
    return withoutText.isPrepared() ? sqlite3_errstr(SQLITE_ERROR) : withoutText.errorText();
}

bool isComplete(const QVector<ScreenShotData> &found, const SearchQuery &query)
{
    return query.limit != 0 && static_cast<quint32>(found.size()) >= query.limit;
}

void appendRows(Statement &rows, const SearchQuery &query, QVector<ScreenShotData> &found)
{
    int result = SQLITE_DONE;
    while (!isComplete(found, query) && (result = rows.step()) == SQLITE_ROW) {
        ScreenShotData data = ScreenshotRow::read(rows);
        data.date = ScreenshotRow::dateOf(data);
        found.append(data);
    }
    if (result != SQLITE_DONE && result != SQLITE_ROW && result != SQLITE_INTERRUPT) {
        // The message could quote the query here as well.
        qDebug() << "Error executing statement: " << sqlite3_errstr(result);
    }
}
} // namespace

QVector<ScreenShotData> OcrScreenshotDatabase::getOcrScreenshotData(const SearchQuery &query) const
{
    if (query.limit == 0) {
        qWarning() << "request 0 result, will actually return all available data";
    }
    const StoppableScan stoppable;
    const QByteArray sql = sqlOf(query);
    QVector<ScreenShotData> found;
    const QFileInfoList files = getDatabaseFileInfo();
    for (const QFileInfo &file : files) {
        if (StoppableScan::isToStop()) {
            break;
        }
        const QString month = DayText::monthOfDayOrVideo(file.fileName());
        const auto connection = readDatabase(month);
        if (!connection) {
            qDebug() << "Open database failed: " << month;
            continue;
        }
        qDebug() << "Searching ocr database: " << month;
        Statement rows(connection.get(), sql.constData());
        if (!rows.isPrepared()) {
            qDebug() << "Error preparing statement: "
                     << failureOf(connection.get(), query).constData();
            return found;
        }
        appendRows(rows, query, found);
        if (isComplete(found, query)) {
            return found;
        }
    }
    return found;
}
