// Days and video files: when a batch is closed, when the day turns, where the files lie.

#include "capture/capturefixture.h"
#include "capture/privatemember.h"
#include "capture/screenhistorytracker.h"
#include "database/databasemanager.h"
#include "database/dataencryptor.h"
#include "desktopbridge/fake/fakedesktop.h"
#include "support/fakeclock.h"
#include "support/logcapture.h"
#include "support/pictures.h"
#include "video/videocomposer.h"

#include <QDir>
#include <QScopeGuard>
#include <QSignalSpy>
#include <QTest>

#include <ctime>
#include <utility>

using CaptureFixture::filesIn;
using CaptureFixture::storedRows;
using CaptureFixture::todayDirectory;

struct Today {
    using Type = QString ScreenHistoryTracker::*;
    friend Type memberOf(Today);
};
template struct PrivateMember<Today, &ScreenHistoryTracker::m_today>;

struct Composer {
    using Type = VideoComposer *ScreenHistoryTracker::*;
    friend Type memberOf(Composer);
};
template struct PrivateMember<Composer, &ScreenHistoryTracker::m_videoComposer>;

struct BoxIsMounted {
    using Type = bool DataEncryptor::*;
    friend Type memberOf(BoxIsMounted);
};
template struct PrivateMember<BoxIsMounted, &DataEncryptor::m_safeDirectoryMounted>;

namespace
{
constexpr int encodingMs = 60000; // a hundred frames on a busy machine, under a sanitizer
}

class TestDayFiles : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();

    void aFullBatchIsConvertedWhenTheNextFrameArrives();
    void aFullBatchOnTheEveOfADayIsConvertedOnce();
    void theDayTurnsAtItsFirstKeptFrame();
    void theMonthTurnsWithItsDirectoryAndDatabase();
    void aClockSetBackToAnEarlierDayDoesNotTurnTheDay();
    void aJourneyWestOverMidnightLeavesVideosWhereTheirNamesSay();
    void pauseAndLockLeaveTheBatchOpen();
    void aRestartGoesOnNumberingAndBeginsAnewVideo();
    void theStorageIsToBeCheckedOncePerVideo();
    void aDirectoryThatCannotBeMadeIsTriedAgain();
    void theNewestDayFolderIsFound_data();
    void theNewestDayFolderIsFound();
    void theRestOfAnEmptyBatchIsNothing();
    void theDaysFramesCountedFromTheDatabase();
    void theDaysFramesCountedFromTheVideos();
    void withoutADayNothingIsCounted();
    void withoutAnEncoderTheRestIsTold();
    void theLayoutOfDays();
    void aBoxThatIsMountedLaterTakesTheNextDay();
    void aBoxThatIsMountedLaterTakesWhatFollowsADeletion();

private:
    void keep(int count);
    void closeVideo();
    void restart();
    static void mountBox(bool mounted);
    static void travelTo(const QByteArray &zone);

    std::unique_ptr<FakeDesktop> m_desktop;
    std::unique_ptr<CaptureFixture::Application> m_application;
    std::unique_ptr<ScreenHistoryTracker> m_tracker;
    int m_next = 0;
};

void TestDayFiles::initTestCase()
{
    m_application =
        std::make_unique<CaptureFixture::Application>(CaptureFixture::Application::FileManager);
    m_desktop = std::make_unique<FakeDesktop>();
    m_desktop->setActivePid(m_application->pid());
}

void TestDayFiles::init()
{
    FakeClock::freeze(QDateTime(QDate(2024, 3, 5), QTime(14, 7, 31)));
    CaptureFixture::eraseEverything();
    restart();
}

void TestDayFiles::cleanup()
{
    m_tracker.reset();
    mountBox(false);
    QDir(QDir::homePath() + QLatin1String("/.vault")).removeRecursively();
    FakeClock::reset();
}

void TestDayFiles::restart()
{
    m_tracker.reset();
    m_tracker = std::make_unique<ScreenHistoryTracker>();
}

// As if the answer could change while a process runs.
void TestDayFiles::mountBox(bool mounted)
{
    (*DataEncryptor::getInstance()).*memberOf(BoxIsMounted()) = mounted;
}

