#include "history/readonlydatabase.h"

#include <QFile>
#include <QUrl>

#include <sqlite3.h>

namespace HistoryChecker
{
void ReadOnlyDatabase::Closer::operator()(sqlite3 *handle) const
{
    sqlite3_close(handle);
}

ReadOnlyDatabase::ReadOnlyDatabase(const QString &path, const char *journalSuffix)
{
    const QString journal = path + QLatin1String(journalSuffix);
    QByteArray name;
    int flags = SQLITE_OPEN_READONLY | SQLITE_OPEN_URI;
    if (QFile::exists(journal)) {
        m_copy = std::make_unique<QTemporaryDir>();
        name = QFile::encodeName(m_copy->filePath(QStringLiteral("copy.db")));
        QFile::copy(path, m_copy->filePath(QStringLiteral("copy.db")));
        QFile::copy(journal,
                    m_copy->filePath(QLatin1String("copy.db") + QLatin1String(journalSuffix)));
        flags = SQLITE_OPEN_READWRITE;
    } else {
        // Otherwise a file in WAL mode would get its log and index beside it.
        name = QUrl::fromLocalFile(path).toEncoded() + "?immutable=1";
    }
    sqlite3 *handle = nullptr;
    const int result = sqlite3_open_v2(name.constData(), &handle, flags, nullptr);
    m_handle.reset(handle);
    if (result != SQLITE_OK) {
        m_error = QString::fromUtf8(sqlite3_errmsg(handle));
        m_handle.reset();
    }
}

ReadOnlyDatabase::~ReadOnlyDatabase() = default;

bool ReadOnlyDatabase::forEach(const char *sql,
                               const std::function<void(const ReadOnlyDatabase &)> &use)
{
    if (!m_handle) {
        return false;
    }
    sqlite3_stmt *statement = nullptr;
    int result = sqlite3_prepare_v2(m_handle.get(), sql, -1, &statement, nullptr);
    if (result == SQLITE_OK) {
        m_row = statement;
        while ((result = sqlite3_step(statement)) == SQLITE_ROW) {
            use(*this);
        }
        m_row = nullptr;
    }
    if (result != SQLITE_DONE) {
        m_error = QString::fromUtf8(sqlite3_errmsg(m_handle.get()));
    }
    sqlite3_finalize(statement);
    return result == SQLITE_DONE;
}

QString ReadOnlyDatabase::value(const char *sql)
{
    QString found;
    forEach(sql, [&found](const ReadOnlyDatabase &row) {
        if (found.isEmpty()) {
            found = row.text(0);
        }
    });
    return found;
}

QString ReadOnlyDatabase::text(int column) const
{
    return QString::fromUtf8(reinterpret_cast<const char *>(sqlite3_column_text(m_row, column)));
}

qint64 ReadOnlyDatabase::number(int column) const
{
    return sqlite3_column_int64(m_row, column);
}
} // namespace HistoryChecker
