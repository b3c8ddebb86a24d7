#include "cli/timetext.h"

#include "database/daytext.h"

#include <QDateTime>

namespace
{
std::optional<QDateTime> momentOf(const QString &text, const char *form)
{
    const QString format = QLatin1String(form);
    const QDateTime moment = QDateTime::fromString(text, format);
    // The calendar takes "2024-2-3" as well.
    return moment.isValid() && moment.toString(format) == text ? std::optional(moment)
                                                               : std::nullopt;
}

std::optional<qint64> bound(QString text, qint64 restOfMinute)
{
    text.replace(QLatin1Char(' '), QLatin1Char('T'));
    if (const auto second = momentOf(text, "yyyy-MM-dd'T'hh:mm:ss")) {
        return second->toSecsSinceEpoch();
    }
    if (const auto minute = momentOf(text, "yyyy-MM-dd'T'hh:mm")) {
        return minute->toSecsSinceEpoch() + restOfMinute;
    }
    return {};
}

std::optional<DayText::Bounds> dayOf(const QString &text)
{
    const QDate day = DayText::toDate(text);
    return day.isValid() && DayText::ofDate(day) == text ? std::optional(DayText::boundsOfDay(day))
                                                         : std::nullopt;
}
} // namespace

std::optional<qint64> TimeText::first(const QString &text)
{
    const auto day = dayOf(text);
    return day ? std::optional(day->start) : bound(text, 0);
}

std::optional<qint64> TimeText::last(const QString &text)
{
    constexpr qint64 secondsOfMinute = 60;
    const auto day = dayOf(text);
    return day ? std::optional(day->end) : bound(text, secondsOfMinute - 1);
}

QString TimeText::ofSecond(qint64 time)
{
    return QDateTime::fromSecsSinceEpoch(time).toString(QStringLiteral("yyyy-MM-dd hh:mm:ss"));
}

QString TimeText::iso(qint64 time)
{
    const QDateTime moment = QDateTime::fromSecsSinceEpoch(time);
    return moment.toOffsetFromUtc(moment.offsetFromUtc()).toString(Qt::ISODate);
}

QString TimeText::ofAge(qint64 seconds)
{
    constexpr struct {
        qint64 seconds;
        const char *name;
    } units[] = {{86400, "days"}, {3600, "hours"}, {60, "minutes"}};
    for (const auto &unit : units) {
        if (seconds >= 2 * unit.seconds) {
            return QStringLiteral("%1 %2")
                .arg(seconds / unit.seconds)
                .arg(QLatin1String(unit.name));
        }
    }
    return QStringLiteral("%1 seconds").arg(seconds);
}

QString TimeText::ofSize(quint64 bytes)
{
    constexpr double step = 1024.0;
    auto size = static_cast<double>(bytes);
    const char *unit = "B";
    for (const char *next : {"kB", "MB", "GB"}) {
        if (size < step) {
            break;
        }
        size /= step;
        unit = next;
    }
    return QStringLiteral("%1 %2")
        .arg(size, 0, 'f', unit[0] == 'B' ? 0 : 1)
        .arg(QLatin1String(unit));
}
