// Removing stored frames from disk, and measuring what they occupy. Videos, rows and vectors are
// real.

#include "database/databasemanager.h"
#include "database/daytext.h"
#include "database/storedhistory.h"
#include "support/fakeclock.h"
#include "support/logcapture.h"
#include "support/pictures.h"
#include "trackerfixture.h"
#include "video/videocomposer.h"

#include <QDir>
#include <QFileInfo>
#include <QSemaphore>
#include <QSignalSpy>
#include <QTest>

#include <algorithm>
#include <functional>

using CaptureFixture::filesIn;
using CaptureFixture::storedRows;
using CaptureFixture::todayDirectory;
using StoredHistory::pathOf;
using StoredHistory::picturesIn;

namespace
{
QVector<int> numbers(int first, int last)
{
    QVector<int> list;
    for (int number = first; number <= last; ++number) {
        list << number;
    }
    return list;
}

QString quoted(const QString &text)
{
    return QLatin1Char('"') + text + QLatin1Char('"');
}
/// Of this process; also those that have been removed.
int openFilesNamed(const QString &name)
{
    const QFileInfoList descriptors =
        QDir(QStringLiteral("/proc/self/fd")).entryInfoList(QDir::Files | QDir::System);
    return static_cast<int>(
        std::count_if(descriptors.begin(), descriptors.end(), [&name](const QFileInfo &file) {
            return file.symLinkTarget().contains(name);
        }));
}
} // namespace

Q_DECLARE_METATYPE(std::function<void(ScreenHistoryTracker &)>)

class TestHistoryDeletion : public TrackerFixture
{
    Q_OBJECT

private Q_SLOTS:
    void anHourWithoutFramesLeavesTheBatchAndTheCounters();
    void aRangeFromTheMiddleOfAVideoShortensItAndRemovesTheLaterOnes();
    void theFirstFrameOfTheRangeStaysInItsFile();
    void eachRangeReachesBackByItsSpan_data();
    void eachRangeReachesBackByItsSpan();
    void aNumberThatIsNoRangeDeletesNothing_data();
    void aNumberThatIsNoRangeDeletesNothing();
    void aRangeOfTodayTakesTheCounterBackBehindItsFirstFrame();
    void aRangeThatBeganYesterdayTakesTheCounterToNothing();
    void aRangeOfYesterdayAloneTakesTodaysCounterToNothingToo();
    void aVideoThatCannotBeShortenedKeepsNothingElse();
    void rowsWithoutAVideoNameAreNoObstacle();
    void theOpenBatchIsDroppedAndItsOlderFramesBecomeAVideo();
    void aBatchErasedFromItsFirstFrameNeverComesBack();
    void anErasedVideoIsNotKeptOpen_data();
    void anErasedVideoIsNotKeptOpen();
    void videosThatWaitForTheEncoderAreErasedAsIfTheyStood();
    void aVideoThatWaitsForTheEncoderGoesWithItsDirectory_data();
    void aVideoThatWaitsForTheEncoderGoesWithItsDirectory();
    void aVideoErasedDuringItsEncodingIsCutBehindIt();
    void theFramesOfARangeComeInTheOrderOfTime();
    void deletingAllLeavesTheRootAndStartsAnew();
    void deletingAllBeginsTodaysDirectory();
    void aDaysDirectoryGoesAndItsMonthStays();
    void aDayWithoutADirectoryIsTold();
    void aDayThatIsNoneOfTheCalendarTouchesNothing();
    void deletingTodayLeavesTheOpenVideoAndTheCounters();
    void aCeilingThatTakesTodayLosesNoNewFrame();
    void sizesAreAddedUpThroughAllFolders();
    void aMissingDirectoryHasNoSize();
    void aClockSetBackWhileRecordingHarmsNothing_data();
    void aClockSetBackWhileRecordingHarmsNothing();
    void deletingAllEndsTheStateOfAClockSetBack_data();
    void deletingAllEndsTheStateOfAClockSetBack();

private:
    void addClockRows();
    void handOver();
    void waitForTheEncoder();
};

