#pragma once
// Owns one SQLite connection. Owner: a std::shared_ptr in every holder, so that a read on another
// thread keeps its connection while the store lets go of it. Thread: any; SQLite's serialised mode
// guards the handle.

#include <QByteArray>

struct sqlite3;

class SQLite3Connection
{
public:
    SQLite3Connection() = default;
    ~SQLite3Connection();
    Q_DISABLE_COPY_MOVE(SQLite3Connection)

    /// Opens the file at @p path in the file system's encoding, making it if it is missing, and
    /// sets the connection up: calls wait a moment for another process's lock (a LockWait makes
    /// more of it), reads are memory-mapped where the file system allows it, LIKE is our own, and a
    /// StoppableScan can end early. To be called once. Gives SQLite's result code; after a failure
    /// the handle, if there is one, still tells the reason. A @p fileSystem is one that SQLite was
    /// told of.
    int open(const QByteArray &path, const char *fileSystem = nullptr);

    /// The same for a file that is only looked at: it is neither made nor changed, and nothing is
    /// made beside it. A statement holds off a writer for as long as it runs, so it must be short.
    /// A file that a killed writer has left with a journal can be opened, but its statements fail
    /// with SQLITE_READONLY_ROLLBACK. With @p isUnchanging no lock is asked for: for a file that
    /// nobody writes to.
    int openReadOnly(const QByteArray &path, bool isUnchanging = false);

    /// From now on no statement can begin on this connection; one that has begun goes on. To be
    /// called before another file takes the name of the connection's: a read that begins later
    /// would mistake that file's journal for one left by a crash, and remove it.
    void retire();

    /// Null before open() and if SQLite had no memory for a handle.
    sqlite3 *handle() const { return m_handle; }

private:
    void setUp(const QByteArray &path);

    sqlite3 *m_handle = nullptr;
};
