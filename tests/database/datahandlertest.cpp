// The storage policy and the deletions that reach files, rows and vectors. All three are real.

#include "database/datahandler.h"

#include "capture/screenhistorytracker.h"
#include "database/databasemanager.h"
#include "database/fileremoval.h"
#include "database/storedhistory.h"
#include "support/fakeclock.h"
#include "support/logcapture.h"
#include "support/pictures.h"

#include <QDir>
#include <QSignalSpy>
#include <QTest>

#include <memory>

using StoredHistory::pathOf;
using StoredHistory::picturesIn;
using StoredHistory::store;

namespace
{
constexpr qint64 MIB = qint64{1024} * 1024;
constexpr qint64 GIB = 1024 * MIB;

QString quoted(const QString &text)
{
    return QLatin1Char('"') + text + QLatin1Char('"');
}

QStringList sorted(QStringList list)
{
    list.sort();
    return list;
}
} // namespace

class DataHandlerTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();

    void theTrackersNewsArePassedOn();
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
    void theFirstAndTheLastDay_data();
    void theFirstAndTheLastDay();
    void aHiddenFileFillsNoDay();
    void aMissingDirectoryHasNoDays();
    void theFormOfADay_data();
    void theFormOfADay();
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
    void aFrameIsReadByItsVideo();
    void aFrameIsReadByItsDay();
    void aFrameThatIsNotThereIsEmpty_data();
    void aFrameThatIsNotThereIsEmpty();
    void aFrameThatIsNotThereIsNoOther();
    void theApplicationsOfADay();
    void searchesReachTheDatabase();
    void anEmptyHistoryIsNoJumpBack();
    void theClockIsComparedWithTheNewestFrame_data();
    void theClockIsComparedWithTheNewestFrame();

private:
    void start();
    /// A sparse file in a folder below the root.
    void addBallast(const QString &folder, qint64 bytes);
    QString dayFolder(int day) const;

    std::unique_ptr<ScreenHistoryTracker> m_tracker;
    std::unique_ptr<DataHandler> m_handler;
    const QDateTime m_now{QDate(2024, 3, 15), QTime(14, 0)};
};

void DataHandlerTest::initTestCase()
{
    FakeClock::freeze(m_now);
    StoredHistory::openVectorStore();
}

void DataHandlerTest::init()
{
    FakeClock::freeze(m_now);
    StoredHistory::eraseEverything();
}

void DataHandlerTest::cleanup()
{
    m_handler.reset();
    m_tracker.reset();
    FileRemoval::reset();
    FakeClock::reset();
}

void DataHandlerTest::start()
{
    m_tracker = std::make_unique<ScreenHistoryTracker>();
    m_handler = std::make_unique<DataHandler>(*m_tracker);
}

void DataHandlerTest::addBallast(const QString &folder, qint64 bytes)
{
    const QString path = StoredHistory::root() + QLatin1Char('/') + folder;
    QVERIFY(QDir().mkpath(path));
    QFile file(path + QLatin1String("/ballast.mp4"));
    QVERIFY(file.open(QIODevice::WriteOnly));
    QVERIFY(file.resize(bytes));
}

QString DataHandlerTest::dayFolder(int day) const
{
    return QStringLiteral("2024-03/2024-03-%1").arg(day, 2, 10, QLatin1Char('0'));
}

void DataHandlerTest::theTrackersNewsArePassedOn()
{
    start();
    QSignalSpy numbers(m_handler.get(), &DataHandler::todayFrameNumberChanged);
    QSignalSpy applications(m_handler.get(), &DataHandler::activeAppChanged);
    Q_EMIT m_tracker->todayFrameNumberChanged(7);
    Q_EMIT m_tracker->activeAppChanged(QStringLiteral("/a.desktop"));
    QCOMPARE(numbers.count(), 1);
    QCOMPARE(numbers.first().first().toUInt(), 7U);
    QCOMPARE(applications.count(), 1);
    QCOMPARE(applications.first().first().toString(), QStringLiteral("/a.desktop"));
}

