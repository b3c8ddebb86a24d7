#pragma once
// SQLite's handles and what the store of rows does with them. Owner: RowStore. Thread: whichever
// holds the store's lock.

#include "vectordb/status.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

struct sqlite3;
struct sqlite3_stmt;

namespace VectorDB
{
struct SqliteCloser {
    void operator()(sqlite3 *handle) const;
};
using SqliteHandle = std::unique_ptr<sqlite3, SqliteCloser>;

/// The last failure on @p handle, with @p doing ("insert a row") before SQLite's own message.
Status sqliteFailure(sqlite3 *handle, const std::string &doing);

/// Runs statements that give no rows.
Status sqliteExecute(sqlite3 *handle, const std::string &sql, const std::string &doing);

class SqliteStatement
{
public:
    /// A statement that could not be prepared fails at its first step.
    SqliteStatement(sqlite3 *handle, const std::string &sql);

    bool isPrepared() const { return m_statement != nullptr; }

    /// Positions count from 1. What is bound has to live until the statement is reset.
    void bind(int position, std::int64_t value);
    void bind(int position, const std::string &text);
    void bind(int position, const void *blob, std::size_t bytes);

    /// SQLITE_ROW, SQLITE_DONE or an error code.
    int step();
    void reset();

    /// Values of the current row; columns count from 0.
    std::int64_t number(int column) const;
    std::string text(int column) const;
    const void *blob(int column) const;
    std::size_t bytes(int column) const;

private:
    struct Finalizer {
        void operator()(sqlite3_stmt *statement) const;
    };
    std::unique_ptr<sqlite3_stmt, Finalizer> m_statement;
    int m_prepared = 0;
};

/// Begins a transaction and takes it back at its end unless it was committed.
class SqliteTransaction
{
public:
    explicit SqliteTransaction(sqlite3 *handle) : m_handle(handle) {}
    ~SqliteTransaction();
    SqliteTransaction(const SqliteTransaction &) = delete;
    SqliteTransaction &operator=(const SqliteTransaction &) = delete;

    Status begin();
    Status commit();

private:
    sqlite3 *m_handle;
    bool m_open = false;
};
} // namespace VectorDB
