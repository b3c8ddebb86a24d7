// When the tracker takes a frame, and what it does with it.

#include "ai/imageutils.h"
#include "capture/capturefixture.h"
#include "capture/privatemember.h"
#include "capture/screenhistorytracker.h"
#include "desktopbridge/fake/fakedesktop.h"
#include "support/fakeclock.h"
#include "support/logcapture.h"
#include "support/pictures.h"

#include <QDir>
#include <QElapsedTimer>
#include <QLineEdit>
#include <QPainter>
#include <QRandomGenerator>
#include <QSignalSpy>
#include <QTest>

using CaptureFixture::Application;
using CaptureFixture::storedRows;
using CaptureFixture::todayDirectory;

struct ScreenshotTimer {
    using Type = QTimer ScreenHistoryTracker::*;
    friend Type memberOf(ScreenshotTimer);
};
template struct PrivateMember<ScreenshotTimer, &ScreenHistoryTracker::m_screenshotTimer>;

struct Uptime {
    using Type = QElapsedTimer ScreenHistoryTracker::*;
    friend Type memberOf(Uptime);
};
template struct PrivateMember<Uptime, &ScreenHistoryTracker::m_uptime>;

struct BeginSeconds {
    using Type = qint64 QElapsedTimer::*;
    friend Type memberOf(BeginSeconds);
};
template struct PrivateMember<BeginSeconds, &QElapsedTimer::t1>;

namespace
{
// Shapes apart from each other, each the home of key points of its own. Leaving some out takes
// their key points away and no others.
QImage shapes(quint32 seed, int count)
{
    QImage image(640, 480, QImage::Format_RGB32);
    image.fill(Qt::white);
    QPainter painter(&image);
    QRandomGenerator random(seed);
    for (int shape = 0; shape < count; ++shape) {
        const QPoint corner(80 + (shape % 4) * 130, 70 + (shape / 4) * 110);
        painter.fillRect(QRect(corner, QSize(random.bounded(12, 40), random.bounded(12, 40))),
                         QColor(random.bounded(160), random.bounded(160), random.bounded(160)));
    }
    return image;
}

struct Pair {
    QImage first;
    QImage second;
};

Pair pairOfSimilarity(double similarity)
{
    for (quint32 seed = 1; seed < 400; ++seed) {
        const QImage all = shapes(seed, 12);
        for (int count = 11; count >= 8; --count) {
            const QImage fewer = shapes(seed, count);
            if (calculateSimilar(all, fewer) == similarity) {
                return {all, fewer};
            }
        }
    }
    return {};
}
} // namespace

class TestCaptureLoop : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();

    void anHourWithoutChangeTakesNoFrameAndTheFirstChangeTakesOneAtOnce();
    void twoChangesWithinOneIntervalTakeOneFrame();
    void aPauseWithTheIntervalElapsedStillTakesOneMoreFrame();
    void aTickDuringTheLockLosesOnlyThatAttempt();
    void theOwnWindowInFocusTakesNoFrameAndUsesUpTheFlag();
    void similarityExactlyAtTheLimitKeepsTheFrame();
    void anApplicationSwitchOnANearlyIdenticalScreenIsDropped();
    void theFirstFrameAfterAStartIsNotCompared();
    void twoBlankScreensAreBothKept();
    void slowDriftAddsUpUntilItCounts();
    void aPictureOfAnyFormatIsStoredInItsColours_data();
    void aPictureOfAnyFormatIsStoredInItsColours();

    void theTimerStandsStillAtFiveSecondsAfterAStart();
    void aLockIsLookedAtBeforeTheClock();
    void theOwnWindowIsLookedAtBeforeTheClock();
    void aRefusedThresholdLeavesTheTimerAlone();
    void aCompositorThatComesBackIsAskedAnew();
    void aClockBehindTheLastCheckTakesNoFrameUntilItHasPassedItAgain();
    void noDesktopEntryDropsTheFrameAndKeepsTheLastOne();
    void noPictureIsTold();
    void aKeptFrameHasItsSafetyCopyAndItsRow();
    void aFailedSafetyCopyKeepsTheRow();
    void framesThatAreLostForLongAreTold_data();
    void framesThatAreLostForLongAreTold();
    void theApplicationIsToldWhenItChangesOnly();
    void theRecordingSwitchAndTheIntervalAreLogged();
    void theEndConvertsTheOpenBatch();
    void aStartConvertsWhatAFormerRunLeft();
    void aStartConvertsWhatIsLeftOfOlderDaysToo();

