// Searches that are asked to stop, and searches beside the recorder, on the connections that all
// threads share. To be run under the thread sanitizer as well.

#include "database/ocrscreenshotdatabase.h"

#include "support/fakeclock.h"
#include "teststore.h"

#include <QTest>
#include <QThread>

#include <atomic>
#include <functional>
#include <memory>
#include <mutex>

using TestStore::frame;

namespace
{
constexpr uint ROWS = 400; // several times as many as between two questions of a scan
const QString DAY = QStringLiteral("2024-03-10");

// What is done, on the logging thread, when a line ends with the month searched next.
QString awaitedMonth;
std::function<void()> whenAwaited;

void watchLog(QtMsgType, const QMessageLogContext &, const QString &text)
{
    if (!awaitedMonth.isEmpty() && text.startsWith(QStringLiteral("Searching ocr database: ")) &&
        text.contains(awaitedMonth)) {
        whenAwaited();
    }
}

void stopThisThread()
{
    QThread::currentThread()->requestInterruption();
}

void runOnThread(const std::function<void()> &work)
{
    std::mutex finished; // tells the thread sanitizer, which does not see the thread being joined
    const std::unique_ptr<QThread> thread(QThread::create([&] {
        const std::lock_guard<std::mutex> lock(finished);
        work();
    }));
    thread->start();
    thread->wait();
    const std::lock_guard<std::mutex> lock(finished);
}

QVector<ScreenShotData> search(const OcrScreenshotDatabase &store)
{
    SearchQuery query;
    query.text = QStringLiteral("text");
    return store.getOcrScreenshotData(query);
}
} // namespace

class SearchThreadsTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void cleanupTestCase();
    void init();
    void cleanup();

    void aRunningScanEndsAndKeepsWhatWasFound();
    void aSearchThatIsToStopBeforeItBeginsFindsNothing();
    void aStoppedSearchLeavesItsConnectionsUsable();
    void otherThreadsStatementsGoOnWhileOneIsStopped();
    void otherStatementsOfAStoppedThreadGoOn();
    void theMainThreadsSearchIsNotStopped();
    void searchesSeeWholeRowsWhileTheRecorderWrites();

private:
    void fillMonth(const QString &day, uint rows);

    std::unique_ptr<TestStore::Home> m_home;
    std::unique_ptr<OcrScreenshotDatabase> m_store;
    QtMessageHandler m_formerHandler = nullptr;
};

void SearchThreadsTest::initTestCase()
{
    m_formerHandler = qInstallMessageHandler(watchLog);
}

void SearchThreadsTest::cleanupTestCase()
{
    qInstallMessageHandler(m_formerHandler);
    FakeClock::reset();
}

// Three months: one row, many rows, one row.
void SearchThreadsTest::init()
{
    FakeClock::set(QDateTime(QDate(2024, 2, 1), QTime(12, 0)));
    m_home = std::make_unique<TestStore::Home>();
    m_store = std::make_unique<OcrScreenshotDatabase>();
    fillMonth(QStringLiteral("2024-02-10"), 1);
    fillMonth(DAY, ROWS);
    fillMonth(QStringLiteral("2024-04-10"), 1);
}

void SearchThreadsTest::cleanup()
{
    awaitedMonth.clear();
    m_store.reset();
    m_home.reset();
}

// The first row makes the month's file, the others come in one statement.
void SearchThreadsTest::fillMonth(const QString &day, uint rows)
{
    QVERIFY(m_store->saveScreenshotData(
        frame(day + QStringLiteral(" 08:00:00"), 1, "/a.desktop", "text")));
    const QString sql = QStringLiteral(
        "WITH RECURSIVE others(n) AS (SELECT 2 UNION ALL SELECT n + 1 FROM others LIMIT %1 - 1) "
        "INSERT INTO screenshots SELECT n, video_name, ocr_text, n, n, real_time + n, "
        "desktop_file_path FROM screenshots, others WHERE id = 1;");
    TestStore::query(m_home->monthFile(day.left(7)), qPrintable(sql.arg(rows)));
    QCOMPARE(m_store->getFrameNumOfDay(day), rows);
}

void SearchThreadsTest::aRunningScanEndsAndKeepsWhatWasFound()
{
    awaitedMonth = QStringLiteral("2024-03");
    whenAwaited = stopThisThread;
    QVector<ScreenShotData> found;
    runOnThread([&] { found = search(*m_store); });
    QCOMPARE(found.size(), 1);
    QCOMPARE(found.first().date, QStringLiteral("2024-04-10"));
}