void DataHandlerTest::theCeilingIsLookedAtWhenTheTrackerAsks()
{
    start();
    m_handler->setScreenshotStorageSize(1);
    addBallast(dayFolder(10), GIB + MIB);
    Q_EMIT m_tracker->requestCheckStorage();
    QCOMPARE(StoredHistory::files(), QStringList());
}

void DataHandlerTest::theSizeIsComparedInWholeMebibytes_data()
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

void DataHandlerTest::theSizeIsComparedInWholeMebibytes()
{
    QFETCH(qint64, bytes);
    QFETCH(qulonglong, ceiling);
    QFETCH(bool, isOver);
    start();
    m_handler->setScreenshotStorageSize(ceiling);
    addBallast(dayFolder(10), bytes);
    QCOMPARE(m_handler->isStorageOverLimit(), isOver);
}

void DataHandlerTest::sizeAndCeilingStandOnTheLog()
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

void DataHandlerTest::aLowerCeilingFreesTheOldestDaysAtOnce()
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

void DataHandlerTest::exactlyAtTheCeilingNothingIsFreed()
{
    start();
    addBallast(dayFolder(10), 4 * GIB);
    addBallast(dayFolder(11), 6 * GIB);
    m_handler->setScreenshotStorageSize(10);
    QCOMPARE(StoredHistory::files().size(), 2);
}

void DataHandlerTest::aMebibyteAboveTheCeilingTheOldestFilledDayGoes()
{
    start();
    QVERIFY(QDir(StoredHistory::root()).mkpath(dayFolder(9)));
    addBallast(dayFolder(10), 4 * GIB);
    addBallast(dayFolder(11), 6 * GIB + MIB);
    m_handler->setScreenshotStorageSize(10);
    QCOMPARE(StoredHistory::files(), QStringList(dayFolder(11) + QLatin1String("/ballast.mp4")));
    QVERIFY(QDir(StoredHistory::root()).exists(dayFolder(9)));
}

void DataHandlerTest::withoutACeilingEveryMebibyteIsTooMuch()
{
    start();
    addBallast(dayFolder(10), MIB - 1);
    m_handler->adjustYestermarkStorage();
    QCOMPARE(StoredHistory::files().size(), 1);
    addBallast(dayFolder(10), MIB);
    m_handler->adjustYestermarkStorage();
    QCOMPARE(StoredHistory::files(), QStringList());
}

void DataHandlerTest::todayGoesTooIfItAloneIsTooMuch()
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

void DataHandlerTest::freeingStopsWithoutADay()
{
    start();
    addBallast(QStringLiteral("2024-03"), MIB); // belongs to no day
    const LogCapture log;
    m_handler->adjustYestermarkStorage();
    QCOMPARE(log.texts(QtWarningMsg), QStringList(QStringLiteral("No data to delete")));
    QCOMPARE(StoredHistory::files().size(), 1);
}

void DataHandlerTest::freeingStopsWithoutADirectory()
{
    start();
    const LogCapture log;
    QVERIFY(!m_handler->freeSomeSpace());
    QCOMPARE(log.texts(QtWarningMsg),
             QStringList({quoted(StoredHistory::root()) + QLatin1String(" not exist !"),
                          QStringLiteral("No data to delete")}));
}

void DataHandlerTest::freeingStopsAtAFolderThatIsNoDay()
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

void DataHandlerTest::aDayThatCannotBeRemovedIsTriedUntilItCan()
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

