// What reads and saves give when a month's file is empty, cut short, damaged, read-only, or locked
// by another process. Run with arguments it is that other process.

#include "database/ocrscreenshotdatabase.h"

#include "storetest.h"
#include "support/logcapture.h"
#include "support/testfiles.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QTest>
#include <QThread>

#include <cstdio>
#include <memory>
#include <unistd.h>
#include <vector>

#include <sqlite3.h>

using TestStore::frame;
using TestStore::query;
using TestStore::value;

namespace
{
constexpr char COUNT[] = "SELECT count(*) FROM screenshots;";
constexpr char HOLD_LOCK[] = "--hold-lock";
constexpr int PAGE = 4096;
const QString DAMAGED_DAY = QStringLiteral("2024-02-10");
const QString PREPARE_FAILED = QStringLiteral("Error preparing statement: ");
const QString STEP_FAILED = QStringLiteral("Error executing statement: ");
const QString LOCKED = QStringLiteral("database is locked");

// What another process does with a database.
constexpr char WRITE[] = "BEGIN EXCLUSIVE;";                        // keeps everybody out
constexpr char READ[] = "BEGIN; SELECT count(*) FROM screenshots;"; // keeps writers from their end

// Does so for some milliseconds, or until it is killed.
int holdLock(const char *path, int milliseconds, const char *sql)
{
    sqlite3 *handle = nullptr;
    if (sqlite3_open(path, &handle) != SQLITE_OK ||
        sqlite3_exec(handle, sql, nullptr, nullptr, nullptr) != SQLITE_OK) {
        return 1;
    }
    std::puts("locked");
    std::fflush(stdout);
    QThread::msleep(static_cast<unsigned long>(milliseconds));
    sqlite3_close(handle);
    return 0;
}

class Locker
{
public:
    Locker(const QString &path, int milliseconds, const char *sql = WRITE)
    {
        m_process.start(QCoreApplication::applicationFilePath(),
                        {QString::fromLatin1(HOLD_LOCK), path, QString::number(milliseconds),
                         QString::fromLatin1(sql)},
                        QIODevice::ReadOnly);
        if (!m_process.waitForReadyRead(20000)) {
            qFatal("the lock was not taken");
        }
    }
    ~Locker() { release(); }
    Q_DISABLE_COPY_MOVE(Locker)

    bool isHeld() { return !m_process.waitForFinished(0); }
    void release()
    {
        m_process.kill();
        m_process.waitForFinished();
    }

private:
    QProcess m_process;
};

// A machine so busy that SQLite's sleeps take twenty times as long as asked for.
class LateSleeps
{
public:
    LateSleeps() : m_system(sqlite3_vfs_find(nullptr)), m_late(*m_system)
    {
        m_late.zName = "late";
        m_late.xSleep = [](sqlite3_vfs *, int microseconds) {
            QThread::usleep(20 * static_cast<unsigned long>(microseconds));
            return microseconds;
        };
        sqlite3_vfs_register(&m_late, 1);
    }
    ~LateSleeps()
    {
        sqlite3_vfs_unregister(&m_late);
        sqlite3_vfs_register(m_system, 1);
    }
    Q_DISABLE_COPY_MOVE(LateSleeps)

private:
    sqlite3_vfs *m_system;
    sqlite3_vfs m_late;
};

QStringList days(const QVector<ScreenShotData> &found)
{
    QStringList result;
    for (const ScreenShotData &data : found) {
        result.append(data.date);
    }
    result.removeDuplicates();
    return result;
}
} // namespace

