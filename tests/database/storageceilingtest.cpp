// The storage policy: what the history occupies against its ceiling, and the oldest days that go.
// Files, rows and vectors are real.

#include "database/fileremoval.h"
#include "database/storedhistory.h"
#include "datahandlerfixture.h"
#include "support/logcapture.h"

#include <QDir>
#include <QTest>

using StoredHistory::picturesIn;
using StoredHistory::store;

namespace
{
constexpr qint64 MIB = qint64{1024} * 1024;
constexpr qint64 GIB = 1024 * MIB;
} // namespace

class StorageCeilingTest : public DataHandlerFixture
{
    Q_OBJECT

private Q_SLOTS:
    void theCeilingIsLookedAtWhenTheTrackerAsks();
    void theSizeIsComparedInWholeMebibytes_data();
    void theSizeIsComparedInWholeMebibytes();
    void sizeAndCeilingStandOnTheLog();
    void aLowerCeilingFreesTheOldestDaysAtOnce();
    void exactlyAtTheCeilingNothingIsFreed();
    void aMebibyteAboveTheCeilingTheOldestFilledDayGoes();
    void withoutACeilingEveryMebibyteIsTooMuch();
    void todayGoesTooIfItAloneIsTooMuch();
    void freeingStopsWithoutADay();
    void freeingStopsWithoutADirectory();
    void freeingStopsAtAFolderThatIsNoDay();
    void aDayThatCannotBeRemovedIsTriedUntilItCan();
};

void StorageCeilingTest::theCeilingIsLookedAtWhenTheTrackerAsks()
{
    start();
    m_handler->setScreenshotStorageSize(1);
    addBallast(dayFolder(10), GIB + MIB);
    Q_EMIT m_tracker->requestCheckStorage();
    QCOMPARE(StoredHistory::files(), QStringList());
}

void StorageCeilingTest::theSizeIsComparedInWholeMebibytes_data()
{
    QTest::addColumn<qint64>("bytes");
    QTest::addColumn<qulonglong>("ceiling");
    QTest::addColumn<bool>("isOver");
    QTest::newRow("nothing") << qint64{0} << 0ULL << false;
    QTest::newRow("less than a MiB without a ceiling") << MIB - 1 << 0ULL << false;
    QTest::newRow("a MiB without a ceiling") << MIB << 0ULL << true;
    QTest::newRow("below") << 10 * GIB - 1 << 10ULL << false;
    QTest::newRow("exactly") << 10 * GIB << 10ULL << false;
    QTest::newRow("less than a MiB above") << 10 * GIB + MIB - 1 << 10ULL << false;
    QTest::newRow("a MiB above") << 10 * GIB + MIB << 10ULL << true;
    QTest::newRow("a thousandth above") << 10 * GIB + 2 * MIB << 10ULL << true;
}

void StorageCeilingTest::theSizeIsComparedInWholeMebibytes()
{
    QFETCH(qint64, bytes);
    QFETCH(qulonglong, ceiling);
    QFETCH(bool, isOver);
    start();
    m_handler->setScreenshotStorageSize(ceiling);
    addBallast(dayFolder(10), bytes);
    QCOMPARE(m_handler->isStorageOverLimit(), isOver);
}

void StorageCeilingTest::sizeAndCeilingStandOnTheLog()
{
    start();
    addBallast(dayFolder(10), GIB + 512 * MIB);
    const LogCapture log;
    m_handler->setScreenshotStorageSize(2);
    QCOMPARE(log.texts(QtDebugMsg),
             QStringList({QStringLiteral("Yestermark storage size changed: 2"),
                          QStringLiteral("Yestermark storage:  1.5 GB "
                                         "Yestermark storage limit:  2 GB")}));
}

void StorageCeilingTest::aLowerCeilingFreesTheOldestDaysAtOnce()
{
    QStringList videos;
    for (const int day : {11, 12, 13, 14}) {
        videos << store({QDateTime(QDate(2024, 3, day), QTime(10, 0)), 2});
        addBallast(dayFolder(day), GIB);
    }
    start();
    m_handler->setScreenshotStorageSize(4);
    QCOMPARE(m_handler->getFirstAndLastDay().first(), QStringLiteral("2024-03-11"));

    const LogCapture log;
    m_handler->setScreenshotStorageSize(2);
    QCOMPARE(log.texts(QtDebugMsg).filter(QStringLiteral("Deleting data at date")),
             QStringList({QStringLiteral("Deleting data at date \"2024-03-11\""),
                          QStringLiteral("Deleting data at date \"2024-03-12\"")}));
    QCOMPARE(log.count(QtDebugMsg, QStringLiteral("Yestermark storage: ")), 3); // anew each time
    QCOMPARE(m_handler->getFirstAndLastDay(),
             QStringList({QStringLiteral("2024-03-13"), QStringLiteral("2024-03-14")}));
    const QStringList left =
        StoredHistory::frames(videos.at(2), 1, 2) + StoredHistory::frames(videos.at(3), 1, 2);
    QCOMPARE(StoredHistory::rows(), left);
    QCOMPARE(StoredHistory::vectors(), left);
}

