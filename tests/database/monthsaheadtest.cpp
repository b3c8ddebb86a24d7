// Two threads over the months of one search. To be run under the thread sanitizer as well.

#include "database/monthsahead.h"

#include "database/stoppablescan.h"

#include <QTest>
#include <QThread>

#include <atomic>
#include <memory>
#include <mutex>
#include <vector>

namespace
{
constexpr int MONTHS = 12;

MonthsAhead::Rows rowsOf(int month)
{
    MonthsAhead::Rows rows;
    rows.found.resize(month + 1);
    rows.result = month;
    return rows;
}
} // namespace

class MonthsAheadTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void everyMonthIsScannedOnceAndInItsPlace();
    void theOtherThreadBeginsAtTheEnd();
    void aMonthUnderWayIsWaitedFor();
    void theEndWaitsForTheMonthUnderWay();
    void oneMonthNeedsNoThread_data();
    void oneMonthNeedsNoThread();
    void bothThreadsEndWhenTheCallingOneIsToStop();
};

void MonthsAheadTest::everyMonthIsScannedOnceAndInItsPlace()
{
    for (int round = 0; round < 200; ++round) {
        std::vector<std::atomic<int>> scans(MONTHS);
        MonthsAhead ahead(MONTHS, [&scans](int month) {
            ++scans[static_cast<std::size_t>(month)];
            return rowsOf(month);
        });
        for (int month = 0; month < MONTHS; ++month) {
            const MonthsAhead::Rows rows = ahead.take(month);
            QCOMPARE(rows.result, month);
            QCOMPARE(rows.found.size(), month + 1);
        }
        for (const std::atomic<int> &scan : scans) {
            QCOMPARE(scan.load(), 1);
        }
    }
}

void MonthsAheadTest::theOtherThreadBeginsAtTheEnd()
{
    std::atomic<int> first{-1};
    const QThread *const caller = QThread::currentThread();
    MonthsAhead ahead(MONTHS, [&](int month) {
        int none = -1;
        if (QThread::currentThread() != caller) {
            first.compare_exchange_strong(none, month);
        }
        return rowsOf(month);
    });
    QTRY_COMPARE_WITH_TIMEOUT(first.load(), MONTHS - 1, 20000);
    QCOMPARE(ahead.take(MONTHS - 1).result, MONTHS - 1);
}

void MonthsAheadTest::aMonthUnderWayIsWaitedFor()
{
    std::atomic<bool> begun{false};
    std::atomic<bool> goesOn{false};
    MonthsAhead ahead(2, [&](int month) {
        begun = true;
        while (month == 1 && !goesOn) {
            QThread::yieldCurrentThread();
        }
        return rowsOf(month);
    });
    QTRY_VERIFY_WITH_TIMEOUT(begun.load(), 20000);
    QCOMPARE(ahead.take(0).result, 0);
    goesOn = true;
    QCOMPARE(ahead.take(1).result, 1);
}

void MonthsAheadTest::theEndWaitsForTheMonthUnderWay()
{
    for (int round = 0; round < 200; ++round) {
        std::atomic<int> begun{0};
        std::atomic<int> done{0};
        {
            const MonthsAhead ahead(MONTHS, [&](int month) {
                ++begun;
                QThread::yieldCurrentThread();
                ++done;
                return rowsOf(month);
            });
        }
        QCOMPARE(done.load(), begun.load());
    }
}

void MonthsAheadTest::oneMonthNeedsNoThread_data()
{
    QTest::addColumn<int>("months");

    QTest::newRow("none") << 0;
    QTest::newRow("one") << 1;
}

void MonthsAheadTest::oneMonthNeedsNoThread()
{
    QFETCH(const int, months);
    const QThread *thread = nullptr;
    MonthsAhead ahead(months, [&thread](int month) {
        thread = QThread::currentThread();
        return rowsOf(month);
    });
    QCOMPARE(ahead.take(0).result, 0);
    QCOMPARE(thread, QThread::currentThread());
}

void MonthsAheadTest::bothThreadsEndWhenTheCallingOneIsToStop()
{
    std::atomic<int> stopped{0};
    std::mutex finished; // tells the thread sanitizer, which does not see the thread being joined
    const std::unique_ptr<QThread> searching(QThread::create([&] {
        const std::lock_guard<std::mutex> lock(finished);
        const StoppableScan stoppable;
        MonthsAhead ahead(2, [&stopped](int month) {
            while (!StoppableScan::isToStop()) {
                QThread::yieldCurrentThread();
            }
            ++stopped;
            return rowsOf(month);
        });
        ahead.take(0);
        ahead.take(1);
    }));
    searching->start();
    searching->requestInterruption();
    QVERIFY(searching->wait(20000));
    const std::lock_guard<std::mutex> lock(finished);
    QCOMPARE(stopped.load(), 2);
}

QTEST_GUILESS_MAIN(MonthsAheadTest)
#include "monthsaheadtest.moc"
