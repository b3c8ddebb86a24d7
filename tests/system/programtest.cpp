// The program as a whole, with the real desktop bridge, on an X display with real windows.

#include "capture/capturefixture.h"
#include "system/recordedsession.h"
#include "video/videocomposer.h"

#include <QDBusConnection>
#include <QDir>
#include <QDirIterator>
#include <QElapsedTimer>
#include <QTemporaryDir>
#include <QTest>

#include <algorithm>
#include <csignal>

using CaptureFixture::filesIn;
using CaptureFixture::storedRows;
using CaptureFixture::todayDirectory;
using namespace RecordedSession;

class TestProgram : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();

    void aSecondStartComesToAnEndAndTellsTheFirst_data();
    void aSecondStartComesToAnEndAndTellsTheFirst();
    void theMessageIsTheFirstArgumentElseTheExecutable_data();
    void theMessageIsTheFirstArgumentElseTheExecutable();
    void aStartAfterAKillTakesTheSession();
    void aSignalEndsItInOrder_data();
    void aSignalEndsItInOrder();
    void aSignalBeforeTheEventLoopIsHeeded();
    void realWindowsAreRecordedUnderTheirApplication();
    void aKeyWrittenFromOutsideStartsAndPausesRecording();
    void aStoredFrameNewerThanTheClockSwitchesRecordingOff();
    void recordingGoesOnAfterTheBridgeWasKilled();
    void withoutTheBridgeTheTimerTakesFrames();
    void theLogHoldsNothingThatStoodOnTheScreen();
    void whatIsWrittenIsForTheUserOnly();
    void theCacheVariableMovesNothing();

private:
    static bool waitForRows(int count);
};

bool TestProgram::waitForRows(int count)
{
    constexpr int waitMs = 20000; // two frames took more than six seconds beside a build
    return QTest::qWaitFor([count] { return storedRows().size() >= count; }, waitMs);
}

void TestProgram::initTestCase()
{
    QVERIFY(setSetting(QStringLiteral("screenshot-interval"), QStringLiteral("1")));
}

void TestProgram::init()
{
    CaptureFixture::eraseEverything();
    QVERIFY(setSetting(QStringLiteral("recording-memory"), QStringLiteral("false")));
}

void TestProgram::aSecondStartComesToAnEndAndTellsTheFirst_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::newRow("with an argument") << QStringList{QStringLiteral("show")};
    QTest::newRow("without") << QStringList();
}

void TestProgram::aSecondStartComesToAnEndAndTellsTheFirst()
{
    QFETCH(QStringList, arguments);
    Program first;
    QVERIFY(first.start());
    Program second;
    second.launch(arguments);
    QVERIFY(second.waitForEnd(6000));
    QCOMPARE(second.exitStatus(), QProcess::NormalExit);
    QCOMPARE(second.exitCode(), 0);
    QVERIFY(!second.log().contains(QStringLiteral("ScreenHistoryTracker")));
    QTRY_VERIFY_WITH_TIMEOUT(first.isInFront(), 10000);
}

void TestProgram::theMessageIsTheFirstArgumentElseTheExecutable_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QString>("message");
    QTest::newRow("one") << QStringList{QStringLiteral("看")} << QStringLiteral("看");
    QTest::newRow("two") << QStringList{QStringLiteral("a b"), QStringLiteral("c")}
                         << QStringLiteral("a b");
    QTest::newRow("none") << QStringList() << Program().path();
}

void TestProgram::theMessageIsTheFirstArgumentElseTheExecutable()
{
    QFETCH(QStringList, arguments);
    QFETCH(QString, message);
    QProcess first;
    first.start(QStringLiteral(FIRST_INSTANCE), QStringList());
    QVERIFY(first.waitForReadyRead());
    QCOMPARE(first.readLine(), QByteArray("first\n"));
    Program second;
    second.launch(arguments);
    QVERIFY(second.waitForEnd(6000));
    QCOMPARE(second.exitCode(), 0);
    QVERIFY(first.canReadLine() || first.waitForReadyRead());
    QCOMPARE(QString::fromUtf8(first.readLine()), message + QLatin1Char('\n'));
    first.terminate();
    QVERIFY(first.waitForFinished());
}

void TestProgram::aStartAfterAKillTakesTheSession()
{
    Program killed;
    QVERIFY(killed.start());
    killed.sendSignal(SIGKILL);
    QVERIFY(killed.waitForEnd());

    Program next;
    QVERIFY(next.start());
    next.sendSignal(SIGTERM);
    QVERIFY(next.waitForEnd());
    QCOMPARE(next.exitCode(), 0);
}

void TestProgram::aSignalEndsItInOrder_data()
{
    QTest::addColumn<int>("number");
    QTest::newRow("SIGTERM") << SIGTERM;
    QTest::newRow("SIGINT") << SIGINT;
    QTest::newRow("SIGHUP") << SIGHUP;
}