void TestDayFiles::travelTo(const QByteArray &zone)
{
    zone.isNull() ? qunsetenv("TZ") : qputenv("TZ", zone);
    tzset();
}

void TestDayFiles::closeVideo()
{
    m_tracker->convertRemainedImagesToVideo();
    m_tracker->resetVideoStates();
    FakeClock::advance(60);
}

void TestDayFiles::keep(int count)
{
    for (int frame = 0; frame < count; ++frame) {
        m_tracker->screenshotReady(Pictures::numbered(++m_next, QSize(160, 120)));
    }
}

void TestDayFiles::aFullBatchIsConvertedWhenTheNextFrameArrives()
{
    QSignalSpy conversions(m_tracker->videoComposer(), &VideoComposer::requestConvertImagesToVideo);
    keep(100);
    const QString video = storedRows().last().videoName;
    QCOMPARE(video, QStringLiteral("2024-03-05_14-07-31.mp4"));
    QCOMPARE(conversions.count(), 0);
    QCOMPARE(filesIn(todayDirectory(), QStringLiteral("*.png")).size(), 100);

    FakeClock::advance(5);
    keep(1);
    QCOMPARE(conversions.count(), 1);
    QTRY_COMPARE_WITH_TIMEOUT(filesIn(todayDirectory(), QStringLiteral("*.png")).size(), 1,
                              encodingMs);
    QCOMPARE(filesIn(todayDirectory(), QStringLiteral("*.mp4")), QStringList(video));
    QCOMPARE(storedRows().last().frameIndexOfVideo, 1U);
    QCOMPARE(storedRows().last().frameIndexOfDay, 101U);
}

void TestDayFiles::aFullBatchOnTheEveOfADayIsConvertedOnce()
{
    keep(100);
    const QString eve = todayDirectory();
    auto *composer = m_tracker->videoComposer();
    QSignalSpy conversions(composer, &VideoComposer::requestConvertImagesToVideo);
    FakeClock::freeze(QDateTime(QDate(2024, 3, 6), QTime(0, 0, 2)));
    keep(1);
    QCOMPARE(conversions.count(), 1);
    QTRY_COMPARE_WITH_TIMEOUT(filesIn(eve, QStringLiteral("*")),
                              QStringList(QStringLiteral("2024-03-05_14-07-31.mp4")), encodingMs);
    QCOMPARE(filesIn(todayDirectory(), QStringLiteral("*")),
             QStringList(QStringLiteral("2024-03-06_00-00-02.mp4_001.png")));
}

void TestDayFiles::theDayTurnsAtItsFirstKeptFrame()
{
    keep(3);
    const QString yesterday = todayDirectory();
    QSignalSpy numbers(m_tracker.get(), &ScreenHistoryTracker::todayFrameNumberChanged);
    QSignalSpy applications(m_tracker.get(), &ScreenHistoryTracker::activeAppChanged);
    FakeClock::freeze(QDateTime(QDate(2024, 3, 6), QTime(8, 30, 0)));
    QTest::qWait(20);
    QVERIFY(!QDir(todayDirectory()).exists()); // an idle night turns nothing

    const LogCapture log;
    keep(1);
    QCOMPARE(log.count(QtDebugMsg, QStringLiteral("恭喜您，进入了新的一天！")), 1);
    QCOMPARE(log.count(QtDebugMsg, QStringLiteral("创建新的视频文件")), 1);
    QCOMPARE(log.count(QtDebugMsg, QStringLiteral("创建文件：")), 1);
    QTRY_COMPARE(filesIn(yesterday, QStringLiteral("*")),
                 QStringList(QStringLiteral("2024-03-05_14-07-31.mp4")));
    const ScreenShotData row = storedRows().last();
    QCOMPARE(row.videoName, QStringLiteral("2024-03-06_08-30-00.mp4"));
    QCOMPARE(row.frameIndexOfDay, 1U);
    QCOMPARE(row.frameIndexOfVideo, 1U);
    QCOMPARE(numbers.count(), 1);
    QCOMPARE(numbers.at(0).at(0).toUInt(), 1U);
    // The running application opens the new day, although it did not change.
    QCOMPARE(applications.count(), 1);
    QCOMPARE(applications.at(0).at(0).toString(), m_application->desktopEntry());
}