void TestHistoryDeletion::anHourWithoutFramesLeavesTheBatchAndTheCounters()
{
    start();
    keep(3);
    FakeClock::advance(7200);
    const QStringList files = StoredHistory::files();
    {
        const LogCapture log;
        QVERIFY(m_tracker->deleteScreenShotData(LastHour));
        QCOMPARE(log.count(QtDebugMsg, QStringLiteral("No screenshots to delete")), 1);
        QCOMPARE(log.count(QtDebugMsg, QStringLiteral("The first screenshot")), 0);
    }
    QCOMPARE(StoredHistory::files(), files);
    keep(1);
    QCOMPARE(storedRows().last().videoName, storedRows().first().videoName);
    QCOMPARE(storedRows().last().frameIndexOfVideo, 4U);
    QCOMPARE(storedRows().last().frameIndexOfDay, 4U);
}

void TestHistoryDeletion::aRangeFromTheMiddleOfAVideoShortensItAndRemovesTheLaterOnes()
{
    const QString early = StoredHistory::store({m_now.addSecs(-7200), 5, 60, 1, 1});
    const QString cut = StoredHistory::store({m_now.addSecs(-3600 - 270), 10, 60, 11, 6});
    const QString later = StoredHistory::store({m_now.addSecs(-1800), 5, 60, 21, 16});
    const QString last = StoredHistory::store({m_now.addSecs(-600), 5, 60, 26, 21});
    start();

    const LogCapture log;
    QVERIFY(m_tracker->deleteScreenShotData(LastHour));
    QCOMPARE(picturesIn(early), numbers(1, 5));
    QCOMPARE(picturesIn(cut), numbers(11, 16));
    QVERIFY(!QFile::exists(pathOf(later)));
    QVERIFY(!QFile::exists(pathOf(last)));
    QCOMPARE(StoredHistory::files().size(), 2); // no work files either

    const qint64 sixth = m_now.addSecs(-3600 + 30).toSecsSinceEpoch();
    QCOMPARE(
        log.texts(QtDebugMsg).filter(QStringLiteral("The first screenshot")),
        QStringList(QStringLiteral("The first screenshot %1 6 %2").arg(quoted(cut)).arg(sixth)));
    QCOMPARE(log.texts(QtDebugMsg).filter(QStringLiteral("Deleting video")),
             QStringList({QStringLiteral("Deleting video ") + quoted(later),
                          QStringLiteral("Deleting video ") + quoted(last)}));
    QCOMPARE(log.count(QtDebugMsg, QStringLiteral("Failed to delete")), 0);
}

void TestHistoryDeletion::theFirstFrameOfTheRangeStaysInItsFile()
{
    const QString video = StoredHistory::store({m_now.addSecs(-600), 4, 60});
    start();
    QVERIFY(m_tracker->deleteScreenShotData(LastHour));
    // All of it lies in the range, and its first frame stays all the same.
    QCOMPARE(picturesIn(video), numbers(1, 1));
    QVERIFY(DatabaseManager::getInstance()->deleteUserData(LastHour));
    QCOMPARE(StoredHistory::rows(), QStringList());
    QCOMPARE(StoredHistory::vectors(), QStringList());
}

void TestHistoryDeletion::eachRangeReachesBackByItsSpan_data()
{
    QTest::addColumn<int>("range");
    QTest::addColumn<QDateTime>("now");
    QTest::addColumn<QDateTime>("start");
    const auto row = [](const char *name, TimeRange range, const QDateTime &now,
                        const QDateTime &start) {
        QTest::newRow(name) << static_cast<int>(range) << now << start;
    };
    row("an hour", LastHour, m_now, m_now.addSecs(-3600));
    row("a day", LastDay, m_now, m_now.addDays(-1));
    row("a week", LastWeek, m_now, m_now.addDays(-7));
    row("a month", LastMonth, m_now, QDateTime(QDate(2024, 2, 15), QTime(14, 0)));
    const QDateTime endOfMarch(QDate(2024, 3, 31), QTime(14, 0));
    row("a month from a day that February lacks", LastMonth, endOfMarch,
        QDateTime(QDate(2024, 2, 29), QTime(14, 0)));
}

