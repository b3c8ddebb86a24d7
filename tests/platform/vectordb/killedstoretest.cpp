// The store after its process was killed while it inserted, deleted and started. Run with
// "--work FOLDER NUMBER" it is the process that gets killed: it tells each change before it makes
// it and after it was acknowledged. Run with "--delete" it kills itself in the middle of a
// deletion.

#include "vectorworld.h"

#include <QCoreApplication>
#include <QFile>
#include <QProcess>
#include <QTest>

#include <algorithm>
#include <csignal>
#include <fcntl.h>
#include <random>
#include <set>
#include <sqlite3.h>
#include <sys/syscall.h>
#include <unistd.h>

using namespace VectorWorld;

namespace
{
constexpr std::size_t DIMENSION = 16;
constexpr int ROUNDS = 40;

void tell(const std::string &line)
{
    const std::string whole = line + '\n';
    if (write(STDOUT_FILENO, whole.data(), whole.size()) < 0) {
        _exit(2);
    }
}

std::vector<float> vectorOf(long number)
{
    return randomVector(DIMENSION, static_cast<unsigned>(number));
}

// Inserts one to three rows at a time from number on, and deletes a range now and then.
int work(const QString &directory, long number)
{
    const std::shared_ptr<Database> database = open(directory, DIMENSION);
    if (!database) {
        tell("failed");
        return 1;
    }
    std::mt19937 random(static_cast<unsigned>(number));
    for (;;) {
        if (random() % 8 == 0) {
            const long first = std::max(1L, number - static_cast<long>(random() % 60));
            const long last = first + static_cast<long>(random() % 10);
            const std::string range = std::to_string(first) + ' ' + std::to_string(last);
            tell("deleting " + range);
            if (erase(*database, first, last) < 0) {
                tell("failed");
                return 1;
            }
            tell("deleted " + range);
            continue;
        }
        std::vector<Row> rows;
        const long first = number;
        for (long count = 1 + static_cast<long>(random() % 3); count > 0; --count, ++number) {
            rows.push_back(row(number, vectorOf(number)));
        }
        const std::string range = std::to_string(first) + ' ' + std::to_string(number - 1);
        tell("inserting " + range);
        if (!insert(*database, rows).IsOk()) {
            tell("failed");
            return 1;
        }
        tell("inserted " + range);
    }
}

// Where the deletion is killed: after a statement, or before the matrix is cleared at the n-th
// place.
QByteArray g_lastStatement;
int g_holes = 0;

int dieAfterStatement(unsigned /*event*/, void * /*unused*/, void *statement, void * /*time*/)
{
    if (!g_lastStatement.isEmpty() &&
        sqlite3_sql(static_cast<sqlite3_stmt *>(statement)) == g_lastStatement) {
        raise(SIGKILL);
    }
    return 0;
}

int watchStatements(sqlite3 *handle, const char ** /*error*/, const sqlite3_api_routines * /*api*/)
{
    return sqlite3_trace_v2(handle, SQLITE_TRACE_PROFILE, &dieAfterStatement, nullptr);
}

// Deletes the rows from @p first on and is killed on the way.
int deleteAndDie(const QString &directory, long first, const QString &lastStatement, int holes)
{
    sqlite3_auto_extension(reinterpret_cast<void (*)()>(&watchStatements));
    const std::shared_ptr<Database> database = open(directory, DIMENSION);
    g_lastStatement = lastStatement.toLatin1();
    g_holes = holes;
    return database && erase(*database, first, 1000000) >= 0 ? 0 : 1;
}

// What must be stored, and what may or may not be: the change that was under way.
struct Expected {
    std::set<long> stored;
    std::set<long> open;
    bool isInsert = false;
    long next = 1;

    void read(const QByteArray &line)
    {
        const QList<QByteArray> words = line.split(' ');
        if (words.size() != 3) {
            return;
        }
        std::set<long> range;
        for (long number = words[1].toLong(); number <= words[2].toLong(); ++number) {
            range.insert(number);
        }
        if (words[0] == "inserting" || words[0] == "deleting") {
            isInsert = words[0] == "inserting";
            open = range;
            next = isInsert ? *range.rbegin() + 1 : next;
        } else {
            open.clear();
            for (const long number : range) {
                words[0] == "inserted" ? void(stored.insert(number)) : void(stored.erase(number));
            }
        }
    }
};
} // namespace

// The C library's own, replaced in this program.
extern "C" int fallocate(int file, int mode, off_t offset, off_t bytes)
{
    if (g_holes > 0 && --g_holes == 0) {
        raise(SIGKILL);
    }
    return static_cast<int>(syscall(SYS_fallocate, file, mode, offset, bytes));
}

class KilledStoreTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void everyAcknowledgedChangeStands();
    void aKilledDeletionIsWipedAtTheNextStart_data();
    void aKilledDeletionIsWipedAtTheNextStart();

private:
    void killAtSomePoint(Expected &expected);
    void compare(Expected &expected);

    std::mt19937 m_random{4711};
    QTemporaryDir m_directory;
};

