// Months read beside a writer: it gets in between two parts, and not at all in the way of a copy;
// several months come in their order.

#include "history/monthrows.h"
#include "history/monthscan.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>
#include <QThread>

#include <atomic>
#include <memory>
#include <sqlite3.h>

namespace
{
constexpr int ROWS = 1000;
const QString MONTH = QStringLiteral("2024-03");

struct Closer {
    void operator()(sqlite3 *handle) const { sqlite3_close(handle); }
};
using Handle = std::unique_ptr<sqlite3, Closer>;

Handle openDatabase(const QString &path)
{
    sqlite3 *handle = nullptr;
    sqlite3_open(QFile::encodeName(path).constData(), &handle);
    return Handle(handle);
}

int run(const Handle &handle, const QByteArray &sql)
{
    return sqlite3_exec(handle.get(), sql.constData(), nullptr, nullptr, nullptr);
}

constexpr char TABLE[] =
    "CREATE TABLE screenshots (id INTEGER PRIMARY KEY AUTOINCREMENT,video_name TEXT NOT "
    "NULL,ocr_text TEXT,frame_index_of_video INTEGER NOT NULL,frame_index_of_day INTEGER NOT "
    "NULL,real_time INTEGER NOT NULL,desktop_file_path TEXT);";
constexpr char ONE_MORE[] = "INSERT INTO screenshots VALUES (NULL, 'v', 'late', 1, 1, 0, 'a')";

QByteArray rows(int count, const QByteArray &text)
{
    return "WITH RECURSIVE n(i) AS (VALUES (1) UNION ALL SELECT i + 1 FROM n WHERE i < " +
           QByteArray::number(count) + ") INSERT INTO screenshots SELECT NULL, 'v', '" + text +
           "', i, i, i, 'a' FROM n";
}

/// An insert that is waiting for a reader holds off the next reader until it is done.
class WaitingInsert
{
public:
    explicit WaitingInsert(const QString &path)
        : m_handle(openDatabase(path)), m_thread(QThread::create([this] {
            sqlite3_busy_handler(m_handle.get(), wait, this);
            m_result = run(m_handle, ONE_MORE);
            m_isDone = true;
        }))
    {
        m_thread->start();
    }
    ~WaitingInsert() { m_thread->wait(); }
    Q_DISABLE_COPY(WaitingInsert)

    bool isWaiting() const { return m_isWaiting; }
    bool isDone() const { return m_isDone; }
    int result() const { return m_result; }

private:
    static int wait(void *insert, int waitsBefore)
    {
        constexpr int mostWaits = 20000;
        static_cast<WaitingInsert *>(insert)->m_isWaiting = true;
        sqlite3_sleep(1);
        return waitsBefore < mostWaits ? 1 : 0;
    }

    Handle m_handle;
    std::atomic<bool> m_isWaiting{false};
    std::atomic<bool> m_isDone{false};
    std::atomic<int> m_result{-1};
    std::unique_ptr<QThread> m_thread;
};
} // namespace

class TestMonthRows : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();

    void writerGetsInBetweenTwoParts();
    void copyIsInNobodysWay();
    void copyIsAsLongAsTheFile();
    void rowsThatCameSinceAreFound();
    void gapsOfAnyWidthArePassedOver();
    void monthsComeInTheirOrder();
    void scanCanBeGivenUp();
    void missingMonthIsUnreadable();

private:
    QString file(const QString &month) const
    {
        return m_folder->filePath(month + QLatin1String(".db"));
    }

    std::unique_ptr<QTemporaryDir> m_folder;
};

void TestMonthRows::init()
{
    m_folder = std::make_unique<QTemporaryDir>();
    const Handle handle = openDatabase(file(MONTH));
    QCOMPARE(run(handle, TABLE), SQLITE_OK);
    QCOMPARE(run(handle, rows(ROWS, "first")), SQLITE_OK);
}

void TestMonthRows::writerGetsInBetweenTwoParts()
{
    std::unique_ptr<WaitingInsert> insert;
    int seen = 0;
    int seenAtItsEnd = 0;
    MonthRows month(m_folder->path(), MONTH);
    QVERIFY(month.forEach({}, [&](const ScreenShotData &) {
        if (++seen == 1) {
            insert = std::make_unique<WaitingInsert>(file(MONTH));
            QTRY_VERIFY_WITH_TIMEOUT(insert->isWaiting(), 15000);
            QVERIFY(!insert->isDone());
        }
        if (seenAtItsEnd == 0 && insert->isDone()) {
            seenAtItsEnd = seen;
        }
    }));
    QCOMPARE(seen, ROWS);
    QVERIFY2(seenAtItsEnd > 1 && seenAtItsEnd <= ROWS / 2, QByteArray::number(seenAtItsEnd));
    QCOMPARE(insert->result(), SQLITE_OK);
}

