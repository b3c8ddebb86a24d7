#pragma once
// Where the ranges begin that the user may clear, for files, rows and vectors alike. Thread: any.

#include "database/screenshotdata.h"

#include <QDateTime>

/// Seconds since the epoch at which a range that ends @p now begins: 0 for everything, -1 for a
/// number that is no range.
inline qint64 startOfRange(TimeRange range, const QDateTime &now)
{
    switch (range) {
    case LastHour:
        return now.toSecsSinceEpoch() - qint64{3600};
    case LastDay:
        return now.addDays(-1).toSecsSinceEpoch();
    case LastWeek:
        return now.addDays(-7).toSecsSinceEpoch();
    case LastMonth:
        return now.addMonths(-1).toSecsSinceEpoch();
    case AllTime:
        return 0;
    }
    return -1;
}