void KilledStoreTest::killAtSomePoint(Expected &expected)
{
    QProcess process;
    process.start(QCoreApplication::applicationFilePath(),
                  {QStringLiteral("--work"), m_directory.path(), QString::number(expected.next)});
    QVERIFY(process.waitForStarted());
    const unsigned lines = m_random() % 120; // 0: while it starts
    QByteArray told;
    while (static_cast<unsigned>(told.count('\n')) < lines && process.waitForReadyRead(5000)) {
        told += process.readAllStandardOutput();
    }
    usleep(m_random() % 3000);
    ::kill(static_cast<pid_t>(process.processId()), SIGKILL);
    QVERIFY(process.waitForFinished());
    QCOMPARE(process.exitStatus(), QProcess::CrashExit);
    told += process.readAllStandardOutput();
    QVERIFY(!told.contains("failed"));
    told.truncate(told.lastIndexOf('\n') + 1);
    for (const QByteArray &line : told.split('\n')) {
        expected.read(line);
    }
}

void KilledStoreTest::compare(Expected &expected)
{
    const std::shared_ptr<Database> database = open(m_directory.path(), DIMENSION);
    QVERIFY(database);
    const std::vector<float> query = vectorOf(1000000);
    const Found found = search(*database, query, 1000000);
    std::set<long> stored;
    for (const std::string &id : found.ids) {
        stored.insert(std::stol(id));
    }
    QCOMPARE(stored.size(), found.ids.size());

    // A change that was under way is there as a whole or not at all.
    std::set<long> changed = expected.stored;
    for (const long number : expected.open) {
        expected.isInsert ? void(changed.insert(number)) : void(changed.erase(number));
    }
    QVERIFY2(stored == expected.stored || stored == changed,
             qPrintable(QStringLiteral("%1 rows, %2 expected, %3 with the open change")
                            .arg(stored.size())
                            .arg(expected.stored.size())
                            .arg(changed.size())));
    expected.stored = stored;
    expected.open.clear();

    std::vector<Row> rows;
    rows.reserve(stored.size());
    for (const long number : stored) {
        rows.push_back(row(number, vectorOf(number)));
    }
    const Found plain = bruteForce(rows, query, 1000000);
    QVERIFY(found.ids == plain.ids);
}

void KilledStoreTest::everyAcknowledgedChangeStands()
{
    Expected expected;
    std::size_t most = 0;
    for (int round = 0; round < ROUNDS; ++round) {
        killAtSomePoint(expected);
        if (round % 5 == 4) { // what is searched has to be built anew, under the next kill too
            QFile::remove(matrixFile(m_directory.path()));
        }
        // Some kills follow each other, where no change was open.
        if (round % 3 != 1 || !expected.open.empty()) {
            compare(expected);
        }
        if (QTest::currentTestFailed()) {
            return;
        }
        most = std::max(most, expected.stored.size());
    }
    QVERIFY2(most > 500, "too little was stored for a test");
}

void KilledStoreTest::aKilledDeletionIsWipedAtTheNextStart_data()
{
    QTest::addColumn<long>("kept");
    QTest::addColumn<long>("deleted");
    QTest::addColumn<QString>("statement");
    QTest::addColumn<int>("holes");
    const QString committed = QStringLiteral("COMMIT");
    const QString writtenAnew = QStringLiteral("VACUUM");
    QTest::newRow("few are left, committed") << 5L << 2500L << committed << 0;
    QTest::newRow("few are left, written anew") << 5L << 2500L << writtenAnew << 0;
    QTest::newRow("none is left, committed") << 0L << 2500L << committed << 0;
    QTest::newRow("many are left, committed") << 2100L << 100L << committed << 0;
    QTest::newRow("before codes are cleared") << 500L << 100L << QString() << 1;
    QTest::newRow("before floats are cleared") << 500L << 100L << QString() << 2;
}

void KilledStoreTest::aKilledDeletionIsWipedAtTheNextStart()
{
    QFETCH(long, kept);
    QFETCH(long, deleted);
    QFETCH(QString, statement);
    QFETCH(int, holes);
    const QTemporaryDir directory;
    {
        const std::shared_ptr<Database> database = open(directory.path(), DIMENSION);
        std::vector<Row> rows = markedRows(DIMENSION, kept + 1, kept + deleted);
        for (long number = kept; number > 0; --number) {
            rows.insert(rows.begin(), row(number, vectorOf(number)));
        }
        QVERIFY(database && insert(*database, rows).IsOk());
    }
    QProcess process;
    process.start(QCoreApplication::applicationFilePath(),
                  {QStringLiteral("--delete"), directory.path(), QString::number(kept + 1),
                   statement, QString::number(holes)});
    QVERIFY(process.waitForFinished());
    QCOMPARE(process.exitStatus(), QProcess::CrashExit);
    QVERIFY(marksIn(directory.path()) > 0);

    const std::shared_ptr<Database> database = open(directory.path(), DIMENSION);
    QVERIFY(database);
    QCOMPARE(marksIn(directory.path()), 0);
    QCOMPARE(search(*database, vectorOf(1), 1000000).ids.size(), static_cast<std::size_t>(kept));
}

int main(int argc, char **argv)
{
    QCoreApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.size() == 4 && arguments[1] == QLatin1String("--work")) {
        return work(arguments[2], arguments[3].toLong());
    }
    if (arguments.size() == 6 && arguments[1] == QLatin1String("--delete")) {
        return deleteAndDie(arguments[2], arguments[3].toLong(), arguments[4],
                            arguments[5].toInt());
    }
    KilledStoreTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "killedstoretest.moc"