void TestDayFiles::theMonthTurnsWithItsDirectoryAndDatabase()
{
    FakeClock::freeze(QDateTime(QDate(2024, 3, 31), QTime(23, 59, 50)));
    restart();
    keep(2);
    FakeClock::freeze(QDateTime(QDate(2024, 4, 1), QTime(0, 0, 5)));
    keep(2);
    const QString databases =
        QDir::homePath() + QLatin1String("/.cache/tavel-ai-yestermark/traditional_database");
    QCOMPARE(filesIn(databases, QStringLiteral("*.db")),
             QStringList({QStringLiteral("2024-03.db"), QStringLiteral("2024-04.db")}));
    QVERIFY(todayDirectory().endsWith(QLatin1String("/2024-04/2024-04-01")));
    QCOMPARE(filesIn(todayDirectory(), QStringLiteral("*.png")).size(), 2);
    QCOMPARE(storedRows().size(), 4);
}

void TestDayFiles::aClockSetBackToAnEarlierDayDoesNotTurnTheDay()
{
    keep(1);
    const QString day = todayDirectory();
    FakeClock::freeze(QDateTime(QDate(2024, 3, 4), QTime(12, 0, 0)));
    QVERIFY(!m_tracker->shouldTurnToTomorrow());
    m_tracker->updateVideoFile(Pictures::numbered(++m_next));
    QVERIFY(!QDir(todayDirectory()).exists());
    QCOMPARE(filesIn(day, QStringLiteral("*.png")).size(), 1);
}

void TestDayFiles::aJourneyWestOverMidnightLeavesVideosWhereTheirNamesSay()
{
    const auto home = qScopeGuard([zone = qgetenv("TZ")] { travelTo(zone); });
    travelTo("Asia/Shanghai");
    FakeClock::freeze(QDateTime(QDate(2024, 3, 6), QTime(1, 0)));
    restart();
    keep(1);
    FakeClock::advance(60);
    keep(1);
    const QString day = todayDirectory();
    const QString there = storedRows().last().videoName;
    closeVideo();

    travelTo("America/Los_Angeles"); // where it is nine in the morning of the day before
    keep(2);
    const QString here = storedRows().last().videoName;
    QCOMPARE(here, QStringLiteral("2024-03-06_09-02-00.mp4"));
    closeVideo();
    QTRY_COMPARE_WITH_TIMEOUT(filesIn(day, QStringLiteral("*")), QStringList({there, here}),
                              encodingMs);
    QCOMPARE(Pictures::numberOf(m_tracker->getImageFromVideoFile(here, 2)), m_next);

    QVERIFY(m_tracker->deleteScreenShotData(LastHour));
    QCOMPARE(filesIn(day, QStringLiteral("*")), QStringList(there));
    QCOMPARE(VideoComposer::getFrameNumberFromVideo(day + QLatin1Char('/') + there), 1U);
}

void TestDayFiles::pauseAndLockLeaveTheBatchOpen()
{
    keep(2);
    m_tracker->setRecordingMemory(true);
    m_tracker->setRecordingMemory(false);
    m_tracker->onScreenLockSignal();
    m_tracker->onScreenUnLockSignal();
    FakeClock::advance(60);
    keep(1);
    QCOMPARE(storedRows().last().videoName, storedRows().first().videoName);
    QCOMPARE(storedRows().last().frameIndexOfVideo, 3U);
}

void TestDayFiles::aRestartGoesOnNumberingAndBeginsAnewVideo()
{
    keep(3);
    FakeClock::advance(60);
    restart();
    QSignalSpy applications(m_tracker.get(), &ScreenHistoryTracker::activeAppChanged);
    keep(1);
    const QVector<ScreenShotData> rows = storedRows();
    QCOMPARE(rows.last().frameIndexOfDay, 4U);
    QCOMPARE(rows.last().frameIndexOfVideo, 1U);
    QVERIFY(rows.last().videoName != rows.first().videoName);
    QCOMPARE(applications.count(), 0); // the day's last application still runs
}