private:
    void leaveImages(const QDate &day);
    static QString videoLeftOn(const QDate &day);
    QStringList filesOf(const QDate &day) const;
    void show(int picture);
    void elapse();
    void change();
    int frames() const { return storedRows().size(); }

    std::unique_ptr<FakeDesktop> m_desktop;
    std::unique_ptr<Application> m_application;
    std::unique_ptr<ScreenHistoryTracker> m_tracker;
};

void TestCaptureLoop::initTestCase()
{
    m_application = std::make_unique<Application>(Application::FileManager);
}

void TestCaptureLoop::init()
{
    CaptureFixture::eraseEverything();
    m_desktop = std::make_unique<FakeDesktop>();
    m_desktop->setActivePid(m_application->pid());
    show(1);
    m_tracker = std::make_unique<ScreenHistoryTracker>();
}

void TestCaptureLoop::cleanup()
{
    m_tracker.reset();
    m_desktop.reset();
    FakeClock::reset();
}

void TestCaptureLoop::show(int picture)
{
    m_desktop->setImage(Pictures::numbered(picture));
}

void TestCaptureLoop::elapse()
{
    m_tracker->setScreenshotInterval(0); // runs out at the next turn of the event loop
    m_tracker->setRecordingMemory(true);
    QTest::qWait(20);
    m_tracker->setRecordingMemory(false);
}

void TestCaptureLoop::change()
{
    m_tracker->screenContentChangedSlot(95.0);
}

void TestCaptureLoop::anHourWithoutChangeTakesNoFrameAndTheFirstChangeTakesOneAtOnce()
{
    elapse();
    FakeClock::advance(3600);
    elapse();
    QCOMPARE(frames(), 0);
    QVERIFY(m_desktop->screenshotCalls().isEmpty());

    m_desktop->emitScreenContentChanged(95.0);
    QTRY_COMPARE(frames(), 1);
}

void TestCaptureLoop::twoChangesWithinOneIntervalTakeOneFrame()
{
    elapse();
    change();
    show(2);
    change();
    QCOMPARE(frames(), 1);
    QCOMPARE(m_desktop->screenshotCalls().size(), 1);

    elapse();
    change();
    QCOMPARE(frames(), 2);
}

void TestCaptureLoop::aPauseWithTheIntervalElapsedStillTakesOneMoreFrame()
{
    elapse(); // ends paused, with the flag set
    change();
    QCOMPARE(frames(), 1);
    show(2);
    change();
    QCOMPARE(frames(), 1);
}

void TestCaptureLoop::aTickDuringTheLockLosesOnlyThatAttempt()
{
    m_desktop->emitLock();
    QTRY_VERIFY(!m_tracker->shouldTakeScreenShot());
    elapse();
    change();
    QCOMPARE(frames(), 0);

    m_desktop->emitUnlock();
    QTRY_VERIFY(m_tracker->shouldTakeScreenShot());
    change(); // nothing is caught up: the flag was used up during the lock
    QCOMPARE(frames(), 0);

    elapse();
    change();
    QCOMPARE(frames(), 1);
}

void TestCaptureLoop::theOwnWindowInFocusTakesNoFrameAndUsesUpTheFlag()
{
    elapse();
    {
        QLineEdit window;
        window.show();
        window.activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(&window));
        window.setFocus();
        QTRY_VERIFY(QGuiApplication::focusObject());
        change();
        QCOMPARE(frames(), 0);
    }
    QTRY_VERIFY(!QGuiApplication::focusObject());
    change();
    QCOMPARE(frames(), 0);

    elapse();
    change();
    QCOMPARE(frames(), 1);
}

void TestCaptureLoop::similarityExactlyAtTheLimitKeepsTheFrame()
{
    const Pair pair = pairOfSimilarity(0.8);
    QVERIFY2(!pair.first.isNull(), "no two pictures of similarity 0.8 were found");
    m_tracker->screenshotReady(pair.first);
    m_tracker->screenshotReady(pair.second);
    QCOMPARE(frames(), 2);
}

