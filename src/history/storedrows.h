#pragma once
// The rows of a history below one root, without their texts, and the vectors' names and times.
// Nothing is changed: a file that a kill left with a journal is read in a copy. Any thread.

#include "history/findings.h"

#include <QSet>

namespace HistoryChecker
{
struct StoredRow {
    QString videoName;
    uint indexOfVideo = 0;
    uint indexOfDay = 0;
    qint64 time = 0; ///< seconds since the epoch
    qint64 id = 0;   ///< grows with every row that the month's file ever held
    QString month;   ///< of the file that it stands in
};

struct StoredVector {
    QString videoName;
    uint indexOfVideo = 0;
    qint64 time = 0;
};

struct StoredRows {
    QVector<StoredRow> rows; ///< by month, then by id
    QSet<QString> months;    ///< whose files could be read
    QSet<QString> unreadableMonths;
};

/// Reads `traditional_database` below @p root.
StoredRows readRows(const QString &root, bool workInProgress, Report &report);

/// Reads `vector_database` below @p root.
QVector<StoredVector> readVectors(const QString &root, bool workInProgress, Report &report);
} // namespace HistoryChecker
