// The deletions of a day and of a range, which reach files, rows and vectors. All three are real.

#include "database/fileremoval.h"
#include "database/storedhistory.h"
#include "datahandlerfixture.h"
#include "support/fakeclock.h"
#include "support/logcapture.h"
#include "support/pictures.h"

#include <QFile>
#include <QSignalSpy>
#include <QTest>

using StoredHistory::pathOf;
using StoredHistory::picturesIn;
using StoredHistory::store;

namespace
{
QStringList sorted(QStringList list)
{
    list.sort();
    return list;
}
} // namespace

class DataDeletionTest : public DataHandlerFixture
{
    Q_OBJECT

private Q_SLOTS:
    void aDayGoesFromFilesThenRowsThenVectors();
    void aDaysBoundsDifferInRowsAndVectors();
    void aTextThatIsNoDayDeletesNothing();
    void aDayThatTheCalendarLacksDeletesNothing();
    void rowsGoAlthoughTheFilesCannot();
    void aRangeGoesFromFilesRowsAndVectorsAlike_data();
    void aRangeGoesFromFilesRowsAndVectorsAlike();
    void everythingGoesAfterTheClockWasSetBackButVectorsOfTheFuture();
    void aRangeEndsWhenItIsAskedForHoweverLongTheFilesTake();
    void aRangeGoesWithTheOpenBatch();
    void aRangeWithoutFramesGoesWell();
    void aNumberThatIsNoRangeLeavesTheDatabasesAlone();
    void vectorsThatCannotBeDeletedFailTheDeletionUntilTheyCan();
};

void DataDeletionTest::aDayGoesFromFilesThenRowsThenVectors()
{
    const QString before = store({QDateTime(QDate(2024, 3, 9), QTime(10, 0)), 2});
    const QString morning = store({QDateTime(QDate(2024, 3, 10), QTime(10, 0)), 3});
    const QString noon = store({QDateTime(QDate(2024, 3, 10), QTime(12, 0)), 3, 60, 4, 4});
    const QString after = store({QDateTime(QDate(2024, 3, 11), QTime(10, 0)), 2});
    start();
    QStringList filesThen;
    QStringList rowsThen;
    QStringList vectorsThen;
    StoredHistory::beforeVectorsAreDeleted([&] {
        filesThen = StoredHistory::files();
        rowsThen = StoredHistory::rows();
        vectorsThen = StoredHistory::vectors();
    });
    QStringList rowsAtTheFirstFile;
    FileRemoval::before([&] {
        if (rowsAtTheFirstFile.isEmpty()) {
            rowsAtTheFirstFile = StoredHistory::rows();
        }
    });
    QVERIFY(m_handler->deleteDataAtDate(QStringLiteral("2024-03-10")));
    const QStringList left =
        StoredHistory::frames(before, 1, 2) + StoredHistory::frames(after, 1, 2);
    const QStringList all =
        sorted(left + StoredHistory::frames(morning, 1, 3) + StoredHistory::frames(noon, 1, 3));
    QCOMPARE(rowsAtTheFirstFile, all);
    QCOMPARE(filesThen.size(), 2);
    QCOMPARE(rowsThen, left);
    QCOMPARE(vectorsThen, all);
    QCOMPARE(StoredHistory::vectors(), left);
    QCOMPARE(picturesIn(before), QVector<int>({1, 2}));
    QCOMPARE(picturesIn(after), QVector<int>({1, 2}));
}

void DataDeletionTest::aDaysBoundsDifferInRowsAndVectors()
{
    const QString first = store({QDateTime(QDate(2024, 3, 10), QTime(0, 0, 0)), 2, 1});
    const QString last = store({QDateTime(QDate(2024, 3, 10), QTime(23, 59, 58)), 2, 1});
    start();
    QVERIFY(m_handler->deleteDataAtDate(QStringLiteral("2024-03-10")));
    QCOMPARE(StoredHistory::files(), QStringList());
    QCOMPARE(StoredHistory::rows(), StoredHistory::frames(first, 1, 1)); // of midnight itself
    QCOMPARE(StoredHistory::vectors(), QStringList());
    QVERIFY(!last.isEmpty());
}

