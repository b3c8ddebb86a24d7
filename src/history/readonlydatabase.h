#pragma once
// An SQLite file opened to be looked at, never changed. Owner: the reader, on its stack. Thread:
// the one that made it.

#include <QByteArray>
#include <QString>
#include <QTemporaryDir>

#include <functional>
#include <memory>

struct sqlite3;
struct sqlite3_stmt;

namespace HistoryChecker
{
class ReadOnlyDatabase
{
public:
    /// @p journalSuffix is "-journal" or "-wal": where such a file stands beside the database, both
    /// are copied, and what a kill left undone is undone in the copy.
    ReadOnlyDatabase(const QString &path, const char *journalSuffix);
    ~ReadOnlyDatabase();
    Q_DISABLE_COPY_MOVE(ReadOnlyDatabase)

    /// Hands every row to @p use. False, with errorText(), if the statement fails.
    bool forEach(const char *sql, const std::function<void(const ReadOnlyDatabase &)> &use);

    /// The first column of the first row, or an empty text.
    QString value(const char *sql);

    /// Columns of the present row.
    QString text(int column) const;
    qint64 number(int column) const;

    QString errorText() const { return m_error; }

private:
    struct Closer {
        void operator()(sqlite3 *handle) const;
    };
    std::unique_ptr<QTemporaryDir> m_copy;
    std::unique_ptr<sqlite3, Closer> m_handle;
    sqlite3_stmt *m_row = nullptr; ///< while forEach() runs
    QString m_error;
};
} // namespace HistoryChecker