void TestCaptureLoop::anApplicationSwitchOnANearlyIdenticalScreenIsDropped()
{
    const Application other(Application::VolumeControl);
    QSignalSpy switches(m_tracker.get(), &ScreenHistoryTracker::activeAppChanged);
    m_tracker->screenshotReady(Pictures::numbered(1));
    QCOMPARE(switches.count(), 1);

    m_desktop->setActivePid(other.pid());
    m_tracker->screenshotReady(Pictures::numbered(1));
    QCOMPARE(frames(), 1);
    QCOMPARE(switches.count(), 1);
}

void TestCaptureLoop::theFirstFrameAfterAStartIsNotCompared()
{
    m_tracker->screenshotReady(Pictures::numbered(1));
    m_tracker = std::make_unique<ScreenHistoryTracker>();
    m_tracker->screenshotReady(Pictures::numbered(1));
    QCOMPARE(frames(), 2);
}

// Neither has a key point: they cannot be compared, so none shows nothing new.
void TestCaptureLoop::twoBlankScreensAreBothKept()
{
    QImage blank(640, 480, QImage::Format_RGB32);
    blank.fill(Qt::white);
    m_tracker->screenshotReady(blank);
    m_tracker->screenshotReady(blank);
    QCOMPARE(frames(), 2);
}

void TestCaptureLoop::aPictureOfAnyFormatIsStoredInItsColours_data()
{
    QTest::addColumn<QImage::Format>("format");
    QTest::newRow("three bytes") << QImage::Format_RGB888;
    QTest::newRow("two bytes") << QImage::Format_RGB16;
    QTest::newRow("four bytes, red first") << QImage::Format_RGBA8888;
    QTest::newRow("eight bytes") << QImage::Format_RGBA64;
    QTest::newRow("four bytes, blue first") << QImage::Format_ARGB32;
}

void TestCaptureLoop::aPictureOfAnyFormatIsStoredInItsColours()
{
    QFETCH(QImage::Format, format);
    const QColor colour(210, 110, 40);
    QImage screen = Pictures::numbered(21);
    QPainter(&screen).fillRect(QRect(100, 60, 120, 120), colour);
    m_desktop->setImage(screen.convertToFormat(format));
    QCOMPARE(m_tracker->takeScreenShot().depth(), 32);
    m_tracker->processScreenShot();
    const QString video = storedRows().last().videoName;

    m_tracker.reset();
    m_tracker = std::make_unique<ScreenHistoryTracker>();
    const QImage stored = m_tracker->getImageFromVideoFile(video, 1);
    QCOMPARE(Pictures::numberOf(stored), 21);
    const QColor seen = stored.pixelColor(stored.width() / 2, stored.height() / 2);
    QVERIFY2(qAbs(seen.red() - colour.red()) < 24 && qAbs(seen.green() - colour.green()) < 24 &&
                 qAbs(seen.blue() - colour.blue()) < 24,
             qPrintable(seen.name()));
}

void TestCaptureLoop::slowDriftAddsUpUntilItCounts()
{
    m_tracker->screenshotReady(shapes(1, 12));
    int steps = 0;
    for (int count = 11; count > 0 && frames() == 1; --count, ++steps) {
        m_tracker->screenshotReady(shapes(1, count));
    }
    QCOMPARE(frames(), 2);
    QVERIFY2(steps > 1, "one step alone was enough: nothing added up");
}

void TestCaptureLoop::theTimerStandsStillAtFiveSecondsAfterAStart()
{
    QTimer &timer = (*m_tracker).*memberOf(ScreenshotTimer());
    QCOMPARE(timer.interval(), 5000);
    QVERIFY(!timer.isActive());
    QVERIFY(!timer.isSingleShot());
    m_tracker->setRecordingMemory(true);
    QVERIFY(timer.isActive());
    m_tracker->setScreenshotInterval(7);
    QCOMPARE(timer.interval(), 7000);
    m_tracker->setRecordingMemory(false);
    QVERIFY(!timer.isActive());
}

