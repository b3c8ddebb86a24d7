#include "database/statement.h"

#include "database/sqlite3connection.h"

#include <sqlite3.h>

namespace
{
// The message of a connection belongs to whichever call failed on it last, on any thread. Holding
// the connection's own (recursive) mutex over the call and the reading of its message keeps them
// together.
class HandleLock
{
public:
    explicit HandleLock(sqlite3 *handle) : m_mutex(handle ? sqlite3_db_mutex(handle) : nullptr)
    {
        sqlite3_mutex_enter(m_mutex);
    }
    ~HandleLock() { sqlite3_mutex_leave(m_mutex); }
    Q_DISABLE_COPY_MOVE(HandleLock)

private:
    sqlite3_mutex *m_mutex;
};

bool isFailure(int result)
{
    return result != SQLITE_OK && result != SQLITE_ROW && result != SQLITE_DONE;
}
} // namespace

void Statement::Finalizer::operator()(sqlite3_stmt *statement) const
{
    sqlite3_finalize(statement);
}

Statement::Statement(const SQLite3Connection *connection, const char *sql,
                     LockWait::Memory *lockMemory)
    : m_handle(connection ? connection->handle() : nullptr), m_lockMemory(lockMemory)
{
    sqlite3_stmt *statement = nullptr;
    callUntilUnlocked([&] { return sqlite3_prepare_v2(m_handle, sql, -1, &statement, nullptr); });
    m_statement.reset(statement);
}

void Statement::bindText(int position, const QString &text)
{
    sqlite3_bind_text(m_statement.get(), position, text.toUtf8().constData(), -1, SQLITE_TRANSIENT);
}

void Statement::bindInt(int position, quint32 value)
{
    sqlite3_bind_int(m_statement.get(), position, static_cast<int>(value));
}

void Statement::bindInt64(int position, qint64 value)
{
    sqlite3_bind_int64(m_statement.get(), position, value);
}

int Statement::step()
{
    return callUntilUnlocked([this] { return sqlite3_step(m_statement.get()); });
}

template <class Call>
int Statement::callUntilUnlocked(const Call &call)
{
    LockWait wait(m_lockMemory);
    int result = SQLITE_OK;
    do {
        const HandleLock lock(m_handle);
        result = call();
        m_error = isFailure(result) ? QByteArray(sqlite3_errmsg(m_handle)) : QByteArray();
    } while (wait.isToGoOn(result));
    return result;
}

QString Statement::text(int column) const
{
    const unsigned char *utf8 = sqlite3_column_text(m_statement.get(), column);
    return QString::fromUtf8(reinterpret_cast<const char *>(utf8));
}

int Statement::int32(int column) const
{
    return sqlite3_column_int(m_statement.get(), column);
}

qint64 Statement::int64(int column) const
{
    return sqlite3_column_int64(m_statement.get(), column);
}
