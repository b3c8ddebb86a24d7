#pragma once
// The files of one database, in memory and without a name in any file system: they end with the
// process, also where it is killed, and reach a disk by the system's swap alone. Owner: the reader
// of the database, which closes its connection first. Thread: that of the connection.

#include <QByteArray>
#include <QString>

#include <map>
#include <sqlite3.h>

class NamelessFiles
{
public:
    NamelessFiles();
    ~NamelessFiles();
    Q_DISABLE_COPY_MOVE(NamelessFiles)

    /// Makes the content of the file at @p path known to SQLite as @p name. SQLite's result code:
    /// SQLITE_CANTOPEN if it cannot be read, SQLITE_FULL if there is no memory for it.
    int add(const QByteArray &name, const QString &path);

    /// The file system in which SQLite finds them, and nothing else. It has no locks, so there may
    /// be one connection, and no memory to share: a database with a log needs the locking mode
    /// "exclusive".
    const char *fileSystem() const { return m_name.constData(); }

private:
    static int open(sqlite3_vfs *system, const char *name, sqlite3_file *file, int flags,
                    int *givenFlags);
    static int remove(sqlite3_vfs *system, const char *name, int isToBeLasting);
    static int access(sqlite3_vfs *system, const char *name, int question, int *answer);

    std::map<QByteArray, int> m_descriptors; ///< by the name that SQLite knows
    QByteArray m_name;
    sqlite3_vfs m_system = {}; ///< registered with SQLite under that name
};
