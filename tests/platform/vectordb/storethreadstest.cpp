// Inserts, searches and deletes at once, as the program does: one thread that captures, several
// that search, one that deletes.

#include "vectorworld.h"

#include <QTest>

#include <algorithm>
#include <atomic>
#include <set>
#include <thread>

using namespace VectorWorld;

namespace
{
constexpr std::size_t DIMENSION = 32;
constexpr long ROWS = 3000;
constexpr long KEPT = 1000; // rows below are never deleted

std::vector<float> vectorOf(long number)
{
    return randomVector(DIMENSION, static_cast<unsigned>(number));
}
} // namespace

class StoreThreadsTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void everythingRunsAtOnce();
    void deletingEverythingBuildsAnewBesideSearches();
    void aSearchSeesWhatWasAcknowledged();
    void disconnectingWaitsForWhatRuns();
};

void StoreThreadsTest::everythingRunsAtOnce()
{
    const QTemporaryDir directory;
    const std::shared_ptr<Database> database = open(directory.path(), DIMENSION);
    QVERIFY(database);
    std::vector<Row> kept;
    for (long number = 1; number <= KEPT; ++number) {
        kept.push_back(row(number, vectorOf(number)));
    }
    QVERIFY(insert(*database, kept).IsOk());

    std::atomic<bool> isDone{false};
    std::atomic<int> failures{0};
    std::atomic<int> searches{0};
    std::atomic<long> inserted{KEPT};
    std::thread inserting([&] {
        for (long number = KEPT + 1; number <= ROWS; ++number) {
            failures += insert(*database, {row(number, vectorOf(number))}).IsOk() ? 0 : 1;
            inserted = number;
        }
        isDone = true;
    });
    std::thread deleting([&] {
        while (!isDone) {
            const long last = inserted;
            failures += erase(*database, std::max(KEPT + 1, last - 30), last - 10) >= 0 ? 0 : 1;
            std::this_thread::yield();
        }
    });
    std::vector<std::thread> searching;
    searching.reserve(3);
    for (int thread = 0; thread < 3; ++thread) {
        searching.emplace_back([&, thread] {
            while (!isDone) {
                const std::vector<float> query = vectorOf(100000 + thread);
                const Found found = search(*database, query, 10 * ROWS);
                // Every row that nobody deletes is there, and the order is that of the scores.
                const std::set<std::string> ids(found.ids.begin(), found.ids.end());
                const bool hasAll = std::all_of(kept.begin(), kept.end(), [&ids](const Row &row) {
                    return ids.count(row.id) == 1;
                });
                const bool isOrdered = std::is_sorted(found.scores.rbegin(), found.scores.rend());
                failures += hasAll && isOrdered && ids.size() == found.ids.size() ? 0 : 1;
                ++searches;
            }
        });
    }
    inserting.join();
    deleting.join();
    for (std::thread &thread : searching) {
        thread.join();
    }
    QCOMPARE(failures.load(), 0);
    QVERIFY(searches > 0);
    QVERIFY(erase(*database, KEPT + 1, ROWS) >= 0);
    QCOMPARE(search(*database, vectorOf(1), 10 * ROWS).ids.size(), std::size_t{KEPT});
}

// So many rows that the matrix is built anew, under searches that began before.
void StoreThreadsTest::deletingEverythingBuildsAnewBesideSearches()
{
    const QTemporaryDir directory;
    const std::shared_ptr<Database> database = open(directory.path(), DIMENSION);
    QVERIFY(database);
    std::atomic<bool> isDone{false};
    std::atomic<int> failures{0};
    std::vector<std::thread> searching;
    searching.reserve(3);
    for (int thread = 0; thread < 3; ++thread) {
        searching.emplace_back([&, thread] {
            while (!isDone) {
                Status status;
                const Found found = search(*database, vectorOf(100000 + thread), ROWS, &status);
                failures += status.IsOk() && found.ids.size() == found.scores.size() ? 0 : 1;
            }
        });
    }
    std::vector<Row> rows;
    for (long number = 1; number <= ROWS; ++number) {
        rows.push_back(row(number, vectorOf(number)));
    }
    for (int round = 0; round < 5; ++round) {
        failures += insert(*database, rows).IsOk() ? 0 : 1;
        failures += erase(*database, 0, ROWS) == ROWS ? 0 : 1;
    }
    isDone = true;
    for (std::thread &thread : searching) {
        thread.join();
    }
    QCOMPARE(failures.load(), 0);
    QVERIFY(search(*database, vectorOf(1), 10).ids.empty());
}

void StoreThreadsTest::aSearchSeesWhatWasAcknowledged()
{
    const QTemporaryDir directory;
    const std::shared_ptr<Database> database = open(directory.path(), DIMENSION);
    std::atomic<long> acknowledged{0};
    std::atomic<int> missing{0};
    std::thread inserting([&] {
        for (long number = 1; number <= 1500; ++number) {
            if (insert(*database, {row(number, vectorOf(number))}).IsOk()) {
                acknowledged = number;
            }
        }
    });
    while (acknowledged < 1500) {
        const long number = acknowledged;
        if (number > 0) {
            const Found found = search(*database, vectorOf(number), 1);
            missing += found.ids == std::vector<std::string>{std::to_string(number)} ? 0 : 1;
        }
    }
    inserting.join();
    QCOMPARE(missing.load(), 0);
}

void StoreThreadsTest::disconnectingWaitsForWhatRuns()
{
    const QTemporaryDir directory;
    for (int round = 0; round < 5; ++round) {
        const std::shared_ptr<Database> database = open(directory.path(), DIMENSION);
        QVERIFY(database);
        std::atomic<int> stored{0};
        std::thread inserting([&] {
            for (long number = 1; number <= 100000; ++number) {
                Row added = row(number, vectorOf(1));
                added.id = std::to_string(round) + '-' + added.id;
                if (!insert(*database, {added}).IsOk()) {
                    return;
                }
                ++stored;
            }
        });
        while (stored < 50) {
            search(*database, vectorOf(1), 10);
        }
        QVERIFY(database->Disconnect().IsOk());
        inserting.join();
        const std::shared_ptr<Database> again = open(directory.path(), DIMENSION);
        QVERIFY(again);
        QCOMPARE(erase(*again, 0, 1000000), stored.load());
    }
}

QTEST_GUILESS_MAIN(StoreThreadsTest)
#include "storethreadstest.moc"