void TestDayFiles::theStorageIsToBeCheckedOncePerVideo()
{
    QSignalSpy checks(m_tracker.get(), &ScreenHistoryTracker::requestCheckStorage);
    keep(100);
    QCOMPARE(checks.count(), 1);
    FakeClock::advance(5);
    keep(1);
    QCOMPARE(checks.count(), 2);
    FakeClock::freeze(QDateTime(QDate(2024, 3, 6), QTime(8, 30, 0)));
    keep(1);
    QCOMPARE(checks.count(), 3);
}

void TestDayFiles::aDirectoryThatCannotBeMadeIsTriedAgain()
{
    const QString month = QFileInfo(todayDirectory()).absolutePath();
    QVERIFY(QDir().mkpath(QFileInfo(month).absolutePath()));
    QFile obstacle(month);
    QVERIFY(obstacle.open(QIODevice::WriteOnly));
    const LogCapture log;
    keep(2);
    QCOMPARE(log.count(QtDebugMsg, QStringLiteral("目录创建失败：")), 2);
    QCOMPARE(storedRows().size(), 2); // frames and counters run on
    QVERIFY(!m_tracker->initNewVideoFile());

    QVERIFY(obstacle.remove());
    keep(1);
    const ScreenShotData row = storedRows().last();
    QCOMPARE(row.videoName, QStringLiteral("2024-03-05_14-07-31.mp4"));
    QCOMPARE(row.frameIndexOfVideo, 3U);
    m_tracker.reset();
    // The two frames that had no safety copy were in memory all the time.
    VideoComposer composer(nullptr);
    QCOMPARE(composer.getFrameNumberFromVideo(todayDirectory() + QLatin1Char('/') + row.videoName),
             3U);
}

void TestDayFiles::theNewestDayFolderIsFound_data()
{
    QTest::addColumn<QStringList>("folders");
    QTest::addColumn<QString>("newest");
    QTest::addColumn<QString>("warning");
    QTest::newRow("several months and days")
        << QStringList{QStringLiteral("2023-12/2023-12-31"), QStringLiteral("2024-02/2024-02-10"),
                       QStringLiteral("2024-02/2024-02-09")}
        << QStringLiteral("2024-02/2024-02-10") << QString();
    QTest::newRow("no root") << QStringList() << QString()
                             << QStringLiteral("screenshots directory does not exist:");
    QTest::newRow("no month") << QStringList{QString()} << QString()
                              << QStringLiteral("No month folders found.");
    QTest::newRow("an empty newest month is not backed out of")
        << QStringList{QStringLiteral("2024-01/2024-01-10"), QStringLiteral("2024-02")} << QString()
        << QStringLiteral("No date folders found in the latest month.");
}

void TestDayFiles::theNewestDayFolderIsFound()
{
    QFETCH(QStringList, folders);
    QFETCH(QString, newest);
    QFETCH(QString, warning);
    const QTemporaryDir directory;
    const QString root = directory.filePath(QStringLiteral("screenshots"));
    for (const QString &folder : folders) {
        QVERIFY(QDir().mkpath(root + QLatin1Char('/') + folder));
    }
    const LogCapture log;
    QCOMPARE(m_tracker->findLatestFolder(root),
             newest.isEmpty() ? QString() : root + QLatin1Char('/') + newest);
    QCOMPARE(log.texts(QtWarningMsg).size(), warning.isEmpty() ? 0 : 1);
    QVERIFY(warning.isEmpty() || log.contains(QtWarningMsg, warning));
}

void TestDayFiles::theRestOfAnEmptyBatchIsNothing()
{
    QSignalSpy conversions(m_tracker->videoComposer(), &VideoComposer::requestConvertImagesToVideo);
    m_tracker->convertRemainedImagesToVideo();
    QCOMPARE(conversions.count(), 0);
}

void TestDayFiles::theDaysFramesCountedFromTheDatabase()
{
    for (int frame = 0; frame < 3; ++frame) { // the newest row is told by its second
        keep(1);
        FakeClock::advance(5);
    }
    restart();
    m_tracker->getTodayFrameNumFromDB();
    keep(1);
    QCOMPARE(storedRows().last().frameIndexOfDay, 4U);
}

