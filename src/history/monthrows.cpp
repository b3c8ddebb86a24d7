#include "history/monthrows.h"

#include "database/screenshotrow.h"

#include <QDir>
#include <QRegularExpression>

#include <algorithm>

namespace
{
// A megabyte of pages at the usual length of a screen's text: about a millisecond from memory, some
// ten from a slow disk. The recorder's inserts wait for no more than one part.
constexpr qint64 ROWS_OF_PART = 250;

enum Position { AFTER = 1, UP_TO, FROM, TO, TEXT };

QByteArray selectOf(const MonthRows::Wanted &wanted)
{
    QByteArray sql = wanted.withText
                         ? "SELECT * FROM screenshots"
                         : "SELECT id, video_name, '', frame_index_of_video, frame_index_of_day, "
                           "real_time, desktop_file_path FROM screenshots";
    sql += " WHERE id > ?1 AND id <= ?2";
    if (wanted.from) {
        sql += " AND real_time >= ?3";
    }
    if (wanted.to) {
        sql += " AND real_time <= ?4";
    }
    if (!wanted.text.isEmpty()) {
        sql += " AND ocr_text LIKE ?5";
        // The form with ESCAPE is several times as slow.
        if (wanted.text.contains(QLatin1Char('%')) || wanted.text.contains(QLatin1Char('_'))) {
            sql += " ESCAPE '\\'";
        }
    }
    return sql;
}

QString patternOf(QString text)
{
    if (text.contains(QLatin1Char('%')) || text.contains(QLatin1Char('_'))) {
        for (const char sign : {'\\', '%', '_'}) {
            text.replace(QLatin1Char(sign), QLatin1String("\\") + QLatin1Char(sign));
        }
    }
    return QLatin1Char('%') + text + QLatin1Char('%');
}
} // namespace

QStringList MonthRows::months(const QString &folder)
{
    static const QRegularExpression form(QStringLiteral("^\\d{4}-\\d{2}\\.db$"));
    QStringList months;
    for (const QString &name :
         QDir(folder).entryList({QStringLiteral("*.db")}, QDir::Files, QDir::NoSort)) {
        if (form.match(name).hasMatch()) {
            months.append(DayText::monthOfDayOrVideo(name));
        }
    }
    std::sort(months.begin(), months.end(), std::greater<>());
    return months;
}

MonthRows::MonthRows(const QString &folder, const QString &month)
    : m_database(folder + QLatin1Char('/') + month + QLatin1String(".db"))
{
}

bool MonthRows::hasTable()
{
    bool has = false;
    m_database.forEach("SELECT 1 FROM sqlite_master WHERE type = 'table' AND name = 'screenshots'",
                       [&has](const Statement &) { has = true; });
    return has;
}

bool MonthRows::firstBehind(qint64 id, qint64 *next)
{
    return m_database.forEach(
        "SELECT min(id) FROM screenshots WHERE id > ?1",
        [next](const Statement &row) { *next = row.int64(0); },
        [id](Statement &statement) { statement.bindInt64(1, id); });
}

bool MonthRows::forEach(const Wanted &wanted, const Use &use)
{
    if (!hasTable()) {
        return state() == ReadOnlyDatabase::State::Open;
    }
    qint64 last = 0;
    if (!m_database.forEach("SELECT max(id) FROM screenshots",
                            [&last](const Statement &row) { last = row.int64(0); })) {
        return false;
    }
    const QByteArray sql = selectOf(wanted);
    const QString pattern = patternOf(wanted.text);
    ScreenshotRow::Dates dates;
    qint64 upTo = 0;
    while (upTo < last) {
        qint64 next = 0;
        if (!firstBehind(upTo, &next)) {
            return false;
        }
        if (next <= upTo || next > last) {
            break; // a damaged file, or somebody deletes
        }
        const qint64 after = next - 1;
        upTo = last - after > ROWS_OF_PART ? after + ROWS_OF_PART : last;
        const auto bind = [&](Statement &statement) {
            statement.bindInt64(AFTER, after);
            statement.bindInt64(UP_TO, upTo);
            if (wanted.from) {
                statement.bindInt64(FROM, *wanted.from);
            }
            if (wanted.to) {
                statement.bindInt64(TO, *wanted.to);
            }
            if (!wanted.text.isEmpty()) {
                statement.bindText(TEXT, pattern);
            }
        };
        const auto take = [&](const Statement &row) {
            ScreenShotData data = ScreenshotRow::read(row);
            data.date = dates.of(data);
            use(data);
        };
        if (!m_database.forEach(sql.constData(), take, bind)) {
            return false;
        }
    }
    return true;
}

std::optional<ScreenShotData> MonthRows::first(const char *sql, const ReadOnlyDatabase::Bind &bind)
{
    std::optional<ScreenShotData> found;
    const auto take = [&found](const Statement &row) {
        if (!found) {
            found = ScreenshotRow::read(row);
            found->date = ScreenshotRow::dateOf(*found);
        }
    };
    if (hasTable()) {
        m_database.forEach(sql, take, bind);
    }
    return found;
}

std::optional<ScreenShotData> MonthRows::ofFrame(const QString &video, uint index)
{
    const DayText::Bounds day = DayText::boundsOfDay(DayText::toDate(DayText::dayOfVideo(video)));
    return first("SELECT * FROM screenshots WHERE video_name = ?1 AND frame_index_of_video = ?2 "
                 "AND real_time >= ?3 AND real_time <= ?4",
                 [&](Statement &statement) {
                     statement.bindText(1, video);
                     statement.bindInt(2, index);
                     statement.bindInt64(3, day.start);
                     statement.bindInt64(4, day.end);
                 });
}

std::optional<ScreenShotData> MonthRows::ofDay(const QString &day, uint number)
{
    const DayText::Bounds bounds = DayText::boundsOfDay(DayText::toDate(day));
    return first("SELECT * FROM screenshots WHERE frame_index_of_day = ?1 AND real_time >= ?2 "
                 "AND real_time <= ?3",
                 [&](Statement &statement) {
                     statement.bindInt(1, number);
                     statement.bindInt64(2, bounds.start);
                     statement.bindInt64(3, bounds.end);
                 });
}

std::optional<ScreenShotData> MonthRows::last()
{
    return first("SELECT * FROM screenshots ORDER BY id DESC LIMIT 1", {});
}
