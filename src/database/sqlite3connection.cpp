#include "database/sqlite3connection.h"

#include <sqlite3.h>

namespace
{
int denyEverything(void *, int, const char *, const char *, const char *, const char *)
{
    return SQLITE_DENY;
}
} // namespace

SQLite3Connection::~SQLite3Connection()
{
    sqlite3_close(m_handle);
}

int SQLite3Connection::open(const QByteArray &path)
{
    Q_ASSERT(!m_handle);
    return sqlite3_open(path.constData(), &m_handle);
}

void SQLite3Connection::retire()
{
    if (m_handle) {
        sqlite3_set_authorizer(m_handle, denyEverything, nullptr);
    }
}