class SearchFaultsTest : public StoreTest
{
    Q_OBJECT

private Q_SLOTS:
    void aFileThatCannotBePreparedEndsTheSearchThere_data();
    void aFileThatCannotBePreparedEndsTheSearchThere();
    void aDamagedPageCostsItsMonthAlone();
    void aFileCutShortWhileItIsOpenIsAnErrorNotACrash();
    void aReadOnlyFileIsReadAndLosesNothing();
    void aRowIsSavedOnceALockIsGone();
    void aRowIsSavedOnceAReaderIsThrough();
    void aReadWaitsUntilALockIsGone();
    void aLockThatStaysFailsTheStatementAndLosesThatRowOnly();
    void aLockIsWaitedForNoLongerWhereSleepsEndLate();
    void afterAWaitInVainNothingIsSavedUntilTheLockIsGone();
    void statementsOfSeveralThreadsWaitForALockAtTheSameTime();
    void aSearchThatWaitsForALockCanBeStopped();

private:
    QString january() const { return m_home->monthFile(QStringLiteral("2024-01")); }
    QString february() const { return m_home->monthFile(QStringLiteral("2024-02")); }
    QString march() const { return m_home->monthFile(QStringLiteral("2024-03")); }
    void saveThreeMonths(uint rowsOfFebruary);
};

void SearchFaultsTest::saveThreeMonths(uint rowsOfFebruary)
{
    OcrScreenshotDatabase store;
    for (const QString &month : {january(), february()}) {
        QVERIFY(QFile::copy(march(), month)); // an empty table of the present month
    }
    QVERIFY(store.saveScreenshotData(frame("2024-01-10 10:00:00", 1, "/a.desktop", "text")));
    QVERIFY(store.saveScreenshotData(frame(DAMAGED_DAY + QStringLiteral(" 08:00:00"), 1,
                                           "/a.desktop", QStringLiteral("text ").repeated(200))));
    const QString sql = QStringLiteral(
        "WITH RECURSIVE others(n) AS (SELECT 2 UNION ALL SELECT n + 1 FROM others LIMIT %1 - 1) "
        "INSERT INTO screenshots SELECT n, video_name, ocr_text, n, n, real_time + n, "
        "desktop_file_path FROM screenshots, others WHERE id = 1;");
    query(february(), qPrintable(sql.arg(rowsOfFebruary)));
    QCOMPARE(value(february(), COUNT), QString::number(rowsOfFebruary));
    QVERIFY(store.saveScreenshotData(frame("2024-03-10 10:00:00", 1, "/a.desktop", "text")));
}

void SearchFaultsTest::aFileThatCannotBePreparedEndsTheSearchThere_data()
{
    QTest::addColumn<int>("kept"); // bytes of the month's file
    QTest::addColumn<QByteArray>("sql");
    QTest::addColumn<QString>("message");
    QTest::newRow("empty") << 0 << QByteArray() << "no such table: screenshots";
    QTest::newRow("without its table")
        << -1 << QByteArray("ALTER TABLE screenshots RENAME TO pictures;")
        << "no such table: screenshots";
    QTest::newRow("cut short by a page")
        << -PAGE << QByteArray() << "database disk image is malformed";
    QTest::newRow("cut to its first page")
        << PAGE << QByteArray() << "database disk image is malformed";
    QTest::newRow("cut within its first page") << 2000 << QByteArray() << "malformed";
    QTest::newRow("not a database") << -2 << QByteArray() << "file is not a database";
}