void DataHandlerTest::theFirstAndTheLastDay_data()
{
    QTest::addColumn<QStringList>("filled");
    QTest::addColumn<QStringList>("empty");
    QTest::addColumn<QStringList>("days");
    const QStringList none;
    const auto days = [](const char *first, const char *last) {
        return QStringList({QString::fromLatin1(first), QString::fromLatin1(last)});
    };
    QTest::newRow("no month") << none << none << QStringList({QString(), QString()});
    QTest::newRow("one day") << QStringList{"2024-03/2024-03-10"} << none
                             << days("2024-03-10", "2024-03-10");
    QTest::newRow("through months")
        << QStringList{"2024-03/2024-03-01", "2023-12/2023-12-31", "2024-03/2024-03-10"} << none
        << days("2023-12-31", "2024-03-10");
    QTest::newRow("empty days are passed over")
        << QStringList{"2024-03/2024-03-05", "2024-03/2024-03-06"}
        << QStringList{"2024-03/2024-03-01", "2024-03/2024-03-31", "2024-04"}
        << days("2024-03-05", "2024-03-06");
    QTest::newRow("hidden folders are none")
        << QStringList{".trash/2024-03-01", "2024-03/2024-03-05", "2024-03/.2024-03-09"} << none
        << days("2024-03-05", "2024-03-05");
    QTest::newRow("names are not looked at")
        << QStringList{"2024-03/2024-03-05", "z/notes"} << none << days("2024-03-05", "notes");
    QTest::newRow("up to the last dot")
        << QStringList{"2024-03/2024-03-05.1.old"} << none << days("2024-03-05.1", "2024-03-05.1");
}

void DataHandlerTest::theFirstAndTheLastDay()
{
    QFETCH(QStringList, filled);
    QFETCH(QStringList, empty);
    QFETCH(QStringList, days);
    QVERIFY(QDir().mkpath(StoredHistory::root()));
    for (const QString &folder : filled) {
        addBallast(folder, 1);
    }
    for (const QString &folder : empty) {
        QVERIFY(QDir(StoredHistory::root()).mkpath(folder));
    }
    start();
    const LogCapture log;
    QCOMPARE(m_handler->getFirstAndLastDay(), days);
    QCOMPARE(log.texts(), QStringList());
}

void DataHandlerTest::aHiddenFileFillsNoDay()
{
    const QString folder = StoredHistory::root() + QLatin1Char('/') + dayFolder(9);
    QVERIFY(QDir().mkpath(folder));
    QFile file(folder + QLatin1String("/.note"));
    QVERIFY(file.open(QIODevice::WriteOnly));
    addBallast(dayFolder(10), 1);
    start();
    QCOMPARE(m_handler->getFirstAndLastDay().first(), QStringLiteral("2024-03-10"));
}

void DataHandlerTest::aMissingDirectoryHasNoDays()
{
    start();
    const LogCapture log;
    QCOMPARE(m_handler->getFirstAndLastDay(), QStringList({QString(), QString()}));
    QCOMPARE(log.texts(),
             QStringList(quoted(StoredHistory::root()) + QLatin1String(" not exist !")));
}

void DataHandlerTest::theFormOfADay_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<bool>("isValid");
    QTest::newRow("a day") << QStringLiteral("2024-01-05") << true;
    QTest::newRow("none of the calendar") << QStringLiteral("2024-13-99") << true;
    QTest::newRow("short") << QStringLiteral("2024-1-5") << false;
    QTest::newRow("empty") << QString() << false;
    QTest::newRow("something behind") << QStringLiteral("2024-01-05x") << false;
    QTest::newRow("something before") << QStringLiteral(" 2024-01-05") << false;
    QTest::newRow("a line behind") << QStringLiteral("2024-01-05\n") << false;
    QTest::newRow("slashes") << QStringLiteral("2024/01/05") << false;
}

void DataHandlerTest::theFormOfADay()
{
    QFETCH(QString, text);
    QFETCH(bool, isValid);
    start();
    QCOMPARE(m_handler->isValidDayFormat(text), isValid);
}

void DataHandlerTest::aDayGoesFromFilesThenRowsThenVectors()
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

void DataHandlerTest::aDaysBoundsDifferInRowsAndVectors()
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

void DataHandlerTest::aTextThatIsNoDayDeletesNothing()
{
    store({m_now.addSecs(-600), 2});
    start();
    const LogCapture log;
    QVERIFY(!m_handler->deleteDataAtDate(QStringLiteral("2024-1-5")));
    QCOMPARE(log.texts(), QStringList(QStringLiteral("Invalid date format: \"2024-1-5\"")));
    QCOMPARE(StoredHistory::files().size(), 1);
    QCOMPARE(StoredHistory::rows().size(), 2);
}

void DataHandlerTest::aDayThatTheCalendarLacksDeletesNothing()
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