void StorageCeilingTest::exactlyAtTheCeilingNothingIsFreed()
{
    start();
    addBallast(dayFolder(10), 4 * GIB);
    addBallast(dayFolder(11), 6 * GIB);
    m_handler->setScreenshotStorageSize(10);
    QCOMPARE(StoredHistory::files().size(), 2);
}

void StorageCeilingTest::aMebibyteAboveTheCeilingTheOldestFilledDayGoes()
{
    start();
    QVERIFY(QDir(StoredHistory::root()).mkpath(dayFolder(9)));
    addBallast(dayFolder(10), 4 * GIB);
    addBallast(dayFolder(11), 6 * GIB + MIB);
    m_handler->setScreenshotStorageSize(10);
    QCOMPARE(StoredHistory::files(), QStringList(dayFolder(11) + QLatin1String("/ballast.mp4")));
    QVERIFY(QDir(StoredHistory::root()).exists(dayFolder(9)));
}

void StorageCeilingTest::withoutACeilingEveryMebibyteIsTooMuch()
{
    start();
    addBallast(dayFolder(10), MIB - 1);
    m_handler->adjustYestermarkStorage();
    QCOMPARE(StoredHistory::files().size(), 1);
    addBallast(dayFolder(10), MIB);
    m_handler->adjustYestermarkStorage();
    QCOMPARE(StoredHistory::files(), QStringList());
}

void StorageCeilingTest::todayGoesTooIfItAloneIsTooMuch()
{
    store({m_now.addSecs(-600), 3});
    addBallast(dayFolder(15), GIB + MIB);
    start();
    const LogCapture log;
    m_handler->setScreenshotStorageSize(1);
    QCOMPARE(StoredHistory::files(), QStringList());
    QCOMPARE(StoredHistory::rows(), QStringList());
    QCOMPARE(StoredHistory::vectors(), QStringList());
    QCOMPARE(log.texts(QtWarningMsg), QStringList());
}

void StorageCeilingTest::freeingStopsWithoutADay()
{
    start();
    addBallast(QStringLiteral("2024-03"), MIB); // belongs to no day
    const LogCapture log;
    m_handler->adjustYestermarkStorage();
    QCOMPARE(log.texts(QtWarningMsg), QStringList(QStringLiteral("No data to delete")));
    QCOMPARE(StoredHistory::files().size(), 1);
}

void StorageCeilingTest::freeingStopsWithoutADirectory()
{
    start();
    const LogCapture log;
    QVERIFY(!m_handler->freeSomeSpace());
    QCOMPARE(log.texts(QtWarningMsg),
             QStringList({quoted(StoredHistory::root()) + QLatin1String(" not exist !"),
                          QStringLiteral("No data to delete")}));
}

void StorageCeilingTest::freeingStopsAtAFolderThatIsNoDay()
{
    start();
    addBallast(QStringLiteral("2024-01/1-notes"), MIB);
    addBallast(dayFolder(10), MIB);
    const LogCapture log;
    m_handler->adjustYestermarkStorage();
    QCOMPARE(log.texts(QtWarningMsg),
             QStringList(QStringLiteral("Invalid date format: \"1-notes\"")));
    QCOMPARE(StoredHistory::files().size(), 2);
}

void StorageCeilingTest::aDayThatCannotBeRemovedIsTriedUntilItCan()
{
    constexpr int attempts = 5;
    store({QDateTime(QDate(2024, 3, 10), QTime(10, 0)), 2});
    const QString younger = store({QDateTime(QDate(2024, 3, 11), QTime(10, 0)), 2});
    addBallast(dayFolder(10), GIB + MIB);
    start();
    // Nothing else ends the loop, so the obstacle has to.
    FileRemoval::refuse(StoredHistory::root() + QLatin1Char('/') + dayFolder(10) +
                            QLatin1String("/ballast"),
                        attempts);
    const LogCapture log;
    m_handler->setScreenshotStorageSize(1);
    QCOMPARE(FileRemoval::stillToRefuse(), 0);
    QCOMPARE(log.count(QtDebugMsg, QStringLiteral("Deleting data at date \"2024-03-10\"")),
             attempts + 1);
    QCOMPARE(log.count(QtDebugMsg, QStringLiteral("Deleting data at date")), attempts + 1);
    QCOMPARE(StoredHistory::rows(), StoredHistory::frames(younger, 1, 2));
    QCOMPARE(StoredHistory::vectors(), StoredHistory::frames(younger, 1, 2));
    QCOMPARE(picturesIn(younger), QVector<int>({1, 2}));
}

QTEST_MAIN(StorageCeilingTest)
#include "storageceilingtest.moc"
