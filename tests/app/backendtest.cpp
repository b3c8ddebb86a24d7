// The backend root: settings reach the tracker, and a clock that went back switches recording off.

#include "app/startup.h"
#include "app/yestermarkbackend.h"
#include "capture/capturefixture.h"
#include "database/databasemanager.h"
#include "desktopbridge/fake/fakedesktop.h"
#include "support/fakeclock.h"
#include "support/logcapture.h"
#include "support/pictures.h"

#include <QMetaType>
#include <QSignalSpy>
#include <QTest>

using CaptureFixture::storedRows;

class TestBackend : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();

    void whatCrossesThreadsIsRegisteredByName();
    void recordingStartsByItselfIfItIsOnInTheSettings();
    void settingsReachTheTracker();
    void aSettingThatDoesNotChangeReachesNobody();
    void framesOfExcludedApplicationsAreKeptAllTheSame();
    void aNewerFrameAtTheStartSwitchesRecordingOffBeforeAnyFrame();
    void aClockGoneBackDuringCaptureSwitchesRecordingOff();
    void theClockIsAskedEveryFiveSecondsUntilItIsRight();

private:
    void storeFrameAt(const QDateTime &moment);

    std::unique_ptr<ConfigManager> m_settings; // as another program that writes the same keys
    std::unique_ptr<FakeDesktop> m_desktop;
    std::unique_ptr<CaptureFixture::Application> m_application;
    const QDateTime m_now{QDate(2024, 3, 5), QTime(14, 7, 31)};
};

void TestBackend::initTestCase()
{
    m_settings = std::make_unique<ConfigManager>();
    m_desktop = std::make_unique<FakeDesktop>();
    m_application =
        std::make_unique<CaptureFixture::Application>(CaptureFixture::Application::FileManager);
    m_desktop->setActivePid(m_application->pid());
}

void TestBackend::init()
{
    FakeClock::set(m_now);
    CaptureFixture::eraseEverything();
    m_settings->setRecordingMemory(false);
    m_settings->setScreenshotInterval(1);
}

void TestBackend::cleanup()
{
    FakeClock::reset();
}

void TestBackend::storeFrameAt(const QDateTime &moment)
{
    ScreenShotData row;
    row.videoName = moment.toString(QStringLiteral("yyyy-MM-dd_hh-mm-ss")) + QLatin1String(".mp4");
    row.frameIndexOfVideo = 1;
    row.frameIndexOfDay = 1;
    row.realTime = moment.toSecsSinceEpoch();
    row.desktopFilePath = m_application->desktopEntry();
    row.ocrText = QLatin1String("");
    QVERIFY(DatabaseManager::getInstance()->saveScreenShotData(row));
}

void TestBackend::whatCrossesThreadsIsRegisteredByName()
{
    registerMetaTypes();
    // As signals name their arguments: a queued one looks its types up by these texts.
    for (const char *name : {"ScreenShotData", "ScreenShotData&", "QVector<OCRTextData>"}) {
        QVERIFY2(QMetaType::type(name) != QMetaType::UnknownType, name);
    }
    QCOMPARE(QMetaType::type("ScreenShotData&"), QMetaType::type("ScreenShotData"));
}

void TestBackend::recordingStartsByItselfIfItIsOnInTheSettings()
{
    m_settings->setRecordingMemory(true);
    const LogCapture log;
    const YestermarkBackend backend;
    const QStringList texts = log.texts(QtDebugMsg).filter(QStringLiteral("ScreenHistoryTracker"));
    QCOMPARE(texts,
             QStringList({QStringLiteral("ScreenHistoryTracker setRecordingMemory to true"),
                          QStringLiteral("ScreenHistoryTracker setScreenshotInterval to 1")}));
    m_desktop->setImage(Pictures::numbered(1));
    QTest::qWait(1200);
    m_desktop->emitScreenContentChanged(95.0);
    QTRY_COMPARE(storedRows().size(), 1);
}