void TestHistoryDeletion::eachRangeReachesBackByItsSpan()
{
    QFETCH(int, range);
    QFETCH(QDateTime, now);
    QFETCH(QDateTime, start);
    FakeClock::freeze(start.addDays(-1)); // months are opened in their order
    StoredHistory::eraseEverything();
    const QString before = StoredHistory::store({start.addSecs(-1), 1});
    const QString first = StoredHistory::store({start, 1});
    const QString second = StoredHistory::store({start.addSecs(1), 1});
    const QString newest = StoredHistory::store({now, 1});
    FakeClock::freeze(now);
    this->start();
    const LogCapture log;
    QVERIFY(m_tracker->deleteScreenShotData(static_cast<TimeRange>(range)));
    QVERIFY(log.contains(QtDebugMsg, QStringLiteral("The first screenshot ") + quoted(first)));
    QVERIFY(QFile::exists(pathOf(before)));
    QVERIFY(!QFile::exists(pathOf(second)));
    QVERIFY(!QFile::exists(pathOf(newest)));
}

void TestHistoryDeletion::aNumberThatIsNoRangeDeletesNothing_data()
{
    QTest::addColumn<int>("range");
    QTest::newRow("one above") << 5;
    QTest::newRow("far above") << 1000;
    QTest::newRow("below") << -1;
}

void TestHistoryDeletion::aNumberThatIsNoRangeDeletesNothing()
{
    QFETCH(int, range);
    const QString video = StoredHistory::store({m_now.addSecs(-600), 2});
    start();
    const LogCapture log;
    QVERIFY(!m_tracker->deleteScreenShotData(static_cast<TimeRange>(range)));
    QCOMPARE(log.texts(), QStringList());
    QCOMPARE(picturesIn(video), numbers(1, 2));
}

void TestHistoryDeletion::aRangeOfTodayTakesTheCounterBackBehindItsFirstFrame()
{
    StoredHistory::store({m_now.addSecs(-7200), 5, 60, 1, 1});
    StoredHistory::store({m_now.addSecs(-600), 5, 60, 6, 6});
    start();
    QVERIFY(m_tracker->deleteScreenShotData(LastHour));
    QSignalSpy told(m_tracker.get(), &ScreenHistoryTracker::todayFrameNumberChanged);
    keep(1);
    QCOMPARE(told.count(), 1);
    QCOMPARE(told.first().first().toUInt(), 6U);
    QCOMPARE(storedRows().last().frameIndexOfDay, 6U);
}

void TestHistoryDeletion::aRangeThatBeganYesterdayTakesTheCounterToNothing()
{
    const QString yesterday = StoredHistory::store({m_now.addSecs(-80000), 5, 60, 1, 41});
    const QString today = StoredHistory::store({m_now.addSecs(-600), 5, 60, 6, 1});
    start();
    QVERIFY(m_tracker->deleteScreenShotData(LastDay));
    QCOMPARE(picturesIn(yesterday), numbers(1, 1));
    QVERIFY(!QFile::exists(pathOf(today)));
    keep(1);
    QCOMPARE(storedRows().last().frameIndexOfDay, 1U);
}

void TestHistoryDeletion::aRangeOfYesterdayAloneTakesTodaysCounterToNothingToo()
{
    StoredHistory::store({m_now.addSecs(-80000), 3, 60, 1, 41});
    const QString today = StoredHistory::store({m_now.addSecs(-600), 5, 60, 6, 1});
    start();
    const long start = m_now.addDays(-1).toSecsSinceEpoch();
    QVERIFY(m_tracker->deleteVideosWithinTime(start, start + 40000));
    QCOMPARE(picturesIn(today), numbers(6, 10)); // and yet they are counted no more
    keep(1);
    QCOMPARE(storedRows().last().frameIndexOfDay, 1U);
}

