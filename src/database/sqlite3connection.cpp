#include "database/sqlite3connection.h"

#include "database/likefunction.h"
#include "database/lockwait.h"
#include "database/stoppablescan.h"

#include <linux/magic.h>
#include <sys/vfs.h>

#include <sqlite3.h>

namespace
{
// The first is as much as SQLite maps at most: reads of up to 2 GB of a file take no copy and no
// system call. The sorter of a search over everything would otherwise write recognised text to the
// system's directory for temporary files.
constexpr char READ_FROM_MEMORY[] = "PRAGMA mmap_size=2147418112;";
constexpr char SORT_IN_MEMORY[] = "PRAGMA temp_store=MEMORY;";

int denyEverything(void *, int, const char *, const char *, const char *, const char *)
{
    return SQLITE_DENY;
}

// A file system behind a process or a network can go away, and with it the mapped pages: touching
// one would then end the process, where a failed read is an error like any other.
bool staysMapped(const QByteArray &path)
{
    struct statfs system = {};
    if (statfs(path.constData(), &system) != 0) {
        return false;
    }
    const auto type = static_cast<quint32>(system.f_type);
    return type != FUSE_SUPER_MAGIC && type != NFS_SUPER_MAGIC && type != CIFS_SUPER_MAGIC &&
           type != SMB2_SUPER_MAGIC;
}
} // namespace

SQLite3Connection::~SQLite3Connection()
{
    sqlite3_close(m_handle);
}

int SQLite3Connection::open(const QByteArray &path, const char *fileSystem)
{
    Q_ASSERT(!m_handle);
    const int result = sqlite3_open_v2(path.constData(), &m_handle,
                                       SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE, fileSystem);
    if (result == SQLITE_OK) {
        setUp(path);
    }
    return result;
}

int SQLite3Connection::openReadOnly(const QByteArray &path, bool isUnchanging)
{
    Q_ASSERT(!m_handle);
    const QByteArray name =
        "file:" + path.toPercentEncoding("/") + (isUnchanging ? "?immutable=1" : "?mode=ro");
    const int result = sqlite3_open_v2(name.constData(), &m_handle,
                                       SQLITE_OPEN_READONLY | SQLITE_OPEN_URI, nullptr);
    if (result == SQLITE_OK) {
        setUp(path);
    }
    return result;
}

// Nothing here changes what a statement gives, only when and how soon: a step that fails leaves the
// connection as good as any.
void SQLite3Connection::setUp(const QByteArray &path)
{
    sqlite3_busy_timeout(m_handle, LockWait::WITHIN_A_CALL_MS);
    sqlite3_exec(m_handle, SORT_IN_MEMORY, nullptr, nullptr, nullptr);
    if (staysMapped(path)) {
        sqlite3_exec(m_handle, READ_FROM_MEMORY, nullptr, nullptr, nullptr);
    }
    LikeFunction::install(m_handle);
    StoppableScan::install(m_handle);
}

void SQLite3Connection::retire()
{
    if (m_handle) {
        sqlite3_set_authorizer(m_handle, denyEverything, nullptr);
    }
}