void DataHandlerTest::rowsGoAlthoughTheFilesCannot()
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

void DataHandlerTest::aRangeGoesFromFilesRowsAndVectorsAlike_data()
{
    QTest::addColumn<int>("range");
    QTest::addColumn<qint64>("span");
    QTest::newRow("an hour") << int{LastHour} << qint64{3600};
    QTest::newRow("a day") << int{LastDay} << qint64{86400};
    QTest::newRow("a week") << int{LastWeek} << qint64{7} * 86400;
    QTest::newRow("everything") << int{AllTime} << qint64{3600};
}

void DataHandlerTest::aRangeGoesFromFilesRowsAndVectorsAlike()
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

void DataHandlerTest::everythingGoesAfterTheClockWasSetBackButVectorsOfTheFuture()
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

void DataHandlerTest::aRangeEndsWhenItIsAskedForHoweverLongTheFilesTake()
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

void DataHandlerTest::aRangeGoesWithTheOpenBatch()
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

void DataHandlerTest::aRangeWithoutFramesGoesWell()
{
    const QString video = store({m_now.addDays(-3), 2});
    start();
    QVERIFY(m_handler->deleteUserData(LastHour));
    QCOMPARE(StoredHistory::rows(), StoredHistory::frames(video, 1, 2));
    QCOMPARE(picturesIn(video), QVector<int>({1, 2}));
}

void DataHandlerTest::aNumberThatIsNoRangeLeavesTheDatabasesAlone()
{
    const QString video = store({m_now.addSecs(-600), 2});
    start();
    const LogCapture log;
    QVERIFY(!m_handler->deleteUserData(static_cast<TimeRange>(5)));
    QCOMPARE(log.texts(), QStringList());
    QCOMPARE(StoredHistory::rows(), StoredHistory::frames(video, 1, 2));
    QCOMPARE(StoredHistory::vectors(), StoredHistory::frames(video, 1, 2));
}

void DataHandlerTest::vectorsThatCannotBeDeletedFailTheDeletionUntilTheyCan()
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

void DataHandlerTest::aFrameIsReadByItsVideo()
{
    const QString video = store({m_now.addSecs(-600), 3});
    start();
    QCOMPARE(Pictures::numberOf(m_handler->getScreenShotImageFromVideo(video, 2)), 2);
    const LogCapture log;
    QVERIFY(m_handler->getScreenShotImageFromVideo(video, 0).isNull());
    QCOMPARE(log.texts(),
             QStringList(QStringLiteral("frameIndexOfVideo has to be greater than 0")));
}

void DataHandlerTest::aFrameIsReadByItsDay()
{
    store({m_now.addSecs(-1200), 3});
    store({m_now.addSecs(-600), 3, 60, 4, 4});
    start();
    const ScreenShotImage frame =
        m_handler->getScreenShotImageOfDay(QStringLiteral("2024-03-15"), 5);
    QCOMPARE(frame.realTime, m_now.addSecs(-540).toSecsSinceEpoch());
    QCOMPARE(frame.desktopFilePath, QStringLiteral("/usr/share/applications/lupine.desktop"));
    QCOMPARE(Pictures::numberOf(frame.image), 5);
}

void DataHandlerTest::aFrameThatIsNotThereIsEmpty_data()
{
    QTest::addColumn<QString>("day");
    QTest::addColumn<uint>("index");
    QTest::addColumn<QString>("warning");
    QTest::newRow("no day") << QStringLiteral("2024-3-15") << 1U << QString();
    QTest::newRow("none of the calendar")
        << QStringLiteral("2024-02-30") << 1U << QStringLiteral("Invalid date string:");
    QTest::newRow("a day without frames") << QStringLiteral("2024-03-14") << 1U << QString();
    QTest::newRow("beyond the last") << QStringLiteral("2024-03-15") << 4U << QString();
}

