// Databases that a killed writer has left with its journal or its log: they are read as SQLite
// would mend them, in a copy that no file system ever shows.

#include "history/readonlydatabase.h"
#include "database/sqlite3connection.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

#include <csignal>
#include <memory>
#include <sqlite3.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace
{
constexpr char TABLE[] =
    "PRAGMA cache_size=1; CREATE TABLE texts (id INTEGER PRIMARY KEY, text TEXT NOT NULL);"
    "WITH RECURSIVE n(i) AS (VALUES (1) UNION ALL SELECT i + 1 FROM n WHERE i < 1000) "
    "INSERT INTO texts SELECT i, hex(randomblob(100)) FROM n;";
constexpr char HALF_A_CHANGE[] = "PRAGMA cache_size=1; BEGIN; DELETE FROM texts WHERE id <= 500";
constexpr char CHANGE_IN_A_LOG[] = "PRAGMA journal_mode=WAL; DELETE FROM texts WHERE id <= 500";
constexpr char COUNT[] = "SELECT count(*) FROM texts";

bool change(const QString &path, const char *sql)
{
    SQLite3Connection writer;
    return writer.open(QFile::encodeName(path)) == SQLITE_OK &&
           sqlite3_exec(writer.handle(), sql, nullptr, nullptr, nullptr) == SQLITE_OK;
}

/// Does @p work in a process that is killed at its end. Whether it came to that.
template <typename Work>
bool runAndKill(const Work &work)
{
    const pid_t child = ::fork();
    if (child == 0) {
        work();
        ::raise(SIGKILL);
    }
    int ended = 0;
    return ::waitpid(child, &ended, 0) == child && WIFSIGNALED(ended) && WTERMSIG(ended) == SIGKILL;
}

/// A writer that is killed before it closes the file.
bool changeAndKill(const QString &path, const char *sql)
{
    return runAndKill([&] {
        SQLite3Connection writer;
        if (writer.open(QFile::encodeName(path)) != SQLITE_OK ||
            sqlite3_exec(writer.handle(), sql, nullptr, nullptr, nullptr) != SQLITE_OK) {
            ::_exit(1);
        }
        ::raise(SIGKILL);
    });
}

/// Holds files of this process to one page.
class NoLongFiles
{
public:
    NoLongFiles()
    {
        ::getrlimit(RLIMIT_FSIZE, &m_before);
        const rlimit onePage = {4096, m_before.rlim_max};
        ::setrlimit(RLIMIT_FSIZE, &onePage);
        m_handler = ::signal(SIGXFSZ, SIG_IGN);
    }
    ~NoLongFiles()
    {
        ::setrlimit(RLIMIT_FSIZE, &m_before);
        ::signal(SIGXFSZ, m_handler);
    }
    Q_DISABLE_COPY_MOVE(NoLongFiles)

private:
    rlimit m_before = {};
    sighandler_t m_handler = SIG_DFL;
};
} // namespace

class TestReadOnlyDatabase : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void whatAKilledWriterLeftIsReadInACopy_data() { leftFiles(); }
    void whatAKilledWriterLeftIsReadInACopy();
    void noFileSystemShowsTheCopy_data() { leftFiles(); }
    void noFileSystemShowsTheCopy();
    void noRoomForACopyIsTold();

private:
    static void leftFiles();
    QString path() const { return m_folder->filePath("a.db"); }
    QMap<QString, QByteArray> files() const;
    QStringList inMemory() const
    {
        return QDir(m_memory->path()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot);
    }

    std::unique_ptr<QTemporaryDir> m_folder;
    std::unique_ptr<QTemporaryDir> m_memory;
    QByteArray m_runtime;
};

void TestReadOnlyDatabase::init()
{
    m_folder = std::make_unique<QTemporaryDir>();
    QVERIFY(change(path(), TABLE));
    // Where a program that wants memory with a name would have it.
    m_memory = std::make_unique<QTemporaryDir>("/dev/shm/test-XXXXXX");
    m_runtime = qgetenv("XDG_RUNTIME_DIR");
    qputenv("XDG_RUNTIME_DIR", QFile::encodeName(m_memory->path()));
}

void TestReadOnlyDatabase::cleanup()
{
    qputenv("XDG_RUNTIME_DIR", m_runtime);
}

QMap<QString, QByteArray> TestReadOnlyDatabase::files() const
{
    QMap<QString, QByteArray> contents;
    for (const QString &name : QDir(m_folder->path()).entryList(QDir::Files)) {
        QFile file(m_folder->filePath(name));
        contents[name] = file.open(QFile::ReadOnly) ? file.readAll() : QByteArray();
    }
    return contents;
}

void TestReadOnlyDatabase::leftFiles()
{
    QTest::addColumn<QByteArray>("sql");
    QTest::addColumn<QString>("left");
    QTest::addColumn<QString>("rows");
    QTest::newRow("a journal takes back") << QByteArray(HALF_A_CHANGE) << "a.db-journal"
                                          << "1000";
    QTest::newRow("a log adds") << QByteArray(CHANGE_IN_A_LOG) << "a.db-wal"
                                << "500";
}

void TestReadOnlyDatabase::whatAKilledWriterLeftIsReadInACopy()
{
    QFETCH(QByteArray, sql);
    QFETCH(QString, left);
    QVERIFY(changeAndKill(path(), sql.constData()));
    const QMap<QString, QByteArray> before = files();
    QVERIFY(!before.value(left).isEmpty());
    {
        ReadOnlyDatabase database(path());
        QTEST(database.value(COUNT), "rows");
        QCOMPARE(database.value("PRAGMA quick_check"), QString("ok"));
        QTEST(database.value(COUNT), "rows"); // and a second statement
        QVERIFY(database.copyToMemory());
        QTEST(database.value(COUNT), "rows");
        QVERIFY(database.state() == ReadOnlyDatabase::State::Open);
    }
    QCOMPARE(files(), before);
}

// A copy with a name would outlive a reader that is killed.
void TestReadOnlyDatabase::noFileSystemShowsTheCopy()
{
    QFETCH(QByteArray, sql);
    QFETCH(QString, rows);
    QVERIFY(changeAndKill(path(), sql.constData()));
    const QMap<QString, QByteArray> before = files();
    QVERIFY(runAndKill([&] {
        ReadOnlyDatabase database(path());
        if (database.value(COUNT) != rows) {
            ::_exit(1);
        }
        ::raise(SIGKILL);
    }));
    QCOMPARE(inMemory(), QStringList());
    QCOMPARE(files(), before);
}

void TestReadOnlyDatabase::noRoomForACopyIsTold()
{
    QVERIFY(changeAndKill(path(), HALF_A_CHANGE));
    ReadOnlyDatabase database(path());
    {
        const NoLongFiles limit;
        QCOMPARE(database.value(COUNT), QString());
    }
    QVERIFY(database.state() == ReadOnlyDatabase::State::Unreadable);
    QCOMPARE(database.errorText(), QString("no room in memory for a copy"));
    QCOMPARE(database.value(COUNT), QString()); // not that of half a copy
}

QTEST_GUILESS_MAIN(TestReadOnlyDatabase)
#include "readonlydatabasetest.moc"
