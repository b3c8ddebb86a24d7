#include "vectordb/local/sqlitestatement.h"

#include <cerrno>
#include <cstring>

#include <sqlite3.h>

namespace VectorDB
{
namespace
{
// The system's reason, where SQLite knows only that the disk failed.
bool isFull(int systemError)
{
    return systemError == ENOSPC || systemError == EDQUOT || systemError == EFBIG;
}

StatusCode codeOf(sqlite3 *handle, int systemError)
{
    const int extended = sqlite3_extended_errcode(handle);
    if (extended == SQLITE_CONSTRAINT_UNIQUE || extended == SQLITE_CONSTRAINT_PRIMARYKEY) {
        return StatusCode::DUPLICATE_KEY;
    }
    switch (extended & 0xff) {
    case SQLITE_FULL:
        return StatusCode::STORE_FULL;
    case SQLITE_CORRUPT:
    case SQLITE_NOTADB:
        return StatusCode::STORE_DAMAGED;
    case SQLITE_BUSY:
    case SQLITE_LOCKED:
        return StatusCode::STORE_IN_USE;
    default:
        return isFull(systemError) ? StatusCode::STORE_FULL : StatusCode::IO_ERROR;
    }
}
} // namespace

void SqliteCloser::operator()(sqlite3 *handle) const
{
    sqlite3_close(handle);
}

Status sqliteFailure(sqlite3 *handle, const std::string &doing)
{
    // SQLite does not keep the reason of every failed write, and a limit on the size of files is
    // one that it has no code for. Each call below begins with errno cleared.
    const int systemError = isFull(errno) ? errno : sqlite3_system_errno(handle);
    std::string message = "cannot " + doing + ": " + sqlite3_errmsg(handle);
    if (isFull(systemError)) {
        message += std::string(" (") + std::strerror(systemError) + ')';
    }
    return {codeOf(handle, systemError), std::move(message)};
}

Status sqliteExecute(sqlite3 *handle, const std::string &sql, const std::string &doing)
{
    errno = 0;
    if (sqlite3_exec(handle, sql.c_str(), nullptr, nullptr, nullptr) != SQLITE_OK) {
        return sqliteFailure(handle, doing);
    }
    return {};
}

void SqliteStatement::Finalizer::operator()(sqlite3_stmt *statement) const
{
    sqlite3_finalize(statement);
}

SqliteStatement::SqliteStatement(sqlite3 *handle, const std::string &sql)
{
    sqlite3_stmt *statement = nullptr;
    m_prepared = sqlite3_prepare_v2(handle, sql.c_str(), -1, &statement, nullptr);
    m_statement.reset(statement);
}

void SqliteStatement::bind(int position, std::int64_t value)
{
    sqlite3_bind_int64(m_statement.get(), position, value);
}

void SqliteStatement::bind(int position, const std::string &text)
{
    sqlite3_bind_text64(m_statement.get(), position, text.data(), text.size(), SQLITE_STATIC,
                        SQLITE_UTF8);
}

void SqliteStatement::bind(int position, const void *blob, std::size_t bytes)
{
    sqlite3_bind_blob64(m_statement.get(), position, blob, bytes, SQLITE_STATIC);
}

int SqliteStatement::step()
{
    errno = 0;
    return m_prepared == SQLITE_OK ? sqlite3_step(m_statement.get()) : m_prepared;
}

void SqliteStatement::reset()
{
    sqlite3_reset(m_statement.get());
}

std::int64_t SqliteStatement::number(int column) const
{
    return sqlite3_column_int64(m_statement.get(), column);
}

std::string SqliteStatement::text(int column) const
{
    const auto *text =
        reinterpret_cast<const char *>(sqlite3_column_text(m_statement.get(), column));
    return text ? std::string(text, bytes(column)) : std::string();
}

const void *SqliteStatement::blob(int column) const
{
    return sqlite3_column_blob(m_statement.get(), column);
}

std::size_t SqliteStatement::bytes(int column) const
{
    return static_cast<std::size_t>(sqlite3_column_bytes(m_statement.get(), column));
}

SqliteTransaction::~SqliteTransaction()
{
    // SQLite itself may have taken it back already, after a full disk for one.
    if (m_open && sqlite3_get_autocommit(m_handle) == 0) {
        sqlite3_exec(m_handle, "ROLLBACK", nullptr, nullptr, nullptr);
    }
}

Status SqliteTransaction::begin()
{
    Status status = sqliteExecute(m_handle, "BEGIN IMMEDIATE", "begin a transaction");
    m_open = status.IsOk();
    return status;
}

Status SqliteTransaction::commit()
{
    Status status = sqliteExecute(m_handle, "COMMIT", "write to the disk");
    m_open = !status.IsOk();
    return status;
}
} // namespace VectorDB