void DataHandlerTest::aFrameThatIsNotThereIsEmpty()
{
    QFETCH(QString, day);
    QFETCH(uint, index);
    QFETCH(QString, warning);
    store({m_now.addSecs(-600), 3});
    start();
    const LogCapture log;
    const ScreenShotImage frame = m_handler->getScreenShotImageOfDay(day, index);
    QVERIFY(frame.image.isNull());
    QCOMPARE(frame.realTime, qint64{0});
    QCOMPARE(frame.desktopFilePath, QString());
    QCOMPARE(log.texts(QtWarningMsg).size(), warning.isEmpty() ? 0 : 1);
    QVERIFY(warning.isEmpty() || log.contains(QtWarningMsg, warning));
}

void DataHandlerTest::aFrameThatIsNotThereIsNoOther()
{
    store({m_now.addSecs(-600), 3});
    start();
    const QString day = QStringLiteral("2024-03-15");
    QCOMPARE(Pictures::numberOf(m_handler->getScreenShotImageOfDay(day, 2).image), 2);
    QVERIFY(m_handler->getScreenShotImageOfDay(day, 9).image.isNull());
    QVERIFY(m_handler->getScreenShotImageOfDay(day, 9).image.isNull());
    QCOMPARE(Pictures::numberOf(m_handler->getScreenShotImageOfDay(day, 2).image), 2);
}

void DataHandlerTest::theApplicationsOfADay()
{
    store({m_now.addSecs(-1200), 3});
    store({m_now.addSecs(-600), 2, 60, 4, 4, QStringLiteral("/other.desktop")});
    start();
    const QList<ActiveAppInfo> runs = m_handler->getAppListOfDay(QStringLiteral("2024-03-15"));
    QCOMPARE(runs.size(), 2);
    QCOMPARE(runs.first().frameCount, 3U);
    QCOMPARE(runs.last().desktopFilePath, QStringLiteral("/other.desktop"));
    const LogCapture log;
    QVERIFY(m_handler->getAppListOfDay(QStringLiteral("15.3.2024")).isEmpty());
    QCOMPARE(log.texts(), QStringList());
}

void DataHandlerTest::searchesReachTheDatabase()
{
    const QString video = store({m_now.addSecs(-600), 3});
    start();
    SearchQuery query;
    query.text = QStringLiteral("picture 2");
    const QVector<ScreenShotData> found = m_handler->getOcrScreenShotData(query);
    QCOMPARE(found.size(), 1);
    QCOMPARE(found.first().videoName, video);
    QCOMPARE(found.first().frameIndexOfVideo, 2U);
}

void DataHandlerTest::anEmptyHistoryIsNoJumpBack()
{
    start();
    const LogCapture log;
    QVERIFY(!m_handler->backInTimeDetected());
    QCOMPARE(log.texts(QtWarningMsg), QStringList());
}

void DataHandlerTest::theClockIsComparedWithTheNewestFrame_data()
{
    QTest::addColumn<QDateTime>("now");
    QTest::addColumn<bool>("isBack");
    const auto at = [](int hour, int minute, int second) {
        return QDateTime(QDate(2024, 3, 15), QTime(hour, minute, second));
    };
    QTest::newRow("later") << at(12, 0, 0) << false;
    QTest::newRow("the same second") << at(10, 0, 0) << false;
    QTest::newRow("a second before") << at(9, 59, 59) << true;
    QTest::newRow("an hour before") << at(9, 0, 0) << true;
    QTest::newRow("a day before") << at(10, 0, 0).addDays(-1) << true;
    QTest::newRow("a month before") << QDateTime(QDate(2024, 2, 15), QTime(12, 0)) << true;
    QTest::newRow("a year before") << at(10, 0, 0).addYears(-1) << true;
}

void DataHandlerTest::theClockIsComparedWithTheNewestFrame()
{
    QFETCH(QDateTime, now);
    QFETCH(bool, isBack);
    store({QDateTime(QDate(2024, 3, 15), QTime(10, 0)), 1});
    start();
    FakeClock::freeze(now);
    const LogCapture log;
    QCOMPARE(m_handler->backInTimeDetected(), isBack);
    QCOMPARE(log.texts(QtWarningMsg),
             isBack ? QStringList{QStringLiteral("back in time detected")} : QStringList());
}

QTEST_MAIN(DataHandlerTest)
#include "datahandlertest.moc"
