#include "database/sqlite3connection.h"

#include <sqlite3.h>

SQLite3Connection::~SQLite3Connection()
{
    sqlite3_close(m_handle);
}

int SQLite3Connection::open(const QByteArray &path)
{
    Q_ASSERT(!m_handle);
    return sqlite3_open(path.constData(), &m_handle);
}