void TestMonthRows::copyIsInNobodysWay()
{
    ReadOnlyDatabase database(file(MONTH));
    QVERIFY(database.copyToMemory());
    const Handle writer = openDatabase(file(MONTH)); // which waits for nobody
    int seen = 0;
    QVERIFY(database.forEach("SELECT id FROM screenshots", [&](const Statement &) {
        if (++seen == 1) {
            QCOMPARE(run(writer, ONE_MORE), SQLITE_OK);
        }
    }));
    QCOMPARE(seen, ROWS);
    QCOMPARE(ReadOnlyDatabase(file(MONTH)).value("SELECT count(*) FROM screenshots"),
             QString::number(ROWS + 1));
}

void TestMonthRows::copyIsAsLongAsTheFile()
{
    // Several parts of a copy.
    QCOMPARE(run(openDatabase(file(MONTH)), rows(3000, QByteArray(2000, 'x'))), SQLITE_OK);
    ReadOnlyDatabase database(file(MONTH));
    QVERIFY(database.copyToMemory());
    QCOMPARE(database.value("SELECT count(*) FROM screenshots"), QString::number(ROWS + 3000));
    QCOMPARE(database.value("PRAGMA quick_check"), QString("ok"));
}

void TestMonthRows::rowsThatCameSinceAreFound()
{
    MonthRows month(m_folder->path(), MONTH);
    int seen = 0;
    QVERIFY(month.forEach({"late", {}, {}, true}, [&](const ScreenShotData &) { ++seen; }));
    QCOMPARE(seen, 0);
    QCOMPARE(run(openDatabase(file(MONTH)), ONE_MORE), SQLITE_OK);
    QVERIFY(month.forEach({"LATE", {}, {}, true}, [&](const ScreenShotData &) { ++seen; }));
    QCOMPARE(seen, 1);
}

// A damaged file may hold any number: part after part up to it would take for ever.
void TestMonthRows::gapsOfAnyWidthArePassedOver()
{
    const Handle handle = openDatabase(file(MONTH));
    QCOMPARE(run(handle, "INSERT INTO screenshots VALUES (9223372036854775000, 'v', 't', 1, 1, 0, "
                         "'a'), (9223372036854775807, 'v', 't', 2, 2, 0, 'a')"),
             SQLITE_OK);
    MonthRows month(m_folder->path(), MONTH);
    int seen = 0;
    QVERIFY(month.forEach({}, [&seen](const ScreenShotData &) { ++seen; }));
    QCOMPARE(seen, ROWS + 2);
}

void TestMonthRows::monthsComeInTheirOrder()
{
    for (int number = 1; number <= 12; ++number) {
        const QString name = QStringLiteral("2023-%1").arg(number, 2, 10, QLatin1Char('0'));
        const Handle handle = openDatabase(file(name));
        QCOMPARE(run(handle, TABLE), SQLITE_OK);
        QCOMPARE(run(handle, rows(number * 100, "of a month")), SQLITE_OK);
    }
    const QStringList months = MonthRows::months(m_folder->path());
    QCOMPARE(months.size(), 13);
    QCOMPARE(months.first(), MONTH);
    QCOMPARE(months.last(), QString("2023-01"));
    MonthScan scan(m_folder->path(), months, {});
    for (const QString &name : months) {
        const auto month = scan.next();
        QVERIFY(month);
        QCOMPARE(month->name, name);
        QCOMPARE(month->rows.size(), name == MONTH ? ROWS : name.right(2).toInt() * 100);
        QCOMPARE(month->rows.first().frameIndexOfDay, 1U);
    }
    QVERIFY(!scan.next());
}

void TestMonthRows::scanCanBeGivenUp()
{
    constexpr int many = 200;
    const QStringList months = QVector<QString>(many, MONTH).toList();
    MonthScan scan(m_folder->path(), months, {});
    QCOMPARE(scan.next()->rows.size(), ROWS);
    MonthScan untouched(m_folder->path(), months, {});
    Q_UNUSED(untouched)
}

void TestMonthRows::missingMonthIsUnreadable()
{
    MonthRows month(m_folder->path(), "2022-02");
    QVERIFY(!month.forEach({}, [](const ScreenShotData &) {}));
    QVERIFY(month.state() == ReadOnlyDatabase::State::Unreadable);
    QVERIFY(!month.last());
    QCOMPARE(QDir(m_folder->path()).entryList(QDir::Files), QStringList{MONTH + ".db"});
}

QTEST_GUILESS_MAIN(TestMonthRows)
#include "monthrowstest.moc"
