#pragma once
// Times as people and programs read and write them; all local. Plain functions, any thread.

#include <QString>

#include <optional>

namespace TimeText
{
/// The first or last second of what @p text names, a day "yyyy-MM-dd", a minute or a second
/// "yyyy-MM-ddThh:mm[:ss]" (a blank does for the "T"), in seconds since the epoch.
std::optional<qint64> first(const QString &text);
std::optional<qint64> last(const QString &text);

/// "yyyy-MM-dd hh:mm:ss".
QString ofSecond(qint64 time);

/// ISO 8601 with the offset from UTC, "2024-03-05T14:07:31+01:00".
QString iso(qint64 time);

/// "40 seconds", "3 hours": the greatest unit that fits at least twice.
QString ofAge(qint64 seconds);

/// "1.3 GB", in powers of 1024 as the storage ceiling counts.
QString ofSize(quint64 bytes);
} // namespace TimeText
