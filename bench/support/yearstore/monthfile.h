#pragma once
// One month's database, written as fast as SQLite can: nothing is journalled, for a store that was
// not finished is made again. Owner: the maker of the year, on its stack. Thread: the one that
// made it.

#include "support/yearstore/plan.h"

#include <memory>

struct sqlite3;
struct sqlite3_stmt;

namespace YearStore
{
class MonthFile
{
public:
    /// Makes the file, with table and index, and begins its one transaction.
    explicit MonthFile(const QString &path);
    Q_DISABLE_COPY_MOVE(MonthFile)
    ~MonthFile();

    /// Adds a row as the program does: without its text first, which is filled in then. So pages
    /// are filled, and rows and index lie in one another's way, as in a file that has grown.
    void add(const PlannedVideo &video, const PlannedFrame &frame, const QByteArray &text);

    void commit();

private:
    struct Closer {
        void operator()(sqlite3 *handle) const;
    };
    struct Finalizer {
        void operator()(sqlite3_stmt *statement) const;
    };
    using StatementPtr = std::unique_ptr<sqlite3_stmt, Finalizer>;

    void execute(const char *sql);
    StatementPtr prepare(const char *sql);
    void run(sqlite3_stmt *statement);

    std::unique_ptr<sqlite3, Closer> m_handle;
    StatementPtr m_insert; ///< the statements go before the handle
    StatementPtr m_update;
};
} // namespace YearStore
