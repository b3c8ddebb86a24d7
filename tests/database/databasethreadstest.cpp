// The month databases under several threads at once: the recorder saves, searches read. To be run
// under the thread sanitizer as well.

#include "database/ocrscreenshotdatabase.h"

#include "support/fakeclock.h"
#include "teststore.h"

#include <QTest>

#include <atomic>
#include <memory>
#include <set>
#include <thread>
#include <vector>

using TestStore::frame;
using TestStore::value;

namespace
{
constexpr char COUNT[] = "SELECT count(*) FROM screenshots;";
const QString DAY = QStringLiteral("2024-03-15");

ScreenShotData numberedFrame(const QString &day, quint32 number)
{
    ScreenShotData data = frame(day + QStringLiteral(" 08:00:00"), number, "/a.desktop");
    data.realTime += number;
    return data;
}

QString dayOfMonth(int month)
{
    return QStringLiteral("2024-%1-15").arg(month, 2, 10, QLatin1Char('0'));
}

void discard(QtMsgType, const QMessageLogContext &, const QString &) {}
} // namespace

class DatabaseThreadsTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        FakeClock::set(QDateTime(QDate(2024, 3, 15), QTime(12, 0)));
        m_formerHandler = qInstallMessageHandler(discard);
    }
    void cleanupTestCase()
    {
        qInstallMessageHandler(m_formerHandler);
        FakeClock::reset();
    }
    void init() { m_home = std::make_unique<TestStore::Home>(); }
    void cleanup() { m_home.reset(); }

    void readersFollowTheRecorderThroughTheMonths();
    void threadsThatOpenAMonthShareItsConnection();
    void twoThreadsMaySaveToOneMonth();
    void textsMayBeFilledInWhileFramesAreSaved();
    void readersSurviveTheDeletionOfEverything();

private:
    std::unique_ptr<TestStore::Home> m_home;
    QtMessageHandler m_formerHandler = nullptr;
};

void DatabaseThreadsTest::readersFollowTheRecorderThroughTheMonths()
{
    constexpr int FRAMES = 20;
    OcrScreenshotDatabase store;
    std::atomic<bool> recording{true};
    std::atomic<bool> inOrder{true};
    const auto read = [&] {
        uint newest = 0;
        while (recording) {
            for (int month = 3; month <= 12; ++month) {
                store.getAppListOfDay(dayOfMonth(month));
            }
            const uint number = store.getFrameNumOfDay(DAY);
            inOrder = inOrder && number >= newest;
            newest = number;
            store.getLastScreenshotRealTime();
        }
    };
    std::thread firstReader(read);
    std::thread secondReader(read);
    bool saved = true;
    for (int month = 3; month <= 12; ++month) {
        for (quint32 number = 1; number <= FRAMES; ++number) {
            saved = store.saveScreenshotData(numberedFrame(dayOfMonth(month), number)) && saved;
        }
    }
    recording = false;
    firstReader.join();
    secondReader.join();
    QVERIFY(saved);
    QVERIFY(inOrder);
    for (int month = 3; month <= 12; ++month) {
        const QList<ActiveAppInfo> runs = store.getAppListOfDay(dayOfMonth(month));
        QCOMPARE(runs.size(), 1);
        QCOMPARE(runs.first().frameCount, static_cast<quint32>(FRAMES));
    }
}

void DatabaseThreadsTest::threadsThatOpenAMonthShareItsConnection()
{
    constexpr int THREADS = 4;
    for (int month = 1; month <= 12; ++month) {
        m_home->writeFile(dayOfMonth(month).left(7) + QStringLiteral(".db"), QByteArray());
    }
    const OcrScreenshotDatabase store;
    std::vector<std::vector<std::shared_ptr<SQLite3Connection>>> seen(THREADS);
    std::vector<std::thread> threads;
    threads.reserve(THREADS);
    for (auto &connections : seen) {
        threads.emplace_back([&store, &connections] {
            for (int month = 1; month <= 12; ++month) {
                connections.push_back(store.readDatabase(dayOfMonth(month).left(7)));
            }
        });
    }
    for (std::thread &thread : threads) {
        thread.join();
    }
    QCOMPARE(std::set<std::shared_ptr<SQLite3Connection>>(seen[0].begin(), seen[0].end()).size(),
             std::size_t{12});
    for (const auto &connections : seen) {
        QVERIFY(connections == seen[0]);
    }
}

void DatabaseThreadsTest::twoThreadsMaySaveToOneMonth()
{
    OcrScreenshotDatabase store;
    const auto save = [&store](const char *video, bool &succeeded) {
        succeeded = true;
        for (quint32 number = 1; number <= 100; ++number) {
            ScreenShotData data = numberedFrame(DAY, number);
            data.videoName = QString::fromLatin1(video);
            succeeded = store.saveScreenshotData(data) && succeeded;
        }
    };
    bool firstSaved = false;
    bool secondSaved = false;
    std::thread first(save, "2024-03-15_08-00-00.mp4", std::ref(firstSaved));
    std::thread second(save, "2024-03-15_09-00-00.mp4", std::ref(secondSaved));
    first.join();
    second.join();
    QVERIFY(firstSaved);
    QVERIFY(secondSaved);
    QCOMPARE(value(m_home->monthFile(QStringLiteral("2024-03")), COUNT), QStringLiteral("200"));
}

void DatabaseThreadsTest::textsMayBeFilledInWhileFramesAreSaved()
{
    OcrScreenshotDatabase store;
    for (quint32 number = 1; number <= 50; ++number) {
        QVERIFY(store.saveScreenshotData(numberedFrame(DAY, number)));
    }
    bool updated = true;
    std::thread reader([&store, &updated] {
        for (quint32 number = 1; number <= 50; ++number) {
            ScreenShotData data = numberedFrame(DAY, number);
            data.ocrText = QStringLiteral("recognised");
            updated = store.updateScreenshotOCRText(data) && updated;
        }
    });
    bool saved = true;
    for (quint32 number = 51; number <= 100; ++number) {
        saved = store.saveScreenshotData(numberedFrame(DAY, number)) && saved;
    }
    reader.join();
    QVERIFY(updated);
    QVERIFY(saved);
    QCOMPARE(value(m_home->monthFile(QStringLiteral("2024-03")),
                   "SELECT count(*) FROM screenshots GROUP BY ocr_text;"),
             QStringLiteral("50\n50"));
}

void DatabaseThreadsTest::readersSurviveTheDeletionOfEverything()
{
    OcrScreenshotDatabase store;
    std::atomic<bool> deleting{true};
    std::thread reader([&] {
        while (deleting) {
            for (int month = 1; month <= 6; ++month) {
                store.getAppListOfDay(dayOfMonth(month));
                store.getFrameNumOfDay(dayOfMonth(month));
            }
        }
    });
    bool deleted = true;
    bool saved = true;
    for (int round = 0; round < 10; ++round) {
        for (int month = 3; month <= 6; ++month) {
            saved = store.saveScreenshotData(numberedFrame(dayOfMonth(month), 1)) && saved;
        }
        deleted = store.deleteAllDatabase() && deleted;
    }
    saved = store.saveScreenshotData(numberedFrame(DAY, 1)) && saved;
    deleting = false;
    reader.join();
    QVERIFY(deleted);
    QVERIFY(saved);
    QCOMPARE(value(m_home->monthFile(QStringLiteral("2024-03")), COUNT), QStringLiteral("1"));
}

QTEST_GUILESS_MAIN(DatabaseThreadsTest)
#include "databasethreadstest.moc"
