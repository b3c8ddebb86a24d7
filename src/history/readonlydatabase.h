#pragma once
// An SQLite file opened to be looked at, never changed and never made, though a recorder may be
// writing to it or have been killed while it did. Owner: the reader, on its stack. Thread: the one
// that made it.

#include "database/statement.h"

#include <QString>

#include <functional>
#include <memory>

class NamelessFiles;
class SQLite3Connection;

class ReadOnlyDatabase
{
public:
    enum class State {
        Open,
        Busy,      ///< another process has kept it locked for five seconds
        Unreadable ///< missing, not permitted, damaged, or no room for a copy: errorText() tells
    };

    using Bind = std::function<void(Statement &)>;
    using Use = std::function<void(const Statement &)>;

    /// Opens the file at @p path. Where a kill has left its journal or log to be worked off, that
    /// is done in a copy, which lies in memory without a name and goes with this object, or with
    /// the process.
    explicit ReadOnlyDatabase(const QString &path);
    ~ReadOnlyDatabase();
    Q_DISABLE_COPY_MOVE(ReadOnlyDatabase)

    /// Hands every row to @p use. It holds off a writer until the last row, so many rows are to be
    /// fetched by parts. False, with state() and errorText(), if the statement fails.
    bool forEach(const char *sql, const Use &use, const Bind &bind = {});

    /// The first column of the first row, or an empty text.
    QString value(const char *sql);

    /// From now on statements run on a copy of the whole file in memory, which was taken by parts:
    /// however long they take, no writer waits for them. False, as above, if that cannot be.
    bool copyToMemory();

    State state() const { return m_state; }
    QString errorText() const { return m_error; }

private:
    bool open();
    bool opened(int result);
    bool openCopy(const char *journalSuffix);
    bool openCopied();
    int run(const char *sql, const Use &use, const Bind &bind);
    bool fail(int result);

    const QString m_path;
    std::unique_ptr<NamelessFiles> m_copy;           ///< null unless a journal had to be worked off
    std::unique_ptr<SQLite3Connection> m_connection; ///< null if there is nothing to read
    bool m_isOurs = false;                           ///< nobody waits for statements on it
    State m_state = State::Open;
    QString m_error;
};
