#pragma once
// The rows of a history, month by month, read while a recorder may be writing them: every statement
// is over within a few milliseconds, so that none of its inserts has to wait. Owner: the reader, on
// its stack. Thread: the one that made it.

#include "database/screenshotdata.h"
#include "history/readonlydatabase.h"

#include <QStringList>

#include <optional>

class MonthRows
{
public:
    /// Which rows are wanted. All that is set has to hold.
    struct Wanted {
        QString text;               ///< stands somewhere in the recognised text; to the letter
        std::optional<qint64> from; ///< seconds since the epoch, included
        std::optional<qint64> to;   ///< the same
        bool withText = true;       ///< whether the rows are to bear their texts
    };
    using Use = std::function<void(const ScreenShotData &)>;

    /// The months "yyyy-MM" that have a file in @p folder, the newest first.
    static QStringList months(const QString &folder);

    /// Opens a month's file of @p folder.
    MonthRows(const QString &folder, const QString &month);

    /// Hands every row that is @p wanted to @p use, in the order in which they were stored; letters
    /// of the alphabet match in either case. False, with state() and errorText(), where that is not
    /// possible; a file without its table is a month that has just begun.
    bool forEach(const Wanted &wanted, const Use &use);

    /// The row of a frame.
    std::optional<ScreenShotData> ofFrame(const QString &video, uint index);
    std::optional<ScreenShotData> ofDay(const QString &day, uint number);

    /// The row that was stored last.
    std::optional<ScreenShotData> last();

    ReadOnlyDatabase::State state() const { return m_database.state(); }
    QString errorText() const { return m_database.errorText(); }

private:
    bool hasTable();
    /// The next row's number, 0 for none: a damaged file has gaps of any width between them.
    bool firstBehind(qint64 id, qint64 *next);
    std::optional<ScreenShotData> first(const char *sql, const ReadOnlyDatabase::Bind &bind);

    ReadOnlyDatabase m_database;
};