void DataDeletionTest::aTextThatIsNoDayDeletesNothing()
{
    store({m_now.addSecs(-600), 2});
    start();
    const LogCapture log;
    QVERIFY(!m_handler->deleteDataAtDate(QStringLiteral("2024-1-5")));
    QCOMPARE(log.texts(), QStringList(QStringLiteral("Invalid date format: \"2024-1-5\"")));
    QCOMPARE(StoredHistory::files().size(), 1);
    QCOMPARE(StoredHistory::rows().size(), 2);
}

void DataDeletionTest::aDayThatTheCalendarLacksDeletesNothing()
{
    const QString video = store({m_now.addSecs(-600), 2});
    start();
    const LogCapture log;
    QVERIFY(m_handler->deleteDataAtDate(QStringLiteral("2024-13-99")));
    QCOMPARE(log.texts(QtWarningMsg),
             QStringList(QStringLiteral("Invalid date string: \"2024-13-99\"")));
    QCOMPARE(picturesIn(video), QVector<int>({1, 2}));
    QCOMPARE(StoredHistory::rows(), StoredHistory::frames(video, 1, 2));
    QCOMPARE(StoredHistory::vectors(), StoredHistory::frames(video, 1, 2));
}

void DataDeletionTest::rowsGoAlthoughTheFilesCannot()
{
    const QString video = store({QDateTime(QDate(2024, 3, 10), QTime(10, 0)), 2});
    start();
    FileRemoval::refuse(pathOf(video), 1);
    QVERIFY(m_handler->deleteDataAtDate(QStringLiteral("2024-03-10")));
    QVERIFY(QFile::exists(pathOf(video)));
    QCOMPARE(StoredHistory::rows(), QStringList());
    QCOMPARE(StoredHistory::vectors(), QStringList());
    QVERIFY(m_handler->deleteDataAtDate(QStringLiteral("2024-03-10")));
    QCOMPARE(StoredHistory::files(), QStringList());
}

void DataDeletionTest::aRangeGoesFromFilesRowsAndVectorsAlike_data()
{
    QTest::addColumn<int>("range");
    QTest::addColumn<qint64>("span");
    QTest::newRow("an hour") << int{LastHour} << qint64{3600};
    QTest::newRow("a day") << int{LastDay} << qint64{86400};
    QTest::newRow("a week") << int{LastWeek} << qint64{7} * 86400;
    QTest::newRow("everything") << int{AllTime} << qint64{3600};
}

void DataDeletionTest::aRangeGoesFromFilesRowsAndVectorsAlike()
{
    QFETCH(int, range);
    QFETCH(qint64, span);
    const QString older = store({m_now.addDays(-12), 3});
    const QString cut = store({m_now.addSecs(-span - 150), 6, 60}); // the fourth lies within
    store({m_now.addSecs(-120), 3, 20, 7, 7});
    start();
    QVERIFY(m_handler->deleteUserData(static_cast<TimeRange>(range)));
    if (range == AllTime) {
        QCOMPARE(StoredHistory::files(), QStringList());
        QCOMPARE(StoredHistory::rows(), QStringList());
        QCOMPARE(StoredHistory::vectors(), QStringList());
        return;
    }
    const QStringList left = StoredHistory::frames(older, 1, 3) + StoredHistory::frames(cut, 1, 3);
    QCOMPARE(StoredHistory::rows(), left);
    QCOMPARE(StoredHistory::vectors(), left);
    QCOMPARE(StoredHistory::files().size(), 2);
    QCOMPARE(picturesIn(older), QVector<int>({1, 2, 3}));
    QCOMPARE(picturesIn(cut), QVector<int>({1, 2, 3, 4})); // one that no row names any more
}

