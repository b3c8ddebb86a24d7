#include "history/storedrows.h"

#include "history/readonlydatabase.h"

#include <QDir>
#include <QFileInfo>
#include <QRegularExpression>

namespace HistoryChecker
{
namespace
{
constexpr QDir::Filters everything =
    QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden | QDir::System;
const QLatin1String journalSuffix("-journal");

constexpr char SELECT_ROWS[] = "SELECT video_name, frame_index_of_video, frame_index_of_day, "
                               "real_time, id FROM screenshots ORDER BY id";
constexpr char SELECT_COLLECTION[] = "SELECT number FROM collections WHERE name='screenshots'";

/// Empty if the file is sound. The check and all that follows take long: a copy keeps no writer
/// waiting.
QString damageOf(ReadOnlyDatabase &database)
{
    if (!database.copyToMemory()) {
        return database.errorText();
    }
    const QString verdict = database.value("PRAGMA quick_check(1)");
    if (verdict == QLatin1String("ok")) {
        return {};
    }
    return verdict.isEmpty() ? database.errorText() : verdict;
}

void readMonth(const QFileInfo &file, StoredRows &stored, bool workInProgress, Report &report)
{
    const QString month = file.completeBaseName();
    ReadOnlyDatabase database(file.filePath());
    QString damage = damageOf(database);
    const bool hasTable =
        database.value("SELECT name FROM sqlite_master WHERE type='table' AND name='screenshots'")
            .size() > 0;
    if (damage.isEmpty() && !hasTable) {
        // A kill while the month began; its next start makes the table.
        if (workInProgress) {
            stored.months.insert(month);
            report.add({Kind::UnfinishedWork, file.fileName(), QStringLiteral("no table")});
            return;
        }
        damage = QStringLiteral("no table");
    }
    const auto take = [&](const Statement &row) {
        stored.rows.append({row.text(0), static_cast<uint>(row.int64(1)),
                            static_cast<uint>(row.int64(2)), row.int64(3), row.int64(4), month});
    };
    if (damage.isEmpty() && !database.forEach(SELECT_ROWS, take)) {
        damage = database.errorText();
    }
    if (damage.isEmpty()) {
        stored.months.insert(month);
    } else {
        stored.unreadableMonths.insert(month);
        report.add({Kind::UnreadableDatabase, file.fileName(), damage});
    }
}

/// A journal stays behind a kill until its month is next written to, or read if anything has to be
/// undone: months that are over are not touched by a start.
bool isJournalOfMonth(const QFileInfo &file)
{
    static const QRegularExpression form(QStringLiteral("^\\d{4}-\\d{2}\\.db-journal$"));
    return form.match(file.fileName()).hasMatch() &&
           QFile::exists(file.filePath().chopped(journalSuffix.size()));
}

bool isVectorFile(const QString &name, bool workInProgress)
{
    static const QRegularExpression lasting(QStringLiteral("^(vectors\\.db|matrix_\\d+\\.bin)$"));
    static const QRegularExpression passing(
        QStringLiteral("^(vectors\\.db-(wal|journal)|matrix_\\d+\\.bin\\.new)$"));
    return lasting.match(name).hasMatch() || (workInProgress && passing.match(name).hasMatch());
}
} // namespace

StoredRows readRows(const QString &root, bool workInProgress, Report &report)
{
    static const QRegularExpression monthFile(QStringLiteral("^\\d{4}-(0[1-9]|1[0-2])\\.db$"));
    StoredRows stored;
    const QDir folder(root + QLatin1String("/traditional_database"));
    for (const QFileInfo &file : folder.entryInfoList(everything, QDir::Name)) {
        if (file.isFile() && monthFile.match(file.fileName()).hasMatch()) {
            readMonth(file, stored, workInProgress, report);
        } else if (isJournalOfMonth(file)) {
            report.add({Kind::UnfinishedWork, file.fileName(), QString()});
        } else {
            report.add({Kind::UnknownFile, file.filePath(), QString()});
        }
    }
    report.rows += stored.rows.size();
    return stored;
}

QVector<StoredVector> readVectors(const QString &root, bool workInProgress, Report &report)
{
    QVector<StoredVector> vectors;
    const QDir folder(root + QLatin1String("/vector_database"));
    for (const QFileInfo &file : folder.entryInfoList(everything, QDir::Name)) {
        if (!file.isFile() || !isVectorFile(file.fileName(), workInProgress)) {
            report.add({Kind::UnknownFile, file.filePath(), QString()});
        }
    }
    const QString path = folder.filePath(QStringLiteral("vectors.db"));
    if (!QFile::exists(path)) {
        return vectors;
    }
    ReadOnlyDatabase database(path);
    QString damage = damageOf(database);
    const QString collection = damage.isEmpty() ? database.value(SELECT_COLLECTION) : QString();
    if (damage.isEmpty() && collection.isEmpty()) {
        return vectors; // made, not used yet
    }
    const QByteArray select =
        "SELECT videoName, frameIndexOfVideo, realTime FROM rows_" + collection.toUtf8();
    const auto take = [&vectors](const Statement &row) {
        vectors.append({row.text(0), static_cast<uint>(row.int64(1)), row.int64(2)});
    };
    if (damage.isEmpty() && !database.forEach(select.constData(), take)) {
        damage = database.errorText();
    }
    if (!damage.isEmpty()) {
        report.add({Kind::UnreadableVectors, path, damage});
    }
    report.vectors += vectors.size();
    return vectors;
}
} // namespace HistoryChecker