void TestProgram::aSignalEndsItInOrder()
{
    QFETCH(int, number);
    const BusyTerminal terminal;
    QVERIFY(setSetting(QStringLiteral("recording-memory"), QStringLiteral("true")));
    Program program;
    QVERIFY(program.start());
    QVERIFY(waitForRows(2));
    program.sendSignal(number);
    QVERIFY(program.waitForEnd());
    QCOMPARE(program.exitStatus(), QProcess::NormalExit);
    QCOMPARE(program.exitCode(), 0);
    QVERIFY(
        program.log().contains(QStringLiteral("Interrupt signal ( %1 ) received.").arg(number)));
    QCOMPARE(filesIn(todayDirectory(), QStringLiteral("*")).size(), 1); // the open batch's video
}

void TestProgram::aSignalBeforeTheEventLoopIsHeeded()
{
    bool isBefore = false;
    for (int attempt = 0; attempt < 5 && !isBefore; ++attempt) {
        Program program;
        program.launch();
        // The page is loaded behind the first of these lines, the last comes behind that.
        QVERIFY(program.waitForLog(QStringLiteral("Yestermark storage size changed:")));
        program.sendSignal(SIGTERM);
        QVERIFY(program.waitForEnd());
        QCOMPARE(program.exitStatus(), QProcess::NormalExit);
        QCOMPARE(program.exitCode(), 0);
        const int signalled = program.log().indexOf(QStringLiteral("Interrupt signal ( 15 )"));
        QVERIFY(signalled >= 0);
        isBefore = signalled < program.log().indexOf(
                                   QStringLiteral("ScreenHistoryTracker setScreenshotInterval"));
    }
    QVERIFY(isBefore);
}

void TestProgram::realWindowsAreRecordedUnderTheirApplication()
{
    QVERIFY(setSetting(QStringLiteral("recording-memory"), QStringLiteral("true")));
    Program program;
    QVERIFY(program.start());
    const BusyTerminal terminal;
    QVERIFY(waitForRows(4));
    program.sendSignal(SIGTERM);
    QVERIFY(program.waitForEnd());

    const QVector<ScreenShotData> rows = storedRows();
    for (const ScreenShotData &row : rows) {
        QCOMPARE(row.desktopFilePath, BusyTerminal::desktopEntry());
    }
    const QString video = todayDirectory() + QLatin1Char('/') + rows.last().videoName;
    QCOMPARE(VideoComposer::getFrameNumberFromVideo(video), rows.last().frameIndexOfVideo);
}

void TestProgram::aKeyWrittenFromOutsideStartsAndPausesRecording()
{
    const BusyTerminal terminal;
    Program program;
    QVERIFY(program.start());
    QTest::qWait(2500); // more than two intervals, in which nothing may happen
    QCOMPARE(storedRows().size(), 0);

    QVERIFY(setSetting(QStringLiteral("recording-memory"), QStringLiteral("true")));
    QVERIFY(waitForRows(2));
    QVERIFY(setSetting(QStringLiteral("recording-memory"), QStringLiteral("false")));
    QVERIFY(program.waitForLog(QStringLiteral("ScreenHistoryTracker setRecordingMemory to false")));
    const qint64 pausedAt = QDateTime::currentSecsSinceEpoch();
    QTest::qWait(10000); // a recording that went on would store seven and more of the changes
    // One more change may still take a frame, late on a busy machine; its row may come later.
    const QVector<ScreenShotData> rows = storedRows();
    const auto takenLater =
        std::count_if(rows.begin(), rows.end(),
                      [pausedAt](const ScreenShotData &row) { return row.realTime > pausedAt; });
    QVERIFY2(takenLater <= 1, qPrintable(QString::number(takenLater)));
}

void TestProgram::aStoredFrameNewerThanTheClockSwitchesRecordingOff()
{
    QVERIFY(CaptureFixture::storeFrameAt(QDateTime::currentDateTime().addDays(40)));
    QVERIFY(setSetting(QStringLiteral("recording-memory"), QStringLiteral("true")));
    const BusyTerminal terminal;
    Program program;
    QVERIFY(program.startInFront());
    QVERIFY(program.log().contains(QStringLiteral("back in time detected")));
    QTRY_VERIFY_WITH_TIMEOUT(program.isInFront(), 10000);
    QCOMPARE(setting(QStringLiteral("recording-memory")), QStringLiteral("false"));
    QVERIFY(program.giveWay());
    QTest::qWait(2500);
    QCOMPARE(storedRows().size(), 1);
}

void TestProgram::recordingGoesOnAfterTheBridgeWasKilled()
{
    const BusyTerminal terminal;
    QVERIFY(setSetting(QStringLiteral("recording-memory"), QStringLiteral("true")));
    Program program;
    QVERIFY(program.start());
    QVERIFY(waitForRows(2));
    for (int round = 0; round < 3; ++round) {
        const uint bridge = ownerOf(QStringLiteral("org.vesk.KWin"));
        QVERIFY(bridge != 0);
        QCOMPARE(::kill(static_cast<pid_t>(bridge), SIGKILL), 0);
        const int before = storedRows().size();
        QVERIFY(waitForRows(before + 2));
    }
}

