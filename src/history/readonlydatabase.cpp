#include "history/readonlydatabase.h"

#include "database/lockwait.h"
#include "database/sqlite3connection.h"
#include "history/namelessfiles.h"

#include <QFile>
#include <QFileInfo>

#include <sqlite3.h>

namespace
{
constexpr char JOURNAL[] = "-journal";
constexpr char LOG[] = "-wal";
constexpr char COPY[] = "copy.db";

// Needs no index beside the log.
constexpr char KEEP_TO_ONESELF[] = "PRAGMA locking_mode=EXCLUSIVE;";

// SQLite's file format: this byte of the head is 2 for a file that is written by way of a log.
constexpr int READ_VERSION_AT = 19;
constexpr char WITH_LOG = 2;

// The log's head, which changes whenever the log begins anew.
constexpr int LOG_HEAD_BYTES = 32;

// A megabyte: a part takes less than a millisecond, and that is what a writer may wait for it.
constexpr int PAGES_OF_PART = 256;
// A copy begins again whenever somebody has written. Past so many times its length it is taken in
// one part: only a file that is written to all the time, which no recorder does, comes to this.
constexpr int GREATEST_DETOUR = 4;

constexpr int COPY_ATTEMPTS = 3;

QByteArray firstBytes(const QString &path, int count)
{
    QFile file(path);
    return file.open(QFile::ReadOnly) ? file.read(count) : QByteArray();
}

bool usesLog(const QString &path)
{
    const QByteArray head = firstBytes(path, READ_VERSION_AT + 1);
    return head.size() > READ_VERSION_AT && head.at(READ_VERSION_AT) == WITH_LOG;
}

bool isBusy(int result)
{
    const int primaryCode = result & 0xff;
    return primaryCode == SQLITE_BUSY || primaryCode == SQLITE_LOCKED;
}

int stepUntilUnlocked(sqlite3_backup *copy, int pages)
{
    LockWait wait(nullptr);
    int result = SQLITE_OK;
    do {
        result = sqlite3_backup_step(copy, pages);
    } while (wait.isToGoOn(result));
    return result;
}

/// The result code of a backup.
int copyByParts(sqlite3 *from, sqlite3 *to)
{
    sqlite3_backup *copy = sqlite3_backup_init(to, "main", from, "main");
    if (!copy) {
        return sqlite3_errcode(to);
    }
    int part = PAGES_OF_PART;
    int copied = 0;
    int result = SQLITE_OK;
    while ((result = stepUntilUnlocked(copy, part)) == SQLITE_OK) {
        copied += part;
        if (copied / GREATEST_DETOUR > sqlite3_backup_pagecount(copy) + PAGES_OF_PART) {
            part = -1;
        }
    }
    sqlite3_backup_finish(copy);
    return result;
}
} // namespace

ReadOnlyDatabase::ReadOnlyDatabase(const QString &path) : m_path(path)
{
    open();
}

ReadOnlyDatabase::~ReadOnlyDatabase() = default;

bool ReadOnlyDatabase::open()
{
    // Otherwise a file with a log would get an index beside it, and one that is in use could not be
    // read at all.
    const bool hasLog = usesLog(m_path);
    if (hasLog && QFileInfo(m_path + QLatin1String(LOG)).size() > 0) {
        return openCopy(LOG);
    }
    m_isOurs = hasLog;
    m_connection = std::make_unique<SQLite3Connection>();
    return opened(m_connection->openReadOnly(QFile::encodeName(m_path), hasLog));
}

bool ReadOnlyDatabase::opened(int result)
{
    if (result == SQLITE_OK) {
        return true;
    }
    fail(result);
    m_connection.reset();
    return false;
}

bool ReadOnlyDatabase::openCopy(const char *journalSuffix)
{
    const QString journal = m_path + QLatin1String(journalSuffix);
    for (int attempt = 0; attempt < COPY_ATTEMPTS; ++attempt) {
        m_connection.reset();
        m_copy = std::make_unique<NamelessFiles>();
        const QByteArray before = firstBytes(journal, LOG_HEAD_BYTES);
        const int file = m_copy->add(COPY, m_path);
        const int itsJournal = m_copy->add(QByteArray(COPY) + journalSuffix, journal);
        if (file == SQLITE_FULL || itsJournal == SQLITE_FULL) {
            return fail(SQLITE_FULL);
        }
        // The same journal is there still: whatever was written back to the file meanwhile stands
        // in its copy as well.
        if (file == SQLITE_OK && itsJournal == SQLITE_OK &&
            firstBytes(journal, LOG_HEAD_BYTES) == before) {
            return openCopied();
        }
    }
    return fail(SQLITE_BUSY);
}

bool ReadOnlyDatabase::openCopied()
{
    m_isOurs = true;
    m_connection = std::make_unique<SQLite3Connection>();
    if (!opened(m_connection->open(COPY, m_copy->fileSystem()))) {
        return false;
    }
    sqlite3_exec(m_connection->handle(), KEEP_TO_ONESELF, nullptr, nullptr, nullptr);
    return true;
}

bool ReadOnlyDatabase::forEach(const char *sql, const Use &use, const Bind &bind)
{
    int result = run(sql, use, bind);
    // Left by a kill, or somebody is in the middle of a long change: a copy with its journal is the
    // file as it was before. Either is found at the beginning of a statement, so no row has been
    // handed out.
    const bool isUnfinished = result == SQLITE_READONLY_ROLLBACK || isBusy(result);
    if (isUnfinished && !m_copy && QFileInfo(m_path + QLatin1String(JOURNAL)).size() > 0) {
        result = openCopy(JOURNAL) ? run(sql, use, bind) : SQLITE_BUSY;
    }
    return result == SQLITE_DONE;
}

int ReadOnlyDatabase::run(const char *sql, const Use &use, const Bind &bind)
{
    if (!m_connection) {
        return SQLITE_MISUSE;
    }
    m_state = State::Open;
    m_error.clear();
    Statement statement(m_connection.get(), sql);
    int result = SQLITE_ERROR;
    if (statement.isPrepared()) {
        if (bind) {
            bind(statement);
        }
        while ((result = statement.step()) == SQLITE_ROW) {
            use(statement);
        }
    }
    if (result != SQLITE_DONE) {
        result = sqlite3_extended_errcode(m_connection->handle());
        fail(result);
    }
    return result;
}

QString ReadOnlyDatabase::value(const char *sql)
{
    QString found;
    forEach(sql, [&found](const Statement &row) {
        if (found.isEmpty()) {
            found = row.text(0);
        }
    });
    return found;
}

bool ReadOnlyDatabase::copyToMemory()
{
    // Finds a journal that has to be worked off.
    if (!forEach("PRAGMA schema_version", [](const Statement &) {}) || m_isOurs) {
        return m_isOurs;
    }
    auto copy = std::make_unique<SQLite3Connection>();
    int result = copy->open(":memory:");
    if (result == SQLITE_OK) {
        result = copyByParts(m_connection->handle(), copy->handle());
    }
    if (result != SQLITE_DONE) {
        return fail(result);
    }
    m_connection = std::move(copy);
    m_isOurs = true;
    return true;
}

bool ReadOnlyDatabase::fail(int result)
{
    m_state = isBusy(result) ? State::Busy : State::Unreadable;
    if (result == SQLITE_FULL) {
        m_error = QStringLiteral("no room in memory for a copy");
        return false;
    }
    sqlite3 *handle = m_connection ? m_connection->handle() : nullptr;
    m_error = QString::fromUtf8(handle ? sqlite3_errmsg(handle) : sqlite3_errstr(result));
    return false;
}