void TestCaptureLoop::aLockIsLookedAtBeforeTheClock()
{
    QVERIFY(m_tracker->shouldTakeScreenShot());
    QSignalSpy back(m_tracker.get(), &ScreenHistoryTracker::backInTimeDetected);
    const LogCapture log;
    m_tracker->onScreenLockSignal();
    FakeClock::advance(-60);
    QVERIFY(!m_tracker->shouldTakeScreenShot());
    QCOMPARE(back.count(), 0);
    QCOMPARE(log.texts(), QStringList());
    m_tracker->onScreenUnLockSignal();
    QVERIFY(!m_tracker->shouldTakeScreenShot());
    QCOMPARE(back.count(), 1);
}

void TestCaptureLoop::theOwnWindowIsLookedAtBeforeTheClock()
{
    QVERIFY(m_tracker->shouldTakeScreenShot());
    QSignalSpy back(m_tracker.get(), &ScreenHistoryTracker::backInTimeDetected);
    FakeClock::advance(-60);
    {
        QLineEdit window;
        window.show();
        window.activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(&window));
        window.setFocus();
        QTRY_VERIFY(QGuiApplication::focusObject());
        QVERIFY(!m_tracker->shouldTakeScreenShot());
        QCOMPARE(back.count(), 0);
    }
    QTRY_VERIFY(!QGuiApplication::focusObject());
    QVERIFY(!m_tracker->shouldTakeScreenShot());
    QCOMPARE(back.count(), 1);
}

void TestCaptureLoop::aRefusedThresholdLeavesTheTimerAlone()
{
    m_tracker.reset();
    m_desktop->setThresholdError(true);
    const LogCapture log;
    m_tracker = std::make_unique<ScreenHistoryTracker>();
    QCOMPARE(log.count(QtWarningMsg, QStringLiteral("setContentChangeThreshold error:")), 1);
    m_tracker->setScreenshotInterval(0);
    m_tracker->setRecordingMemory(true);
    QTRY_COMPARE(frames(), 1);
}

void TestCaptureLoop::aCompositorThatComesBackIsAskedAnew()
{
    const LogCapture log;
    QVERIFY(m_desktop->setNames(FakeDesktop::NoName));
    QTRY_COMPARE(log.count(QtWarningMsg, QStringLiteral("setContentChangeThreshold error:")), 1);
    m_tracker->setScreenshotInterval(0);
    m_tracker->setRecordingMemory(true);
    const int failed = m_desktop->screenshotCalls().size();

    QVERIFY(m_desktop->setNames(FakeDesktop::WindowManager));
    QTRY_COMPARE(m_desktop->thresholds().size(), 2);
    m_tracker->setRecordingMemory(false);
    const int asked = m_desktop->screenshotCalls().size();
    QVERIFY(asked > failed); // the timer alone triggered in between

    elapse();
    QCOMPARE(m_desktop->screenshotCalls().size(), asked); // changes trigger again
    change();
    QCOMPARE(m_desktop->screenshotCalls().size(), asked + 1);
}

void TestCaptureLoop::aClockBehindTheLastCheckTakesNoFrameUntilItHasPassedItAgain()
{
    QVERIFY(m_tracker->shouldTakeScreenShot());
    QSignalSpy back(m_tracker.get(), &ScreenHistoryTracker::backInTimeDetected);
    const LogCapture log;
    FakeClock::advance(-60);
    QVERIFY(!m_tracker->shouldTakeScreenShot());
    FakeClock::advance(30);
    QVERIFY(!m_tracker->shouldTakeScreenShot());
    QCOMPARE(back.count(), 2);
    QCOMPARE(log.count(QtWarningMsg, QStringLiteral("Warning: Time travel detected")), 2);

    FakeClock::advance(31);
    QVERIFY(m_tracker->shouldTakeScreenShot());
    QCOMPARE(back.count(), 2);
}

void TestCaptureLoop::noDesktopEntryDropsTheFrameAndKeepsTheLastOne()
{
    m_tracker->screenshotReady(Pictures::numbered(1));
    m_desktop->setActivePidError(true);
    m_tracker->screenshotReady(Pictures::numbered(2));
    QCOMPARE(frames(), 1);

    // Still compared with the first picture, so the second one is new.
    m_desktop->setActivePidError(false);
    m_tracker->screenshotReady(Pictures::numbered(1));
    QCOMPARE(frames(), 1);
    m_tracker->screenshotReady(Pictures::numbered(2));
    QCOMPARE(frames(), 2);
}

