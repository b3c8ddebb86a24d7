// The backend root: settings reach the tracker, and a clock that went back switches recording off.

#include "app/startup.h"
#include "app/yestermarkbackend.h"
#include "capture/capturefixture.h"
#include "database/databasemanager.h"
#include "desktopbridge/fake/fakedesktop.h"
#include "support/fakeclock.h"
#include "support/logcapture.h"
#include "support/pictures.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QGuiApplication>
#include <QMetaType>
#include <QSignalSpy>
#include <QTest>
#include <QWindow>

using CaptureFixture::storedRows;
using CaptureFixture::storeFrameAt;

namespace
{
/// Waits until a window of the program, the page or a dialog before it, has the focus.
bool isInFront()
{
    return QTest::qWaitFor([] { return QGuiApplication::focusWindow() != nullptr; }, 20000);
}

/// Takes the program's windows out of the way: nothing is recorded in front of them.
bool giveWay()
{
    if (!isInFront()) { // else the focus could still come behind the hiding
        return false;
    }
    for (QWindow *window : QGuiApplication::topLevelWindows()) {
        window->hide();
    }
    return QTest::qWaitFor([] { return !QGuiApplication::focusObject(); }, 20000);
}

/// A backend whose windows are out of the way.
class BackgroundBackend : public YestermarkBackend
{
public:
    BackgroundBackend()
    {
        if (!giveWay()) {
            qFatal("the window did not come to the front and go");
        }
    }
};
} // namespace

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
    void theCeilingIsSetBeforeAnythingElse();
    void aLowerCeilingInTheSettingsFreesAtOnce();
    void theCeilingIsLookedAtWhenAVideoBegins();
    void aSettingThatDoesNotChangeReachesNobody();
    void framesOfExcludedApplicationsAreKeptAllTheSame();
    void aNewerFrameAtTheStartSwitchesRecordingOffBeforeAnyFrame();
    void aClockSetBackBeforeTheStartHarmsNothing_data();
    void aClockSetBackBeforeTheStartHarmsNothing();
    void aClockGoneBackDuringCaptureSwitchesRecordingOff_data();
    void aClockGoneBackDuringCaptureSwitchesRecordingOff();
    void theClockIsAskedEveryFiveSecondsUntilItIsRight();

private:
    void addClockRows();
    static QString ballastOf(const QDate &day);
    static void addBallast(const QDate &day, qint64 bytes);
    static qint64 bytesOfBallast(const QDate &day);

    std::unique_ptr<ConfigManager> m_settings; // as another program that writes the same keys
    std::unique_ptr<FakeDesktop> m_desktop;
    std::unique_ptr<CaptureFixture::Application> m_application;
    const QDateTime m_now{QDate(2024, 3, 5), QTime(14, 7, 31)};
};

