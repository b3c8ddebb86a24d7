#pragma once
// Days and months as the texts that name directories, videos and month databases, and a day's
// bounds in time. All in local time. Thread: any.

#include <QDate>
#include <QDateTime>
#include <QString>
#include <QTime>

namespace DayText
{
/// "yyyy-MM-dd".
inline QString ofDate(const QDate &date)
{
    return date.toString(QStringLiteral("yyyy-MM-dd"));
}

/// "yyyy-MM".
inline QString monthOfDate(const QDate &date)
{
    return date.toString(QStringLiteral("yyyy-MM"));
}

/// "yyyy-MM" of a moment in seconds since the epoch.
inline QString monthOfTime(qint64 seconds)
{
    return monthOfDate(QDateTime::fromSecsSinceEpoch(seconds).date());
}

/// The day that @p day names, an invalid date if it is no day of the calendar.
inline QDate toDate(const QString &day)
{
    return QDate::fromString(day, QStringLiteral("yyyy-MM-dd"));
}

/// The month of a day's text or of a video's name.
inline QString monthOfDayOrVideo(const QString &text)
{
    return text.left(7);
}

/// The day of a video's name.
inline QString dayOfVideo(const QString &videoName)
{
    return videoName.left(10);
}

struct Bounds {
    qint64 start; ///< 00:00:00.000, seconds since the epoch
    qint64 end;   ///< 23:59:59.000, seconds since the epoch
};

/// First and last second of a day.
inline Bounds boundsOfDay(const QDate &date)
{
    return {QDateTime(date, QTime(0, 0, 0, 0)).toSecsSinceEpoch(),
            QDateTime(date, QTime(23, 59, 59, 0)).toSecsSinceEpoch()};
}
} // namespace DayText
