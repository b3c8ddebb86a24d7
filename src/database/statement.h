#pragma once
// One SQL statement from its preparation to its end. Owner: the function that runs it, on its
// stack, and shorter-lived than its connection. Thread: the one that made it; other threads may use
// the same connection meanwhile. It logs nothing: each caller has its own required texts.

#include "database/lockwait.h"

#include <QByteArray>
#include <QString>

#include <memory>

class SQLite3Connection;
struct sqlite3;
struct sqlite3_stmt;

class Statement
{
public:
    /// Prepares @p sql, as step() waiting for another process's lock. A null @p connection, or one
    /// whose file could not be opened, gives a statement that is not prepared. Statements with one
    /// @p lockMemory, which outlives them, do not wait again after a wait in vain.
    Statement(const SQLite3Connection *connection, const char *sql,
              LockWait::Memory *lockMemory = nullptr);

    bool isPrepared() const { return m_statement != nullptr; }

    /// Binds by position, counted from 1. Text goes in as UTF-8 up to its first NUL and is copied;
    /// an empty text is stored as such, never as NULL.
    void bindText(int position, const QString &text);
    void bindInt(int position, quint32 value);
    void bindInt64(int position, qint64 value);

    /// SQLITE_ROW, SQLITE_DONE or an error code, also for a statement that is not prepared. While
    /// another process has the file locked this waits, as long as LockWait tells.
    int step();

    /// Values of the current row, columns counted from 0. NULL reads as an empty text or 0.
    QString text(int column) const;
    int int32(int column) const;
    qint64 int64(int column) const;

    /// SQLite's message for the last failure of this statement, in UTF-8; empty if none failed.
    const char *errorText() const { return m_error.constData(); }

private:
    struct Finalizer {
        void operator()(sqlite3_stmt *statement) const;
    };

    template <class Call>
    int callUntilUnlocked(const Call &call);

    sqlite3 *m_handle;
    LockWait::Memory *m_lockMemory; ///< null: each waits for itself
    std::unique_ptr<sqlite3_stmt, Finalizer> m_statement;
    QByteArray m_error;
};