void TestBackend::settingsReachTheTracker()
{
    const YestermarkBackend backend;
    const LogCapture log;
    m_settings->setRecordingMemory(true);
    QTRY_VERIFY(log.contains(QtDebugMsg,
                             QStringLiteral("ScreenHistoryTracker setRecordingMemory to true")));
    m_settings->setScreenshotInterval(9);
    QTRY_VERIFY(log.contains(QtDebugMsg,
                             QStringLiteral("ScreenHistoryTracker setScreenshotInterval to 9")));
    m_settings->setRecordingMemory(false);
    QTRY_VERIFY(log.contains(QtDebugMsg,
                             QStringLiteral("ScreenHistoryTracker setRecordingMemory to false")));
}

void TestBackend::aSettingThatDoesNotChangeReachesNobody()
{
    m_settings->setRecordingMemory(true);
    const YestermarkBackend backend;
    QTest::qWait(100); // the notification of the line above
    const LogCapture log;
    m_settings->setRecordingMemory(true);
    m_settings->setScreenshotInterval(1);
    QTest::qWait(300);
    QCOMPARE(log.texts().filter(QStringLiteral("ScreenHistoryTracker")), QStringList());
}

void TestBackend::framesOfExcludedApplicationsAreKeptAllTheSame()
{
    m_settings->setRecordingMemory(true);
    const YestermarkBackend backend;
    QSignalSpy excluded(m_settings.get(), &ConfigManager::excludeAppsChanged);
    m_settings->setExcludeApps({m_application->desktopEntry()});
    QTRY_COMPARE(excluded.count(), 1);
    m_desktop->setImage(Pictures::numbered(2));
    QTest::qWait(1200);
    m_desktop->emitScreenContentChanged(95.0);
    QTRY_COMPARE(storedRows().size(), 1);
    QCOMPARE(storedRows().first().desktopFilePath, m_application->desktopEntry());
}

void TestBackend::aNewerFrameAtTheStartSwitchesRecordingOffBeforeAnyFrame()
{
    storeFrameAt(m_now.addSecs(60));
    m_settings->setRecordingMemory(true);
    const LogCapture log;
    const YestermarkBackend backend;
    QVERIFY(log.contains(QtWarningMsg, QStringLiteral("back in time detected")));
    QVERIFY(log.contains(QtDebugMsg, QStringLiteral("asked to come to the front")));
    QVERIFY(!log.contains(QtDebugMsg,
                          QStringLiteral("ScreenHistoryTracker setRecordingMemory to true")));
    QVERIFY(!m_settings->getRecordingMemory());
    QTest::qWait(1200);
    m_desktop->emitScreenContentChanged(95.0);
    QTest::qWait(200);
    QCOMPARE(storedRows().size(), 1);
}

void TestBackend::aClockGoneBackDuringCaptureSwitchesRecordingOff()
{
    m_settings->setRecordingMemory(true);
    YestermarkBackend backend;
    QSignalSpy back(&backend, &YestermarkBackend::backInTimeDetected);
    FakeClock::advance(-3600);
    QTest::qWait(1200);
    m_desktop->emitScreenContentChanged(95.0);
    QTRY_COMPARE(back.count(), 1);
    QTRY_VERIFY(!m_settings->getRecordingMemory());
    QCOMPARE(storedRows().size(), 0);
}

void TestBackend::theClockIsAskedEveryFiveSecondsUntilItIsRight()
{
    storeFrameAt(m_now.addSecs(600));
    YestermarkBackend backend;
    const LogCapture log;
    backend.checkTimeAndReMemory();
    const QString warning = QStringLiteral("still not the right time");
    QTest::qWait(4000);
    QCOMPARE(log.count(QtWarningMsg, warning), 0);
    QTRY_COMPARE_WITH_TIMEOUT(log.count(QtWarningMsg, warning), 1, 2000);
    QVERIFY(!m_settings->getRecordingMemory());

    FakeClock::advance(601);
    QTRY_VERIFY_WITH_TIMEOUT(m_settings->getRecordingMemory(), 6000);
    QCOMPARE(log.count(QtWarningMsg, warning), 1);
}

QTEST_MAIN(TestBackend)
#include "backendtest.moc"