void TestHistoryDeletion::aVideoThatCannotBeShortenedKeepsNothingElse()
{
    const QString damaged = StoredHistory::store({m_now.addSecs(-600), 3, 60, 1, 1});
    const QString later = StoredHistory::store({m_now.addSecs(-300), 3, 60, 4, 4});
    QFile file(pathOf(damaged));
    QVERIFY(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
    QVERIFY(file.write(QByteArray(4096, 'x')) == 4096);
    file.close();
    start();
    const LogCapture log;
    QVERIFY(m_tracker->deleteScreenShotData(LastHour));
    QCOMPARE(
        log.texts(QtDebugMsg).filter(QStringLiteral("Failed to delete frames from video file")),
        QStringList(QStringLiteral("Failed to delete frames from video file ") +
                    quoted(pathOf(damaged))));
    QVERIFY(QFile::exists(pathOf(damaged)));
    QVERIFY(!QFile::exists(pathOf(later)));
    keep(1);
    QCOMPARE(storedRows().last().frameIndexOfDay, 1U);
}

void TestHistoryDeletion::rowsWithoutAVideoNameAreNoObstacle()
{
    StoredHistory::store({m_now.addSecs(-1200), 2, 60, 1, 1});
    ScreenShotData nameless; // its day's directory could not be made
    nameless.realTime = m_now.addSecs(-900).toSecsSinceEpoch();
    nameless.frameIndexOfVideo = 1;
    nameless.frameIndexOfDay = 3;
    QVERIFY(DatabaseManager::getInstance()->saveScreenShotData(nameless));
    const QString later = StoredHistory::store({m_now.addSecs(-600), 2, 60, 3, 4});
    start();
    const LogCapture log;
    QVERIFY(m_tracker->deleteScreenShotData(LastHour));
    QCOMPARE(log.texts(QtDebugMsg).filter(QStringLiteral("Deleting video")),
             QStringList(QStringLiteral("Deleting video ") + quoted(later)));
}

void TestHistoryDeletion::theOpenBatchIsDroppedAndItsOlderFramesBecomeAVideo()
{
    FakeClock::freeze(m_now.addSecs(-3600 - 3 * secondsBetweenFrames));
    start();
    keep(8); // the fourth is taken when the range begins
    const QString video = storedRows().first().videoName;
    FakeClock::freeze(m_now);
    QVERIFY(m_tracker->deleteScreenShotData(LastHour));
    QVERIFY(DatabaseManager::getInstance()->deleteUserData(LastHour));
    QTRY_COMPARE_WITH_TIMEOUT(filesIn(todayDirectory(), QStringLiteral("*")), QStringList(video),
                              encodingMs);
    QCOMPARE(readNumber(video, 3), 3);
    QCOMPARE(readNumber(video, 4), -1);
    keep(1);
    const ScreenShotData next = storedRows().last();
    QVERIFY(next.videoName != video);
    QCOMPARE(next.frameIndexOfVideo, 1U);
    QCOMPARE(next.frameIndexOfDay, 4U);

    m_tracker.reset();
    FakeClock::advance(60);
    start();
    QCOMPARE(picturesIn(video), numbers(1, 3));
    QCOMPARE(picturesIn(next.videoName), numbers(9, 9));
}

void TestHistoryDeletion::aBatchErasedFromItsFirstFrameNeverComesBack()
{
    start();
    keep(5);
    QVERIFY(m_tracker->deleteScreenShotData(LastHour));
    QCOMPARE(StoredHistory::files(), QStringList());
    QVERIFY(DatabaseManager::getInstance()->deleteUserData(LastHour));
    m_tracker.reset();
    start();
    QCOMPARE(StoredHistory::files(), QStringList());
    QCOMPARE(StoredHistory::rows(), QStringList());
    QCOMPARE(StoredHistory::vectors(), QStringList());
}

void TestHistoryDeletion::anErasedVideoIsNotKeptOpen_data()
{
    QTest::addColumn<std::function<void(ScreenHistoryTracker &)>>("erase");
    const auto row = [](const char *name,
                        const std::function<void(ScreenHistoryTracker &)> &erase) {
        QTest::newRow(name) << erase;
    };
    row("everything", [](ScreenHistoryTracker &tracker) { tracker.deleteScreenShotData(AllTime); });
    row("a range", [](ScreenHistoryTracker &tracker) { tracker.deleteScreenShotData(LastHour); });
    row("its day", [](ScreenHistoryTracker &tracker) {
        tracker.deleteDataAtDate(DayText::ofDate(QDate::currentDate()));
    });
}

void TestHistoryDeletion::anErasedVideoIsNotKeptOpen()
{
    QFETCH(std::function<void(ScreenHistoryTracker &)>, erase);
    StoredHistory::store(
        {m_now.addSecs(-1200), 1}); // of a range the first video is cut, not removed
    const QString video = StoredHistory::store({m_now.addSecs(-600), 3});
    start();
    QVERIFY(!m_tracker->getImageFromVideoFile(video, 2).isNull());
    QCOMPARE(openFilesNamed(video), 1);
    erase(*m_tracker);
    QVERIFY(!QFile::exists(pathOf(video)));
    QCOMPARE(openFilesNamed(video), 0);
}

void TestHistoryDeletion::handOver()
{
    m_tracker->convertRemainedImagesToVideo();
    m_tracker->resetVideoStates();
}

// An end alone leaves it what it has not begun yet.
void TestHistoryDeletion::waitForTheEncoder()
{
    QMetaObject::invokeMethod(
        m_tracker->videoComposer(), [] {}, Qt::BlockingQueuedConnection);
}

void TestHistoryDeletion::videosThatWaitForTheEncoderAreErasedAsIfTheyStood()
{
    start();
    QSemaphore encoderMayRun;
    QMetaObject::invokeMethod(m_tracker->videoComposer(),
                              [&encoderMayRun] { encoderMayRun.acquire(); });
    keep(5);
    const QString first = storedRows().first().videoName;
    handOver();
    keep(3);
    handOver();
    const bool deleted = m_tracker->deleteScreenShotData(LastHour) &&
                         DatabaseManager::getInstance()->deleteUserData(LastHour);
    encoderMayRun.release();
    QVERIFY(deleted);
    waitForTheEncoder();
    QCOMPARE(picturesIn(first), numbers(1, 1));
    QCOMPARE(StoredHistory::files().size(), 1);
    QCOMPARE(StoredHistory::rows(), QStringList());
}

void TestHistoryDeletion::aVideoThatWaitsForTheEncoderGoesWithItsDirectory_data()
{
    QTest::addColumn<bool>("isAll");
    QTest::newRow("everything") << true;
    QTest::newRow("the day") << false;
}

void TestHistoryDeletion::aVideoThatWaitsForTheEncoderGoesWithItsDirectory()
{
    QFETCH(bool, isAll);
    start();
    QSemaphore encoderMayRun;
    QMetaObject::invokeMethod(m_tracker->videoComposer(),
                              [&encoderMayRun] { encoderMayRun.acquire(); });
    keep(3);
    const QString video = storedRows().first().videoName;
    handOver();
    if (isAll) {
        m_tracker->deleteAllVideos();
    } else {
        m_tracker->deleteDataAtDate(video.left(10));
    }
    keep(1); // which makes the directory anew
    encoderMayRun.release();
    handOver();
    waitForTheEncoder();
    QVERIFY(!QFile::exists(pathOf(video)));
    QCOMPARE(picturesIn(storedRows().last().videoName), numbers(4, 4));
}

void TestHistoryDeletion::aVideoErasedDuringItsEncodingIsCutBehindIt()
{
    start();
    keep(40);
    const QString video = storedRows().first().videoName;
    handOver();
    QTRY_VERIFY_WITH_TIMEOUT(QFile::exists(pathOf(video)), encodingMs);
    QVERIFY(m_tracker->deleteVideosWithinTime(m_now.addSecs(100).toSecsSinceEpoch(),
                                              m_now.addSecs(1000).toSecsSinceEpoch()));
    waitForTheEncoder();
    QCOMPARE(picturesIn(video), numbers(1, 21));
    QCOMPARE(StoredHistory::files().size(), 1);
}

void TestHistoryDeletion::theFramesOfARangeComeInTheOrderOfTime()
{
    FakeClock::freeze(QDateTime(QDate(2024, 2, 29), QTime(23, 0)));
    StoredHistory::eraseEverything();
    const QString february =
        StoredHistory::store({QDateTime(QDate(2024, 2, 29), QTime(23, 50)), 3});
    const QString march = StoredHistory::store({QDateTime(QDate(2024, 3, 1), QTime(0, 10)), 3});
    FakeClock::freeze(m_now);
    start();
    const QVector<ScreenShotData> all =
        m_tracker->getScreenshotsWithinTimeInOrder(1, m_now.toSecsSinceEpoch());
    QStringList names;
    for (const ScreenShotData &record : all) {
        names << QStringLiteral("%1#%2").arg(record.videoName).arg(record.frameIndexOfVideo);
    }
    QCOMPARE(names, StoredHistory::frames(february, 1, 3) + StoredHistory::frames(march, 1, 3));
    // Both ends of the range belong to it.
    const long second = all.at(1).realTime;
    QCOMPARE(m_tracker->getScreenshotsWithinTimeInOrder(second, second).size(), 1);
    QCOMPARE(m_tracker->getScreenshotsWithinTimeInOrder(second + 1, second + 59).size(), 0);
}

void TestHistoryDeletion::deletingAllLeavesTheRootAndStartsAnew()
{
    FakeClock::freeze(m_now.addDays(-40));
    StoredHistory::eraseEverything();
    StoredHistory::store({m_now.addDays(-40), 2});
    FakeClock::freeze(m_now);
    StoredHistory::store({m_now.addSecs(-600), 2});
    start();
    keep(3);
    QFile note(StoredHistory::root() + QLatin1String("/note.txt"));
    QVERIFY(note.open(QIODevice::WriteOnly));
    note.close();
    {
        const LogCapture log;
        QVERIFY(m_tracker->deleteScreenShotData(AllTime));
        QCOMPARE(
            log.count(QtDebugMsg, QStringLiteral("No start time specified, deleting all videos")),
            1);
    }
    QCOMPARE(QDir(StoredHistory::root()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot),
             QStringList(QStringLiteral("note.txt")));

    QSignalSpy applications(m_tracker.get(), &ScreenHistoryTracker::activeAppChanged);
    keep(1);
    const ScreenShotData next = storedRows().last();
    QCOMPARE(next.frameIndexOfVideo, 1U);
    QCOMPARE(next.frameIndexOfDay, 1U);
    QCOMPARE(filesIn(todayDirectory(), QStringLiteral("*")),
             QStringList(next.videoName + QLatin1String("_001.png")));
    QCOMPARE(applications.count(), 1); // the running application was forgotten as well
}

void TestHistoryDeletion::deletingAllBeginsTodaysDirectory()
{
    start();
    keep(1);
    FakeClock::freeze(m_now.addDays(1));
    m_tracker->deleteAllVideos();
    const LogCapture log;
    keep(1);
    QCOMPARE(log.count(QtDebugMsg, QStringLiteral("恭喜您，进入了新的一天！")), 0);
    QCOMPARE(filesIn(todayDirectory(), QStringLiteral("*.png")).size(), 1);
}

void TestHistoryDeletion::aDaysDirectoryGoesAndItsMonthStays()
{
    const QString video = StoredHistory::store({m_now.addDays(-10), 2});
    start();
    const LogCapture log;
    m_tracker->deleteDataAtDate(video.left(10));
    QCOMPARE(log.texts(QtDebugMsg),
             QStringList(QStringLiteral("Deleting data at date ") + quoted(video.left(10))));
    const QDir month(StoredHistory::root() + QLatin1Char('/') + video.left(7));
    QVERIFY(month.exists());
    QVERIFY(month.isEmpty());
}

void TestHistoryDeletion::aDayWithoutADirectoryIsTold()
{
    start();
    const LogCapture log;
    m_tracker->deleteDataAtDate(QStringLiteral("2023-07-01"));
    QCOMPARE(
        log.texts(QtDebugMsg),
        QStringList({QStringLiteral("Deleting data at date \"2023-07-01\""),
                     QStringLiteral("Date directory does not exist: ") +
                         quoted(StoredHistory::root() + QLatin1String("/2023-07/2023-07-01"))}));
}

void TestHistoryDeletion::aDayThatIsNoneOfTheCalendarTouchesNothing()
{
    const QString video = StoredHistory::store({m_now.addSecs(-600), 2});
    start();
    const LogCapture log;
    m_tracker->deleteDataAtDate(QStringLiteral("2024-13-99"));
    QCOMPARE(log.count(QtDebugMsg, QStringLiteral("Date directory does not exist:")), 1);
    QCOMPARE(picturesIn(video), numbers(1, 2));
}

void TestHistoryDeletion::deletingTodayLeavesTheOpenVideoAndTheCounters()
{
    start();
    keep(3);
    const QString video = storedRows().first().videoName;
    m_tracker->deleteDataAtDate(video.left(10));
    QVERIFY(!QDir(todayDirectory()).exists());
    keep(1);
    QCOMPARE(storedRows().last().videoName, video);
    QCOMPARE(storedRows().last().frameIndexOfVideo, 4U);
    QCOMPARE(storedRows().last().frameIndexOfDay, 4U);
    QCOMPARE(filesIn(todayDirectory(), QStringLiteral("*")), QStringList(video + "_004.png"));

    m_tracker->convertRemainedImagesToVideo();
    m_tracker->resetVideoStates();
    const auto hasVideo = [&video] {
        return filesIn(todayDirectory(), QStringLiteral("*")) == QStringList(video) &&
               VideoComposer::getFrameNumberFromVideo(todayDirectory() + '/' + video) == 4;
    };
    QTRY_VERIFY_WITH_TIMEOUT(hasVideo(), encodingMs);
}

void TestHistoryDeletion::aCeilingThatTakesTodayLosesNoNewFrame()
{
    start();
    // As the ceiling does when today is the only day left: right after the video was named.
    connect(m_tracker.get(), &ScreenHistoryTracker::requestCheckStorage, this,
            [this] { m_tracker->deleteDataAtDate(m_now.toString(QStringLiteral("yyyy-MM-dd"))); });
    keep(2);
    QCOMPARE(storedRows().size(), 2);
    QCOMPARE(filesIn(todayDirectory(), QStringLiteral("*_00?.png")).size(), 2);
}

void TestHistoryDeletion::sizesAreAddedUpThroughAllFolders()
{
    start();
    const auto write = [](const QString &name, int bytes) {
        const QString path = StoredHistory::root() + QLatin1Char('/') + name;
        QFile file(path);
        return QDir().mkpath(QFileInfo(path).absolutePath()) && file.open(QIODevice::WriteOnly) &&
               file.write(QByteArray(bytes, 'x')) == bytes;
    };
    QVERIFY(write(QStringLiteral("2024-03/2024-03-14/a.mp4"), 1000));
    QVERIFY(write(QStringLiteral("2024-03/2024-03-15/b.mp4"), 200));
    QVERIFY(write(QStringLiteral("2024-02/c.png"), 30));
    QVERIFY(write(QStringLiteral("d"), 4));
    QCOMPARE(m_tracker->getScreenshotsStorageSize(), quint64(1234));
    QCOMPARE(m_tracker->getDirectorySize(StoredHistory::root() + QLatin1String("/2024-03")),
             quint64(1200));
}

void TestHistoryDeletion::aMissingDirectoryHasNoSize()
{
    start();
    const LogCapture log;
    QCOMPARE(m_tracker->getDirectorySize(QStringLiteral("/no/such/place")), quint64(0));
    QCOMPARE(log.texts(QtDebugMsg),
             QStringList(QStringLiteral("Directory does not exist: \"/no/such/place\"")));
    QVERIFY(!QDir(StoredHistory::root()).exists());
    QCOMPARE(m_tracker->getScreenshotsStorageSize(), quint64(0));
}

void TestHistoryDeletion::addClockRows()
{
    QTest::addColumn<int>("seconds");
    QTest::newRow("an hour") << 3600;
    QTest::newRow("a day") << 86400;
    QTest::newRow("a year") << 366 * 86400;
}

void TestHistoryDeletion::aClockSetBackWhileRecordingHarmsNothing_data()
{
    addClockRows();
}

void TestHistoryDeletion::aClockSetBackWhileRecordingHarmsNothing()
{
    QFETCH(int, seconds);
    start();
    m_desktop->setImage(Pictures::numbered(50));
    QVERIFY(m_tracker->shouldTakeScreenShot());
    keep(3);
    const QStringList files = StoredHistory::files();
    const QStringList rows = StoredHistory::rows();
    QSignalSpy back(m_tracker.get(), &ScreenHistoryTracker::backInTimeDetected);

    FakeClock::advance(-seconds);
    {
        const LogCapture log;
        m_tracker->processScreenShot();
        m_tracker->processScreenShot();
        QCOMPARE(log.count(QtWarningMsg, QStringLiteral("Warning: Time travel detected")), 2);
    }
    QCOMPARE(back.count(), 2);
    QVERIFY(m_tracker->deleteScreenShotData(LastHour)); // of an hour that nothing was taken in
    QCOMPARE(StoredHistory::files(), files);
    QCOMPARE(StoredHistory::rows(), rows);

    FakeClock::advance(seconds);
    m_tracker->processScreenShot();
    QCOMPARE(back.count(), 2);
    const ScreenShotData next = storedRows().last();
    QCOMPARE(next.videoName, storedRows().first().videoName);
    QCOMPARE(next.frameIndexOfVideo, 4U);
    QCOMPARE(next.frameIndexOfDay, 4U);
    closeVideo();
    QCOMPARE(picturesIn(next.videoName), QVector<int>({1, 2, 3, 50}));
}

void TestHistoryDeletion::deletingAllEndsTheStateOfAClockSetBack_data()
{
    addClockRows();
}

void TestHistoryDeletion::deletingAllEndsTheStateOfAClockSetBack()
{
    QFETCH(int, seconds);
    start();
    QVERIFY(m_tracker->shouldTakeScreenShot());
    keep(3);
    FakeClock::advance(-seconds);
    QVERIFY(!m_tracker->shouldTakeScreenShot());

    QVERIFY(m_tracker->deleteScreenShotData(AllTime));
    QVERIFY(DatabaseManager::getInstance()->deleteDatabase(
        0, m_now.addDays(1).toSecsSinceEpoch())); // those taken later than now as well
    QVERIFY(m_tracker->shouldTakeScreenShot());
    keep(2);
    QCOMPARE(storedRows().size(), 2);
    QCOMPARE(storedRows().last().frameIndexOfVideo, 2U);
    QCOMPARE(storedRows().last().frameIndexOfDay, 2U);
    QCOMPARE(filesIn(todayDirectory(), QStringLiteral("*.png")).size(), 2);
}

QTEST_MAIN(TestHistoryDeletion)
#include "historydeletiontest.moc"