void TestProgram::withoutTheBridgeTheTimerTakesFrames()
{
    // Somebody else owns the name and knows none of its methods.
    const BusyTerminal terminal;
    const uint bridge = ownerOf(QStringLiteral("org.vesk.KWin"));
    if (bridge != 0) {
        QCOMPARE(::kill(static_cast<pid_t>(bridge), SIGKILL), 0);
        QTRY_COMPARE(ownerOf(QStringLiteral("org.vesk.KWin")), 0U);
    }
    QVERIFY(QDBusConnection::sessionBus().registerService(QStringLiteral("org.vesk.KWin")));
    QVERIFY(setSetting(QStringLiteral("recording-memory"), QStringLiteral("true")));
    Program program;
    QVERIFY(program.start());
    QVERIFY(program.log().contains(QStringLiteral("setContentChangeThreshold error:")));
    // Frames are grabbed, and dropped for want of an application in front.
    QVERIFY(program.waitForLog(QStringLiteral("Failed to load image metadata.")));
    QVERIFY(QDBusConnection::sessionBus().unregisterService(QStringLiteral("org.vesk.KWin")));
    // The name is free again: the bus starts the bridge, and changes are told.
    QVERIFY(waitForRows(2));
}

void TestProgram::theLogHoldsNothingThatStoodOnTheScreen()
{
    const QString marker = QStringLiteral("zanzibarmarker");
    QVERIFY(setSetting(QStringLiteral("recording-memory"), QStringLiteral("true")));
    Program program;
    QVERIFY(program.start());
    QProcess terminal;
    terminal.start(QStringLiteral("xterm"),
                   {QStringLiteral("-fullscreen"), QStringLiteral("-title"), marker,
                    QStringLiteral("-e"), QStringLiteral("sh")});
    QVERIFY(terminal.waitForStarted());
    QCOMPARE(QProcess::execute(QStringLiteral("xdotool"),
                               {QStringLiteral("search"), QStringLiteral("--sync"),
                                QStringLiteral("--name"), marker, QStringLiteral("windowactivate"),
                                QStringLiteral("--sync")}),
             0);
    QCOMPARE(QProcess::execute(
                 QStringLiteral("xdotool"),
                 {QStringLiteral("type"), QStringLiteral("yes %1 | head -n 60\n").arg(marker)}),
             0);
    QVERIFY(waitForRows(1));
    program.sendSignal(SIGTERM);
    QVERIFY(program.waitForEnd());
    terminal.kill();
    terminal.waitForFinished();

    QVERIFY(!program.log().contains(marker));
    QDirIterator logs(QDir::homePath() + QLatin1String("/.cache/tavel-ai-yestermark"),
                      {QStringLiteral("*.log")}, QDir::Files, QDirIterator::Subdirectories);
    int read = 0;
    while (logs.hasNext()) {
        QFile file(logs.next());
        QVERIFY(file.open(QIODevice::ReadOnly));
        const QByteArray text = file.readAll();
        QVERIFY(text.contains("ScreenHistoryTracker"));
        QVERIFY(!text.contains(marker.toUtf8()));
        ++read;
    }
    QVERIFY(read > 0);
}

void TestProgram::whatIsWrittenIsForTheUserOnly()
{
    const BusyTerminal terminal;
    QVERIFY(setSetting(QStringLiteral("recording-memory"), QStringLiteral("true")));
    Program program;
    QVERIFY(program.start());
    QVERIFY(waitForRows(1));
    program.sendSignal(SIGTERM);
    QVERIFY(program.waitForEnd());
    QVERIFY(!filesIn(todayDirectory(), QStringLiteral("*.mp4")).isEmpty());
    QDirIterator files(todayDirectory(), QDir::Files);
    while (files.hasNext()) {
        QCOMPARE(QFile::permissions(files.next()) & (QFile::ReadGroup | QFile::ReadOther),
                 QFile::Permissions());
    }
}

// Else the frames would lie where the ceiling does not look.
void TestProgram::theCacheVariableMovesNothing()
{
    const QTemporaryDir elsewhere;
    const BusyTerminal terminal;
    QVERIFY(setSetting(QStringLiteral("recording-memory"), QStringLiteral("true")));
    Program program;
    program.runUnder({QStringLiteral("env"), QStringLiteral("XDG_CACHE_HOME=") + elsewhere.path()});
    QVERIFY(program.start());
    QVERIFY(waitForRows(1));
    program.sendSignal(SIGTERM);
    QVERIFY(program.waitForEnd());
    QVERIFY(!filesIn(todayDirectory(), QStringLiteral("*.mp4")).isEmpty());
    QVERIFY(QDir(elsewhere.path()).isEmpty());
}

QTEST_GUILESS_MAIN(TestProgram)
#include "programtest.moc"