void TestCaptureLoop::noPictureIsTold()
{
    m_desktop->setScreenshot(FakeDesktop::Screenshot::CloseAfter7Bytes);
    if (!m_tracker->takeScreenShot().isNull()) {
        QSKIP("the platform plug-in grabs a picture without a screen");
    }
    const LogCapture log;
    m_tracker->processScreenShot();
    QCOMPARE(log.count(QtWarningMsg, QStringLiteral("Failed to take screenshot")), 1);
    QCOMPARE(frames(), 0);
}

void TestCaptureLoop::aKeptFrameHasItsSafetyCopyAndItsRow()
{
    const QDateTime before = QDateTime::currentDateTime();
    for (int picture = 1; picture <= 12; ++picture) {
        m_tracker->screenshotReady(Pictures::numbered(picture));
    }
    const QVector<ScreenShotData> rows = storedRows();
    QCOMPARE(rows.size(), 12);
    const ScreenShotData &last = rows.last();
    QVERIFY(isValidVideoNameFormat(last.videoName));
    QCOMPARE(last.frameIndexOfVideo, 12U);
    QCOMPARE(last.frameIndexOfDay, 12U);
    QCOMPARE(last.desktopFilePath, m_application->desktopEntry());
    QVERIFY(last.ocrText.isEmpty());
    QVERIFY(last.realTime >= before.toSecsSinceEpoch());

    const QImage copy(todayDirectory() + QLatin1Char('/') + last.videoName +
                      QLatin1String("_012.png"));
    QCOMPARE(copy.convertToFormat(QImage::Format_RGB32), Pictures::numbered(12));
}

void TestCaptureLoop::aFailedSafetyCopyKeepsTheRow()
{
    m_tracker->screenshotReady(Pictures::numbered(1));
    // A directory stands where the copy would go.
    const QString blocked = todayDirectory() + QLatin1Char('/') + storedRows().last().videoName +
                            QLatin1String("_002.png");
    QVERIFY(QDir().mkpath(blocked));
    m_tracker->screenshotReady(Pictures::numbered(2));
    QCOMPARE(frames(), 2);
    QVERIFY(QDir().rmdir(blocked));
}

void TestCaptureLoop::framesThatAreLostForLongAreTold_data()
{
    QTest::addColumn<QString>("reason");
    for (const char *reason :
         {"the screen gives no picture", "no desktop entry is known for the application in front",
          "pictures or rows cannot be written, the disk may be full"}) {
        QTest::newRow(reason) << QString(reason);
    }
}

void TestCaptureLoop::framesThatAreLostForLongAreTold()
{
    QFETCH(QString, reason);
    QString blocked;
    if (reason.contains(QLatin1String("no picture"))) {
        m_desktop->setScreenshot(FakeDesktop::Screenshot::CloseAfter7Bytes);
        if (!m_tracker->takeScreenShot().isNull()) {
            QSKIP("the platform plug-in grabs a picture without a screen");
        }
    } else if (reason.contains(QLatin1String("desktop entry"))) {
        m_desktop->setActivePidError(true);
    } else {
        m_tracker->screenshotReady(Pictures::numbered(9));
        blocked = todayDirectory() + QLatin1Char('/') + storedRows().last().videoName;
        for (int copy = 2; copy <= 5; ++copy) {
            QVERIFY(QDir().mkpath(QStringLiteral("%1_00%2.png").arg(blocked).arg(copy)));
        }
    }
    const LogCapture log;
    show(1);
    m_tracker->processScreenShot();
    const QString told = QStringLiteral("Recording is on, but no frame could be stored");
    QVERIFY(!log.contains(QtWarningMsg, told));

    for (int picture = 2; picture <= 4; ++picture) {
        QVERIFY(!log.contains(QtWarningMsg, told));
        ((*m_tracker).*memberOf(Uptime())).*memberOf(BeginSeconds()) -= qint64{4} * 60;
        show(picture);
        m_tracker->processScreenShot();
    }
    QCOMPARE(log.texts(QtWarningMsg).filter(told),
             QStringList(told + QStringLiteral(" for 12 minutes: ") + reason));

    m_desktop->setScreenshot(FakeDesktop::Screenshot::Normal);
    m_desktop->setActivePidError(false);
    show(5);
    m_tracker->processScreenShot();
    QCOMPARE(log.count(QtDebugMsg, QStringLiteral("Frames are stored again")), 1);
}