void TestBackend::initTestCase()
{
    chooseRenderer();
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

void TestBackend::whatCrossesThreadsIsRegisteredByName()
{
    registerMetaTypes();
    // As signals name their arguments: a queued one looks its types up by these texts.
    for (const char *name :
         {"ScreenShotData", "ScreenShotData&", "QVector<OCRTextData>", "VideoPreviewImageItem"}) {
        QVERIFY2(QMetaType::type(name) != QMetaType::UnknownType, name);
    }
    QCOMPARE(QMetaType::type("ScreenShotData&"), QMetaType::type("ScreenShotData"));
}

void TestBackend::recordingStartsByItselfIfItIsOnInTheSettings()
{
    m_settings->setRecordingMemory(true);
    const LogCapture log;
    const BackgroundBackend backend;
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
    const BackgroundBackend backend;
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

QString TestBackend::ballastOf(const QDate &day)
{
    return QDir::homePath() + QLatin1String("/.cache/tavel-ai-yestermark/screenshots/") +
           day.toString(QStringLiteral("yyyy-MM/yyyy-MM-dd")) + QLatin1String("/ballast.mp4");
}

void TestBackend::addBallast(const QDate &day, qint64 bytes)
{
    QVERIFY(QDir().mkpath(QFileInfo(ballastOf(day)).absolutePath()));
    QFile file(ballastOf(day)); // sparse: takes no room on the disk
    QVERIFY(file.open(QIODevice::WriteOnly));
    QVERIFY(file.resize(bytes));
}

qint64 TestBackend::bytesOfBallast(const QDate &day)
{
    const QFileInfo file(ballastOf(day));
    return file.exists() ? file.size() : -1;
}

void TestBackend::theCeilingIsSetBeforeAnythingElse()
{
    addBallast(m_now.date().addDays(-1), qint64{3} << 30); // below the ceiling, above none
    m_settings->setMaxStorageSize(4);
    m_settings->setRecordingMemory(true);
    const LogCapture log;
    const BackgroundBackend backend;
    const QStringList texts = log.texts(QtDebugMsg);
    const int ceiling = texts.indexOf(QStringLiteral("Yestermark storage size changed: 4"));
    const int recording =
        texts.indexOf(QStringLiteral("ScreenHistoryTracker setRecordingMemory to true"));
    QVERIFY(ceiling >= 0);
    QVERIFY(recording > ceiling);
    QCOMPARE(log.count(QtDebugMsg, QStringLiteral("Yestermark storage size changed:")), 1);
    QCOMPARE(bytesOfBallast(m_now.date().addDays(-1)), qint64{3} << 30);
}

void TestBackend::aLowerCeilingInTheSettingsFreesAtOnce()
{
    addBallast(m_now.date().addDays(-2), qint64{2} << 30);
    addBallast(m_now.date().addDays(-1), qint64{2} << 30);
    m_settings->setMaxStorageSize(4);
    const BackgroundBackend backend;
    QVERIFY(bytesOfBallast(m_now.date().addDays(-2)) > 0); // exactly at the ceiling
    const LogCapture log;
    m_settings->setMaxStorageSize(3);
    QTRY_COMPARE(bytesOfBallast(m_now.date().addDays(-2)), qint64{-1});
    QVERIFY(bytesOfBallast(m_now.date().addDays(-1)) > 0);
    QCOMPARE(log.count(QtDebugMsg, QStringLiteral("Yestermark storage size changed: 3")), 1);
}

void TestBackend::theCeilingIsLookedAtWhenAVideoBegins()
{
    m_settings->setMaxStorageSize(1);
    m_settings->setRecordingMemory(true);
    const BackgroundBackend backend;
    addBallast(m_now.date().addDays(-1), qint64{2} << 30);
    m_desktop->setImage(Pictures::numbered(3));
    const auto isKept = [this] {
        m_desktop->emitScreenContentChanged(95.0);
        return storedRows().size() == 1;
    };
    QTRY_VERIFY_WITH_TIMEOUT(isKept(), 20000);
    QCOMPARE(bytesOfBallast(m_now.date().addDays(-1)), qint64{-1});
}

void TestBackend::aSettingThatDoesNotChangeReachesNobody()
{
    m_settings->setRecordingMemory(true);
    const BackgroundBackend backend;
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
    const BackgroundBackend backend;
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
    QVERIFY(storeFrameAt(m_now.addSecs(60)));
    m_settings->setRecordingMemory(true);
    const LogCapture log;
    const YestermarkBackend backend;
    QVERIFY(log.contains(QtWarningMsg, QStringLiteral("back in time detected")));
    QVERIFY(isInFront());
    QVERIFY(!log.contains(QtDebugMsg,
                          QStringLiteral("ScreenHistoryTracker setRecordingMemory to true")));
    QVERIFY(!m_settings->getRecordingMemory());
    QVERIFY(giveWay()); // in front of it nothing would be recorded anyway
    QTest::qWait(1200);
    m_desktop->emitScreenContentChanged(95.0);
    QTest::qWait(200);
    QCOMPARE(storedRows().size(), 1);
}

void TestBackend::addClockRows()
{
    QTest::addColumn<int>("seconds");
    QTest::newRow("an hour") << 3600;
    QTest::newRow("a day") << 86400;
    QTest::newRow("a year") << 366 * 86400;
}

void TestBackend::aClockSetBackBeforeTheStartHarmsNothing_data()
{
    addClockRows();
}

void TestBackend::aClockSetBackBeforeTheStartHarmsNothing()
{
    QFETCH(int, seconds);
    QVERIFY(storeFrameAt(m_now));
    addBallast(m_now.date(), 1000);
    m_settings->setRecordingMemory(true);
    FakeClock::advance(-seconds);
    const LogCapture log;
    {
        BackgroundBackend backend;
        QCOMPARE(log.count(QtWarningMsg, QStringLiteral("back in time detected")), 1);
        QVERIFY(!m_settings->getRecordingMemory());
        QCOMPARE(storedRows().size(), 1);
        QCOMPARE(bytesOfBallast(m_now.date()), 1000);

        FakeClock::advance(seconds); // forward again, by hand
        QVERIFY(!backend.isBackInTime());
        QVERIFY(!m_settings->getRecordingMemory()); // and yet nobody has switched it on
        FakeClock::advance(-seconds);
        QVERIFY(backend.isBackInTime());

        // With all of the history gone no frame lies ahead any more.
        QVERIFY(DatabaseManager::getInstance()->deleteUserData(AllTime));
        QVERIFY(!backend.isBackInTime());
    }
    QCOMPARE(storedRows().size(), 0);
}

void TestBackend::aClockGoneBackDuringCaptureSwitchesRecordingOff_data()
{
    addClockRows();
}

void TestBackend::aClockGoneBackDuringCaptureSwitchesRecordingOff()
{
    QFETCH(int, seconds);
    m_settings->setRecordingMemory(true);
    BackgroundBackend backend;
    QSignalSpy back(&backend, &YestermarkBackend::backInTimeDetected);
    const LogCapture log;
    FakeClock::advance(-seconds);
    // The next change behind a tick of the timer is the attempt.
    const auto isNoticed = [&] {
        m_desktop->emitScreenContentChanged(95.0);
        return back.count() == 1;
    };
    QTRY_VERIFY_WITH_TIMEOUT(isNoticed(), 20000);
    QCOMPARE(log.count(QtWarningMsg, QStringLiteral("Warning: Time travel detected")), 1);
    QTRY_VERIFY(!m_settings->getRecordingMemory());
    QCOMPARE(storedRows().size(), 0);
}

void TestBackend::theClockIsAskedEveryFiveSecondsUntilItIsRight()
{
    QVERIFY(storeFrameAt(m_now.addSecs(600)));
    BackgroundBackend backend;
    const LogCapture log;
    backend.checkTimeAndReMemory();
    const QString warning = QStringLiteral("still not the right time");
    QTest::qWait(4000);
    QCOMPARE(log.count(QtWarningMsg, warning), 0);
    QTRY_COMPARE_WITH_TIMEOUT(log.count(QtWarningMsg, warning), 1, 2000);
    QElapsedTimer sinceTheFirst;
    sinceTheFirst.start();
    QTRY_COMPARE_WITH_TIMEOUT(log.count(QtWarningMsg, warning), 2, 6000);
    QVERIFY(sinceTheFirst.elapsed() > 4000);
    QVERIFY(!m_settings->getRecordingMemory());

    FakeClock::advance(601);
    QTRY_VERIFY_WITH_TIMEOUT(m_settings->getRecordingMemory(), 6000);
    QCOMPARE(log.count(QtWarningMsg, warning), 2);
}

QTEST_MAIN(TestBackend)
#include "backendtest.moc"