void SearchFaultsTest::aFileThatCannotBePreparedEndsTheSearchThere()
{
    QFETCH(int, kept);
    QFETCH(QByteArray, sql);
    QFETCH(QString, message);
    saveThreeMonths(100);
    if (kept == -2) {
        m_home->writeFile(QStringLiteral("2024-02.db"), QByteArray(3 * PAGE, 'x'));
    } else if (kept != -1) {
        const qint64 size = QFileInfo(february()).size();
        QVERIFY(QFile::resize(february(), kept < 0 ? size + kept : kept));
    }
    if (!sql.isEmpty()) {
        query(february(), sql.constData());
    }
    const QByteArray content = contentOf(february());

    OcrScreenshotDatabase store;
    m_log->clear();
    QCOMPARE(days(store.getOcrScreenshotData({})), QStringList{QStringLiteral("2024-03-10")});
    QCOMPARE(m_log->count(QtDebugMsg, PREPARE_FAILED), 1);
    QVERIFY2(m_log->contains(QtDebugMsg, message), qPrintable(m_log->texts().join('\n')));
    QVERIFY(store.getAppListOfDay(DAMAGED_DAY).isEmpty());
    QCOMPARE(store.getFrameNumOfDay(DAMAGED_DAY), 0U);
    QCOMPARE(store.getScreenShotDataOfDay(DAMAGED_DAY, 1).videoName, QString());
    QCOMPARE(
        store.getScreenShotDataOfVideo(DAMAGED_DAY + QStringLiteral("_10-00-00.mp4"), 1).videoName,
        QString());
    QCOMPARE(m_log->count(QtDebugMsg, PREPARE_FAILED), 5);
    QCOMPARE(contentOf(february()), content);
    QVERIFY(store.saveScreenshotData(frame("2024-03-11 10:00:00", 1))); // other months go on
}

// What stood before the page is not given either: rows are sorted before the first comes out.
void SearchFaultsTest::aDamagedPageCostsItsMonthAlone()
{
    saveThreeMonths(400);
    QFile file(february());
    QVERIFY(file.open(QFile::ReadWrite));
    QByteArray content = file.readAll();
    // A leaf of the table (13 at its beginning) from the middle of the file; pages of the index
    // are not read by a scan.
    int page = content.size() / PAGE / 2 * PAGE;
    while (content.at(page) != 13) {
        page += PAGE;
    }
    std::fill_n(content.begin() + page, PAGE, '\xA5');
    file.seek(0);
    QCOMPARE(file.write(content), content.size());
    file.close();

    OcrScreenshotDatabase store;
    m_log->clear();
    QCOMPARE(days(store.getOcrScreenshotData({})),
             (QStringList{QStringLiteral("2024-03-10"), QStringLiteral("2024-01-10")}));
    QCOMPARE(m_log->texts(QtDebugMsg).filter(STEP_FAILED),
             QStringList{STEP_FAILED + QStringLiteral(" database disk image is malformed")});
    // What can be read without the page is still there.
    QCOMPARE(store.getScreenShotDataOfDay(DAMAGED_DAY, 1).frameIndexOfDay, 1U);
    QCOMPARE(store.getScreenShotDataOfVideo(DAMAGED_DAY + QStringLiteral("_10-00-00.mp4"), 400)
                 .frameIndexOfDay,
             400U);
    QCOMPARE(contentOf(february()), content);
}

// Pages are read through a memory map, where a page that is gone would end the process.
void SearchFaultsTest::aFileCutShortWhileItIsOpenIsAnErrorNotACrash()
{
    saveThreeMonths(400);
    OcrScreenshotDatabase store;
    QCOMPARE(store.getOcrScreenshotData({}).size(), 402);
    QVERIFY(QFile::resize(february(), 10LL * PAGE));
    m_log->clear();
    QCOMPARE(days(store.getOcrScreenshotData({})),
             (QStringList{QStringLiteral("2024-03-10"), QStringLiteral("2024-01-10")}));
    QCOMPARE(m_log->count(QtDebugMsg, QStringLiteral("malformed")), 1);
}