void TestCaptureLoop::theApplicationIsToldWhenItChangesOnly()
{
    const Application other(Application::VolumeControl);
    QSignalSpy switches(m_tracker.get(), &ScreenHistoryTracker::activeAppChanged);
    m_tracker->screenshotReady(Pictures::numbered(1));
    m_tracker->screenshotReady(Pictures::numbered(2));
    m_desktop->setActivePid(other.pid());
    m_tracker->screenshotReady(Pictures::numbered(3));
    QCOMPARE(switches.count(), 2);
    QCOMPARE(switches.at(0).at(0).toString(), m_application->desktopEntry());
    QCOMPARE(switches.at(1).at(0).toString(), other.desktopEntry());
    QCOMPARE(storedRows().last().desktopFilePath, other.desktopEntry());
}

void TestCaptureLoop::theRecordingSwitchAndTheIntervalAreLogged()
{
    const LogCapture log;
    m_tracker->setScreenshotInterval(7);
    m_tracker->setRecordingMemory(true);
    m_tracker->setRecordingMemory(false);
    QCOMPARE(log.texts(QtDebugMsg),
             QStringList({QStringLiteral("ScreenHistoryTracker setScreenshotInterval to 7"),
                          QStringLiteral("ScreenHistoryTracker setRecordingMemory to true"),
                          QStringLiteral("ScreenHistoryTracker setRecordingMemory to false")}));
}

void TestCaptureLoop::theEndConvertsTheOpenBatch()
{
    for (int picture = 1; picture <= 3; ++picture) {
        m_tracker->screenshotReady(Pictures::numbered(picture));
    }
    const QString video = storedRows().last().videoName;
    m_tracker.reset();
    QCOMPARE(CaptureFixture::filesIn(todayDirectory(), QStringLiteral("*")), QStringList(video));
}

QString TestCaptureLoop::videoLeftOn(const QDate &day)
{
    return day.toString(QStringLiteral("yyyy-MM-dd")) + QLatin1String("_00-00-01.mp4");
}

QStringList TestCaptureLoop::filesOf(const QDate &day) const
{
    return CaptureFixture::filesIn(m_tracker->getScreenshotDirByDate(day), QStringLiteral("*"));
}

void TestCaptureLoop::leaveImages(const QDate &day)
{
    const QString directory = m_tracker->getScreenshotDirByDate(day);
    QVERIFY(QDir().mkpath(directory));
    for (int picture = 1; picture <= 3; ++picture) {
        QVERIFY(Pictures::numbered(picture).save(
            QStringLiteral("%1/%2_00%3.png").arg(directory, videoLeftOn(day)).arg(picture)));
    }
}

void TestCaptureLoop::aStartConvertsWhatAFormerRunLeft()
{
    const QDate today = QDate::currentDate();
    leaveImages(today);
    m_tracker.reset();
    m_tracker = std::make_unique<ScreenHistoryTracker>();
    // Done before the constructor returns.
    QCOMPARE(filesOf(today), QStringList(videoLeftOn(today)));
}

// Left by a kill soon after midnight, when the next day already had its directory.
void TestCaptureLoop::aStartConvertsWhatIsLeftOfOlderDaysToo()
{
    const QDate today = QDate::currentDate();
    const QVector<QDate> days{today.addDays(-1), today.addDays(-40)};
    for (const QDate &day : days) {
        leaveImages(day);
    }
    QVERIFY(QDir().mkpath(m_tracker->getScreenshotDirByDate(today)));
    m_tracker.reset();
    m_tracker = std::make_unique<ScreenHistoryTracker>();
    for (const QDate &day : days) {
        QTRY_COMPARE_WITH_TIMEOUT(filesOf(day), QStringList(videoLeftOn(day)), 60000);
    }
}

QTEST_MAIN(TestCaptureLoop)
#include "capturelooptest.moc"