void DataDeletionTest::everythingGoesAfterTheClockWasSetBackButVectorsOfTheFuture()
{
    const QString past = store({m_now.addDays(-1), 2});
    const QString future = store({m_now.addSecs(600), 2});
    start();
    QVERIFY(!past.isEmpty());
    QVERIFY(m_handler->backInTimeDetected());
    QVERIFY(m_handler->deleteUserData(AllTime));
    QVERIFY(!m_handler->backInTimeDetected());
    QCOMPARE(StoredHistory::files(), QStringList());
    QCOMPARE(StoredHistory::rows(), QStringList());
    // They are deleted up to the present, and find no row any more.
    QCOMPARE(StoredHistory::vectors(), StoredHistory::frames(future, 1, 2));
}

void DataDeletionTest::aRangeEndsWhenItIsAskedForHoweverLongTheFilesTake()
{
    store({m_now.addSecs(-3600 + 10), 3, 10});
    const QString later = store({m_now.addSecs(-600), 2});
    start();
    FileRemoval::before([] { FakeClock::advance(60); });
    QVERIFY(m_handler->deleteUserData(LastHour));
    QVERIFY(!QFile::exists(pathOf(later)));
    QCOMPARE(StoredHistory::rows(), QStringList());
    QCOMPARE(StoredHistory::vectors(), QStringList());
}

void DataDeletionTest::aRangeGoesWithTheOpenBatch()
{
    const QString stored = store({m_now.addSecs(-600), 3});
    start();
    QVERIFY(m_tracker->updateVideoFile(Pictures::numbered(4)));
    QVERIFY(m_handler->deleteUserData(LastHour));
    QSignalSpy told(m_handler.get(), &DataHandler::todayFrameNumberChanged);
    QVERIFY(m_tracker->updateVideoFile(Pictures::numbered(5)));
    QCOMPARE(told.first().first().toUInt(), 1U);
    m_handler.reset();
    m_tracker.reset();
    QCOMPARE(StoredHistory::files().size(), 2); // its first frame, and the batch begun since then
    QCOMPARE(picturesIn(stored), QVector<int>({1}));
    QCOMPARE(StoredHistory::rows(), QStringList());
}

void DataDeletionTest::aRangeWithoutFramesGoesWell()
{
    const QString video = store({m_now.addDays(-3), 2});
    start();
    QVERIFY(m_handler->deleteUserData(LastHour));
    QCOMPARE(StoredHistory::rows(), StoredHistory::frames(video, 1, 2));
    QCOMPARE(picturesIn(video), QVector<int>({1, 2}));
}

void DataDeletionTest::aNumberThatIsNoRangeLeavesTheDatabasesAlone()
{
    const QString video = store({m_now.addSecs(-600), 2});
    start();
    const LogCapture log;
    QVERIFY(!m_handler->deleteUserData(static_cast<TimeRange>(5)));
    QCOMPARE(log.texts(), QStringList());
    QCOMPARE(StoredHistory::rows(), StoredHistory::frames(video, 1, 2));
    QCOMPARE(StoredHistory::vectors(), StoredHistory::frames(video, 1, 2));
}

void DataDeletionTest::vectorsThatCannotBeDeletedFailTheDeletionUntilTheyCan()
{
    const QString video = store({m_now.addSecs(-600), 2});
    start();
    StoredHistory::refuseToDeleteVectors(true);
    const LogCapture log;
    QVERIFY(!m_handler->deleteUserData(LastHour));
    QVERIFY(log.contains(QtWarningMsg, QStringLiteral("Delete vector database failed")));
    QCOMPARE(StoredHistory::rows(), QStringList());
    QCOMPARE(StoredHistory::vectors(), StoredHistory::frames(video, 1, 2));
    StoredHistory::refuseToDeleteVectors(false);
    QVERIFY(m_handler->deleteUserData(LastHour)); // the files are found no more, nor needed
    QCOMPARE(StoredHistory::vectors(), QStringList());
}

QTEST_MAIN(DataDeletionTest)
#include "datadeletiontest.moc"