void SearchThreadsTest::aSearchThatIsToStopBeforeItBeginsFindsNothing()
{
    QVector<ScreenShotData> found(1);
    runOnThread([&] {
        stopThisThread();
        found = search(*m_store);
    });
    QVERIFY(found.isEmpty());
}

void SearchThreadsTest::aStoppedSearchLeavesItsConnectionsUsable()
{
    aRunningScanEndsAndKeepsWhatWasFound();
    awaitedMonth.clear();
    QVector<ScreenShotData> found;
    runOnThread([&] { found = search(*m_store); });
    QCOMPARE(found.size(), static_cast<int>(ROWS) + 2);
    QVERIFY(m_store->saveScreenshotData(frame("2024-04-10 09:00:00", 2)));
}

void SearchThreadsTest::otherThreadsStatementsGoOnWhileOneIsStopped()
{
    std::atomic<bool> running{true};
    std::atomic<int> stopped{0};
    awaitedMonth = QStringLiteral("2024-03");
    whenAwaited = [main = QThread::currentThread()] {
        if (QThread::currentThread() != main) {
            stopThisThread();
        }
    };
    const std::unique_ptr<QThread> stopping(QThread::create([&] {
        while (running) {
            runOnThread([&] { stopped += search(*m_store).size() == 1 ? 1 : 0; });
        }
    }));
    stopping->start();
    int whole = 0;
    bool saved = true;
    for (uint round = 1; round <= 50 || (stopped < 10 && round < 5000); ++round) {
        whole += search(*m_store).size() == static_cast<int>(ROWS) + 2 ? 1 : 0;
        saved = m_store->getAppListOfDay(DAY).value(0).frameCount == ROWS && saved;
        ScreenShotData data = frame("2024-04-10 09:00:00", round, "/b.desktop", "other");
        saved = m_store->saveScreenshotData(data) && saved;
        if (round == 50) {
            QCOMPARE(whole, 50);
        }
    }
    running = false;
    stopping->wait();
    QVERIFY(saved);
    QVERIFY2(stopped >= 10, qPrintable(QString::number(stopped)));
}

void SearchThreadsTest::otherStatementsOfAStoppedThreadGoOn()
{
    bool saved = false;
    uint frames = 0;
    QList<ActiveAppInfo> runs;
    ScreenShotData found;
    runOnThread([&] {
        stopThisThread();
        search(*m_store);
        runs = m_store->getAppListOfDay(DAY);
        frames = m_store->getFrameNumOfDay(DAY);
        found = m_store->getScreenShotDataOfDay(DAY, ROWS);
        saved = m_store->saveScreenshotData(frame("2024-04-10 09:00:00", 2));
    });
    QCOMPARE(runs.value(0).frameCount, ROWS);
    QCOMPARE(frames, ROWS);
    QCOMPARE(found.frameIndexOfDay, ROWS);
    QVERIFY(saved);
}

void SearchThreadsTest::theMainThreadsSearchIsNotStopped()
{
    stopThisThread();
    QCOMPARE(search(*m_store).size(), static_cast<int>(ROWS) + 2);
}

void SearchThreadsTest::searchesSeeWholeRowsWhileTheRecorderWrites()
{
    std::atomic<bool> recording{true};
    std::atomic<bool> whole{true};
    const auto searchOn = [&] {
        int before = 0;
        while (recording) {
            const QVector<ScreenShotData> found = search(*m_store);
            for (const ScreenShotData &data : found) {
                whole = whole && data.ocrText == QStringLiteral("text") &&
                        data.desktopFilePath == QStringLiteral("/a.desktop");
            }
            whole = whole && found.size() >= before;
            before = found.size();
        }
    };
    const std::unique_ptr<QThread> first(QThread::create(searchOn));
    const std::unique_ptr<QThread> second(QThread::create(searchOn));
    first->start();
    second->start();
    bool written = true;
    for (uint index = 1; index <= 60; ++index) {
        ScreenShotData data = frame("2024-04-11 08:00:00", index, "/a.desktop");
        data.realTime += index;
        written = m_store->saveScreenshotData(data) && written;
        data.ocrText = QStringLiteral("text");
        written = m_store->updateScreenshotOCRText(data) && written;
    }
    recording = false;
    first->wait();
    second->wait();
    QVERIFY(written);
    QVERIFY(whole);
    QCOMPARE(search(*m_store).size(), static_cast<int>(ROWS) + 62);
}

QTEST_GUILESS_MAIN(SearchThreadsTest)
#include "searchthreadstest.moc"