void TestDayFiles::theDaysFramesCountedFromTheVideos()
{
    keep(3);
    FakeClock::advance(60);
    restart();
    for (const char *noVideosName : {"/2024-03-05_14-07-31.mp4.bak", "/holiday.mp4"}) {
        QVERIFY(QFile::copy(todayDirectory() + QLatin1String("/2024-03-05_14-07-31.mp4"),
                            todayDirectory() + QLatin1String(noVideosName)));
    }
    m_tracker->getTodayVideoFrameNum(); // adds to what the database gave
    keep(1);
    QCOMPARE(storedRows().last().frameIndexOfDay, 7U);
}

void TestDayFiles::withoutADayNothingIsCounted()
{
    keep(3);
    (*m_tracker).*memberOf(Today()) = QString();
    const LogCapture log;
    m_tracker->getTodayFrameNumFromDB();
    QCOMPARE(log.count(QtWarningMsg, QStringLiteral("Warning: today is empty")), 1);
    (*m_tracker).*memberOf(Today()) = QStringLiteral("2024-03-05");
    keep(1);
    QCOMPARE(storedRows().last().frameIndexOfDay, 1U);
}

void TestDayFiles::withoutAnEncoderTheRestIsTold()
{
    const QString text = QStringLiteral("convertRemainedImagesToVideo m_videoComposer is NULL");
    VideoComposer *&composer = (*m_tracker).*memberOf(Composer());
    VideoComposer *const kept = std::exchange(composer, nullptr);
    const LogCapture log;
    m_tracker->convertRemainedImagesToVideo(); // an empty batch needs none
    QCOMPARE(log.texts(), QStringList());
    keep(1);
    m_tracker->convertRemainedImagesToVideo();
    composer = kept;
    QCOMPARE(log.texts(QtDebugMsg).filter(QStringLiteral("convertRemained")), QStringList(text));
}

void TestDayFiles::theLayoutOfDays()
{
    const QString root =
        QDir::homePath() + QLatin1String("/.cache/tavel-ai-yestermark/screenshots");
    QCOMPARE(m_tracker->getScreenshotDirByDate(QDate(2024, 3, 5)),
             root + QLatin1String("/2024-03/2024-03-05"));
    QCOMPARE(m_tracker->getVideoStorageDir(), root + QLatin1String("/2024-03/2024-03-05"));
}

void TestDayFiles::aBoxThatIsMountedLaterTakesTheNextDay()
{
    keep(1);
    const QString plain = todayDirectory();
    mountBox(true);
    const QString box = QDir::homePath() +
                        QLatin1String("/.vault/tavel-ai-yestermark/screenshots/2024-03/2024-03-0");
    QVERIFY(m_tracker->hasEncryption());
    QCOMPARE(m_tracker->getScreenshotDirByDate(QDate(2024, 3, 5)), box + QLatin1Char('5'));
    QCOMPARE(m_tracker->getVideoStorageDir(), box + QLatin1Char('5'));
    keep(1); // the day goes on where it began
    QCOMPARE(filesIn(plain, QStringLiteral("*.png")).size(), 2);
    QVERIFY(!QDir(box + QLatin1Char('5')).exists());

    FakeClock::freeze(QDateTime(QDate(2024, 3, 6), QTime(8, 30, 0)));
    keep(1);
    QCOMPARE(filesIn(box + QLatin1Char('6'), QStringLiteral("*.png")).size(), 1);
}

void TestDayFiles::aBoxThatIsMountedLaterTakesWhatFollowsADeletion()
{
    keep(1);
    const QString plain = todayDirectory();
    mountBox(true);
    m_tracker->deleteAllVideos();
    keep(1);
    const QString box = QDir::homePath() +
                        QLatin1String("/.vault/tavel-ai-yestermark/screenshots/2024-03/2024-03-05");
    QCOMPARE(filesIn(box, QStringLiteral("*.png")).size(), 1);
    QCOMPARE(filesIn(plain, QStringLiteral("*.png")).size(), 1); // of the other root
}

QTEST_MAIN(TestDayFiles)
#include "dayfilestest.moc"