void SearchFaultsTest::aReadOnlyFileIsReadAndLosesNothing()
{
    if (geteuid() == 0 && seteuid(65534) != 0) {
        QSKIP("no ordinary user here");
    }
    {
        TestStore::Home home; // of the ordinary user
        std::unique_ptr<OcrScreenshotDatabase> store = std::make_unique<OcrScreenshotDatabase>();
        QVERIFY(store->saveScreenshotData(frame("2024-03-10 10:00:00", 1, "/a.desktop", "text")));
        const QString file = home.monthFile(QStringLiteral("2024-03"));
        store.reset();
        QVERIFY(QFile::setPermissions(file, QFile::ReadOwner));
        store = std::make_unique<OcrScreenshotDatabase>();
        m_log->clear();
        QVERIFY(!store->saveScreenshotData(frame("2024-03-10 10:00:05", 2)));
        QCOMPARE(
            m_log->texts(QtDebugMsg),
            QStringList{STEP_FAILED + QStringLiteral(" attempt to write a readonly database")});
        QCOMPARE(store->getOcrScreenshotData({}).size(), 1);
        QCOMPARE(store->getFrameNumOfDay(QStringLiteral("2024-03-10")), 1U);
        QVERIFY(QFile::setPermissions(file, QFile::ReadOwner | QFile::WriteOwner));
        store = std::make_unique<OcrScreenshotDatabase>();
        QVERIFY(store->saveScreenshotData(frame("2024-03-10 10:00:05", 2)));
        QCOMPARE(value(file, COUNT), QStringLiteral("2"));
    }
    if (getuid() == 0 && seteuid(0) != 0) {
        qFatal("cannot become root again");
    }
}

void SearchFaultsTest::aRowIsSavedOnceALockIsGone()
{
    OcrScreenshotDatabase store;
    Locker locker(march(), 3000);
    QVERIFY(store.saveScreenshotData(frame("2024-03-10 10:00:00", 1)));
    QVERIFY(!m_log->contains(QtDebugMsg, LOCKED));
    QCOMPARE(value(march(), COUNT), QStringLiteral("1"));
}

void SearchFaultsTest::aRowIsSavedOnceAReaderIsThrough()
{
    OcrScreenshotDatabase store;
    QVERIFY(store.saveScreenshotData(frame("2024-03-10 10:00:00", 1)));
    Locker locker(march(), 3000, READ);
    QVERIFY(store.saveScreenshotData(frame("2024-03-10 10:00:05", 2)));
    QVERIFY(!m_log->contains(QtDebugMsg, LOCKED));
    QCOMPARE(value(march(), COUNT), QStringLiteral("2"));
    QCOMPARE(value(march(), "PRAGMA integrity_check;"), QStringLiteral("ok"));
}

void SearchFaultsTest::aReadWaitsUntilALockIsGone()
{
    saveThreeMonths(1);
    OcrScreenshotDatabase store;
    Locker locker(february(), 3000);
    QCOMPARE(store.getOcrScreenshotData({}).size(), 3);
    QVERIFY(!m_log->contains(QtDebugMsg, LOCKED));
}

void SearchFaultsTest::aLockThatStaysFailsTheStatementAndLosesThatRowOnly()
{
    OcrScreenshotDatabase store;
    QVERIFY(store.saveScreenshotData(frame("2024-03-10 10:00:00", 1)));
    Locker locker(march(), 600000);
    m_log->clear();
    QVERIFY(!store.saveScreenshotData(frame("2024-03-10 10:00:05", 2)));
    QCOMPARE(m_log->texts(QtDebugMsg), QStringList{STEP_FAILED + QLatin1Char(' ') + LOCKED});
    QVERIFY(locker.isHeld());
    locker.release();
    QVERIFY(store.saveScreenshotData(frame("2024-03-10 10:00:10", 3)));
    QCOMPARE(query(march(), "SELECT frame_index_of_video FROM screenshots ORDER BY id;"),
             (QStringList{"1", "3"}));
    QCOMPARE(value(march(), "PRAGMA integrity_check;"), QStringLiteral("ok"));
}

void SearchFaultsTest::aLockIsWaitedForNoLongerWhereSleepsEndLate()
{
    OcrScreenshotDatabase store;
    QVERIFY(store.saveScreenshotData(frame("2024-03-10 10:00:00", 1)));
    Locker locker(march(), 600000);
    const LateSleeps lateSleeps;
    QElapsedTimer clock;
    clock.start();
    QVERIFY(!store.saveScreenshotData(frame("2024-03-10 10:00:05", 2)));
    QVERIFY(clock.elapsed() >= 5000);
    QVERIFY(clock.elapsed() < 50000); // sleeps counted instead of measured would make it 100 s
    QVERIFY(locker.isHeld());
}

void SearchFaultsTest::afterAWaitInVainNothingIsSavedUntilTheLockIsGone()
{
    OcrScreenshotDatabase store;
    const ScreenShotData stored = frame("2024-03-10 10:00:00", 1);
    QVERIFY(store.saveScreenshotData(stored));
    {
        Locker locker(march(), 600000);
        QVERIFY(!store.saveScreenshotData(frame("2024-03-10 10:00:05", 2)));
        QElapsedTimer clock;
        clock.start();
        for (int text = 0; text < 10; ++text) {
            QVERIFY(!store.updateScreenshotOCRText(stored));
        }
        QVERIFY(clock.elapsed() < 10000); // with a wait for each: 50 s
        clock.start();
        QVERIFY(!store.deleteOcrDatabase(stored.realTime - 1, stored.realTime));
        QVERIFY(clock.elapsed() >= 5000); // what is asked for by the user waits
        QVERIFY(locker.isHeld());
    }
    QVERIFY(store.saveScreenshotData(frame("2024-03-10 10:00:10", 3)));
    Locker locker(march(), 3000); // it is waited for as ever
    QVERIFY(store.saveScreenshotData(frame("2024-03-10 10:00:15", 4)));
    QCOMPARE(value(march(), COUNT), QStringLiteral("3"));
}

void SearchFaultsTest::statementsOfSeveralThreadsWaitForALockAtTheSameTime()
{
    OcrScreenshotDatabase store;
    const ScreenShotData stored = frame("2024-03-10 10:00:00", 1);
    QVERIFY(store.saveScreenshotData(stored));
    Locker locker(march(), 600000);
    QElapsedTimer clock;
    clock.start();
    std::vector<std::unique_ptr<QThread>> readers;
    for (int reader = 0; reader < 3; ++reader) {
        readers.emplace_back(QThread::create([&] { store.updateScreenshotOCRText(stored); }));
        readers.back()->start();
    }
    QVERIFY(!store.saveScreenshotData(frame("2024-03-10 10:00:05", 2)));
    for (const std::unique_ptr<QThread> &reader : readers) {
        QVERIFY(reader->wait(60000));
    }
    QVERIFY(clock.elapsed() < 10000); // one after the other: 20 s, of which the frame waits 5 to 20
    QVERIFY(locker.isHeld());
}

void SearchFaultsTest::aSearchThatWaitsForALockCanBeStopped()
{
    saveThreeMonths(1);
    OcrScreenshotDatabase store;
    Locker locker(february(), 600000);
    QVector<ScreenShotData> found;
    const std::unique_ptr<QThread> thread(
        QThread::create([&] { found = store.getOcrScreenshotData({}); }));
    thread->start();
    QTRY_VERIFY_WITH_TIMEOUT(m_log->contains(QtDebugMsg, QStringLiteral("\"2024-02\"")), 20000);
    QElapsedTimer clock;
    clock.start();
    thread->requestInterruption();
    QVERIFY(thread->wait(20000));
    QVERIFY(clock.elapsed() < 4000); // left alone, it would have waited for five seconds
    QVERIFY(locker.isHeld());
    QCOMPARE(days(found), QStringList{QStringLiteral("2024-03-10")});
}

int main(int argc, char *argv[])
{
    if (argc == 5 && qstrcmp(argv[1], HOLD_LOCK) == 0) {
        return holdLock(argv[2], std::atoi(argv[3]), argv[4]);
    }
    QCoreApplication application(argc, argv);
    SearchFaultsTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "searchfaultstest.moc"
