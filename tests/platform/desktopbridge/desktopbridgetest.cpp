// The bridge as a process on a private bus and a virtual display: what callers get, what it costs
// on a still screen, and how it comes and goes.

#include "bridgeprocess.h"
#include "desktopbridge/fake/fakedesktop.h"
#include "fakelockers.h"
#include "pipereader.h"
#include "privatebus.h"
#include "wakeups.h"
#include "xclient.h"

#include <QDBusConnectionInterface>
#include <QDBusError>
#include <QDBusPendingCall>
#include <QDBusReply>
#include <QDBusUnixFileDescriptor>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QTest>

#include <algorithm>

namespace
{
const QSize SCREEN_SIZE(1920, 1080);
const QRect SCREEN(QPoint(0, 0), SCREEN_SIZE);
constexpr int TILE = 16;
constexpr int SILENCE = 1400; // more than the second in which a signal would come
const QString LOCK = QStringLiteral("lock");
const QString UNLOCK = QStringLiteral("unlock");

const QString SAVER = QStringLiteral("org.freedesktop.ScreenSaver");
const QStringList SAVER_PATHS{QStringLiteral("/ScreenSaver"),
                              QStringLiteral("/org/freedesktop/ScreenSaver")};

// A locker on the test's own connection.
struct ServedSaver {
    ServedSaver()
    {
        for (const QString &path : SAVER_PATHS) {
            bus.registerObject(path, &saver, QDBusConnection::ExportAllContents);
        }
        bus.registerService(SAVER);
    }
    ~ServedSaver()
    {
        bus.unregisterService(SAVER);
        for (const QString &path : SAVER_PATHS) {
            bus.unregisterObject(path);
        }
    }
    Q_DISABLE_COPY_MOVE(ServedSaver)

    FakeFreedesktopSaver saver;
    QDBusConnection bus = QDBusConnection::sessionBus();
};

QString errorOf(const QDBusMessage &reply)
{
    return reply.type() == QDBusMessage::ErrorMessage ? reply.errorName() : QString();
}
} // namespace

class DesktopBridgeTest : public QObject
{
    Q_OBJECT

public Q_SLOTS:
    void onChanged(double rate);
    void onLock() { m_locks.append(LOCK); }
    void onUnlock() { m_locks.append(UNLOCK); }

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();

    void pictureEqualsAnotherGrab_data();
    void pictureEqualsAnotherGrab();
    void pictureWithPointerIsThePictureWithout();
    void indexOfNoScreenIsAnError_data();
    void indexOfNoScreenIsAnError();
    void readerThatNeverReadsBlocksNobody();
    void readersThatNeverReadAreBounded();
    void twoRequestsAtOnce();
    void readerThatClosesEarlyDoesNoHarm();

    void firstPictureOnAStillScreen();
    void thresholdOnTheScreen_data();
    void thresholdOnTheScreen();
    void aChangeThatFinishedBeforeIsSignalledEverySecond();
    void threshold_data();
    void threshold();
    void lowestThresholdOfAllCallersCounts();
    void stillScreenCausesNoWakeUps();
    void noWakeUpsOnceTheCallerHasLeft();
    void newSizeOfTheScreen();

    void processOfTheActiveWindow();
    void lockAndUnlock();
    void aCallerThatComesLaterIsToldOfTheLock();
    void aLockThatEndedWhileTheBridgeWasAwayIsToldAsEnded();

    void leavesNamesToTheirOwners_data();
    void leavesNamesToTheirOwners();
    void replacesNobodyWhoWouldAllowIt();
    void endsWhereBothNamesAreServed();
    void givesWayToAServiceThatReplacesIt();
    void withoutADisplayEveryCallIsAnError_data();
    void withoutADisplayEveryCallIsAnError();
    void displayWithoutDamageRefusesTheThreshold();
    void startedAgainByTheBusAfterAKill();
    void eitherNameStartsIt_data();
    void eitherNameStartsIt();
    void endsWithTheXServer();
    void endsWithTheBus();
    void unknownBackendIsRefused();
    void installedServiceIsStartedFromItsPrefix_data();
    void installedServiceIsStartedFromItsPrefix();

private:
    bool wait(int signalCount, int timeout = 5000);

    std::unique_ptr<XClient> m_screen;
    QVector<double> m_rates;
    QElapsedTimer m_sinceFirst;
    QStringList m_locks;
};

void DesktopBridgeTest::onChanged(double rate)
{
    if (m_rates.isEmpty()) {
        m_sinceFirst.start();
    }
    m_rates.append(rate);
}

bool DesktopBridgeTest::wait(int signalCount, int timeout)
{
    return QTest::qWaitFor([&] { return m_rates.size() >= signalCount; }, timeout);
}

void DesktopBridgeTest::initTestCase()
{
    QDBusConnection bus = QDBusConnection::sessionBus();
    QVERIFY(bus.connect(Bridge::WINDOW_MANAGER, QStringLiteral("/KWin"), Bridge::WINDOW_MANAGER,
                        QStringLiteral("screenContentChanged"), this, SLOT(onChanged(double))));
    QVERIFY(bus.connect(Bridge::SCREEN_SAVER, QStringLiteral("/"), Bridge::SCREEN_SAVER,
                        QStringLiteral("lock"), this, SLOT(onLock())));
    QVERIFY(bus.connect(Bridge::SCREEN_SAVER, QStringLiteral("/"), Bridge::SCREEN_SAVER,
                        QStringLiteral("unlock"), this, SLOT(onUnlock())));
}

void DesktopBridgeTest::init()
{
    m_screen = std::make_unique<XClient>();
    QVERIFY(m_screen->isConnected());
    m_rates.clear();
    m_locks.clear();
}

void DesktopBridgeTest::cleanup()
{
    // A test that failed half-way may have left them.
    QDBusConnection::sessionBus().unregisterService(Bridge::WINDOW_MANAGER);
    QDBusConnection::sessionBus().unregisterService(Bridge::SCREEN_SAVER);
    Bridge::killOwners();
    m_screen.reset();
}

void DesktopBridgeTest::pictureEqualsAnotherGrab_data()
{
    QTest::addColumn<int>("screen");
    QTest::newRow("primary screen") << 0;
    QTest::newRow("all screens") << -1;
}

void DesktopBridgeTest::pictureEqualsAnotherGrab()
{
    QFETCH(int, screen);
    const auto window = m_screen->makeWindow(QRect(500, 300, 401, 303));
    m_screen->fillWithPattern(window, QSize(401, 303));
    const QImage picture = PipeReader::picture(screen);
    QCOMPARE(picture.size(), SCREEN_SIZE);
    QCOMPARE(picture.format(), QImage::Format_RGB32);
    QCOMPARE(picture, m_screen->grab(SCREEN));
    QCOMPARE(picture.pixel(501, 300), QRgb(0xff000000 | 7919));
}

void DesktopBridgeTest::pictureWithPointerIsThePictureWithout()
{
    m_screen->makeWindow(QRect(0, 0, 200, 200), 0x202020);
    m_screen->movePointer(QPoint(100, 100));
    PipeReader reader;
    QCOMPARE(errorOf(reader.call(0, false)), QString());
    const QImage picture = PipeReader::image(reader.readAll()).copy(50, 50, 100, 100);
    QImage plain(100, 100, QImage::Format_RGB32);
    plain.fill(QRgb(0xff202020));
    QCOMPARE(picture, plain);
}

void DesktopBridgeTest::indexOfNoScreenIsAnError_data()
{
    QTest::addColumn<int>("screen");
    QTest::newRow("one too many") << 1;
    QTest::newRow("far too many") << 1000000;
    QTest::newRow("below all screens") << -2;
}

void DesktopBridgeTest::indexOfNoScreenIsAnError()
{
    QFETCH(int, screen);
    PipeReader reader;
    QCOMPARE(errorOf(reader.call(screen)), QDBusError::errorString(QDBusError::InvalidArgs));
    QCOMPARE(reader.readAll(), QByteArray());
    QVERIFY(reader.sawEnd());
}

void DesktopBridgeTest::readerThatNeverReadsBlocksNobody()
{
    PipeReader stuck;
    QElapsedTimer timer;
    timer.start();
    QCOMPARE(errorOf(stuck.call(0)), QString());
    QCOMPARE(PipeReader::picture(0).size(), SCREEN_SIZE);
    QCOMPARE(errorOf(Bridge::call(QStringLiteral("getActiveWindowPid"))), QString());
    QVERIFY2(timer.elapsed() < 3000, qPrintable(QString::number(timer.elapsed())));

    // As long as nobody reads, the end of the file stands behind what the pipe holds; the write
    // end closed shows as a hang-up.
    const auto writerGone = [&] { return PipeReader::hasHungUp(stuck.readEnd()); };
    QVERIFY(!writerGone());
    QTRY_VERIFY_WITH_TIMEOUT(writerGone(), 8000);
    QVERIFY2(timer.elapsed() >= 4900, qPrintable(QString::number(timer.elapsed())));
    QVERIFY(stuck.readAll().size() < 12 + SCREEN_SIZE.width() * SCREEN_SIZE.height() * 4);
}

void DesktopBridgeTest::readersThatNeverReadAreBounded()
{
    PipeReader readers[4];
    for (int index = 0; index < 3; ++index) {
        QCOMPARE(errorOf(readers[index].call(0)), QString());
    }
    QCOMPARE(errorOf(readers[3].call(0)), QDBusError::errorString(QDBusError::LimitsExceeded));
    readers[0].closeReadEnd();
    QTRY_COMPARE(PipeReader::picture(0).size(), SCREEN_SIZE);
}

void DesktopBridgeTest::twoRequestsAtOnce()
{
    const auto window = m_screen->makeWindow(QRect(0, 0, 300, 300));
    m_screen->fillWithPattern(window, QSize(300, 300));
    const QImage expected = m_screen->grab(SCREEN);
    QDBusConnection bus = QDBusConnection::sessionBus();
    PipeReader readers[2];
    QVector<QDBusPendingCall> calls;
    for (PipeReader &reader : readers) {
        QDBusMessage message = QDBusMessage::createMethodCall(
            Bridge::WINDOW_MANAGER, QStringLiteral("/Screenshot"),
            QStringLiteral("org.vesk.kwin.Screenshot"), QStringLiteral("screenshotFullscreen"));
        message << QVariant::fromValue(QDBusUnixFileDescriptor(reader.writeEnd())) << true << 0;
        reader.closeWriteEnd();
        calls.append(bus.asyncCall(message));
    }
    for (QDBusPendingCall &call : calls) {
        call.waitForFinished();
        QVERIFY(!call.isError());
    }
    calls.clear(); // each held a copy of its write end
    // In the other order: neither waits for the other.
    QCOMPARE(PipeReader::image(readers[1].readAll()), expected);
    QCOMPARE(PipeReader::image(readers[0].readAll()), expected);
}

void DesktopBridgeTest::readerThatClosesEarlyDoesNoHarm()
{
    {
        PipeReader reader;
        reader.closeReadEnd();
        QCOMPARE(errorOf(reader.call(0)), QString());
    }
    const uint process = Bridge::ownerOf(Bridge::WINDOW_MANAGER);
    for (int round = 0; round < 10; ++round) {
        PipeReader reader;
        QCOMPARE(errorOf(reader.call(0)), QString());
        reader.closeReadEnd();
        QTest::qWait(20);
    }
    QCOMPARE(PipeReader::picture(0).size(), SCREEN_SIZE);
    QCOMPARE(Bridge::ownerOf(Bridge::WINDOW_MANAGER), process);
}

void DesktopBridgeTest::firstPictureOnAStillScreen()
{
    QCOMPARE(errorOf(Bridge::call(QStringLiteral("setContentChangeThreshold"), {90.0})), QString());
    QVERIFY(wait(2));
    QCOMPARE(m_rates.first(), 100.0 * (120 * 68) / (120 * 68 + 2));
    PipeReader::picture(0);
    QTest::qWait(100);
    m_rates.clear();
    QVERIFY(!wait(1, SILENCE));
}

void DesktopBridgeTest::thresholdOnTheScreen_data()
{
    QTest::addColumn<QVector<QRect>>("drawn");
    QTest::addColumn<int>("tiles"); // 0: no signal
    QVector<QRect> scattered;
    for (int index = 0; index < 18; ++index) {
        scattered.append(QRect(index % 6 * 48 + 3, index / 6 * 48 + 3, 1, 1));
    }
    using Areas = QVector<QRect>;
    QTest::newRow("caret") << Areas{QRect(20, 10, 2, 19)} << 0;
    QTest::newRow("17 tiles") << Areas{QRect(0, 0, 17 * TILE, TILE)} << 0;
    QTest::newRow("18 tiles") << Areas{QRect(0, 0, 18 * TILE, TILE)} << 18;
    QTest::newRow("18 single pixels") << scattered << 18;
    QTest::newRow("typed block") << Areas{QRect(8, 8, 300, 60)} << 20 * 5;
}

void DesktopBridgeTest::thresholdOnTheScreen()
{
    QFETCH(QVector<QRect>, drawn);
    QFETCH(int, tiles);
    const auto window = m_screen->makeWindow(QRect(160, 160, 640, 320));
    QCOMPARE(errorOf(Bridge::call(QStringLiteral("setContentChangeThreshold"), {90.0})), QString());
    QCOMPARE(PipeReader::picture(0).size(), SCREEN_SIZE);
    QTest::qWait(100);
    m_rates.clear();
    for (const QRect &area : drawn) {
        m_screen->fill(window, area, 0xffffff);
    }
    if (tiles == 0) {
        QVERIFY(!wait(1, 2 * SILENCE));
    } else {
        QVERIFY(wait(1));
        // The first look may come before the last rectangle.
        QTRY_COMPARE(m_rates.last(), 100.0 * tiles / (tiles + 2));
    }
}

void DesktopBridgeTest::aChangeThatFinishedBeforeIsSignalledEverySecond()
{
    const auto window = m_screen->makeWindow(QRect(160, 160, 640, 320));
    QCOMPARE(errorOf(Bridge::call(QStringLiteral("setContentChangeThreshold"), {90.0})), QString());
    PipeReader::picture(0);
    QTest::qWait(1200);
    m_rates.clear();
    m_screen->fill(window, QRect(0, 0, 640, 320), 0x00ff00);
    QVERIFY(wait(4));
    QVERIFY2(m_sinceFirst.elapsed() >= 2900, qPrintable(QString::number(m_sinceFirst.elapsed())));
    QVERIFY2(m_sinceFirst.elapsed() < 4500, qPrintable(QString::number(m_sinceFirst.elapsed())));
    PipeReader::picture(0);
    QTest::qWait(100);
    m_rates.clear();
    QVERIFY(!wait(1, SILENCE));
}

void DesktopBridgeTest::threshold_data()
{
    QTest::addColumn<double>("value");
    QTest::addColumn<bool>("accepted");
    QTest::newRow("as the recorder sets it") << 90.0 << true;
    QTest::newRow("any change") << 0.0 << true;
    QTest::newRow("never") << 100.0 << true;
    QTest::newRow("negative") << -1.0 << false;
    QTest::newRow("too large") << 100.5 << false;
    QTest::newRow("no number") << std::numeric_limits<double>::quiet_NaN() << false;
}

void DesktopBridgeTest::threshold()
{
    QFETCH(double, value);
    QFETCH(bool, accepted);
    QCOMPARE(errorOf(Bridge::call(QStringLiteral("setContentChangeThreshold"), {value})),
             accepted ? QString() : QDBusError::errorString(QDBusError::InvalidArgs));
}

void DesktopBridgeTest::lowestThresholdOfAllCallersCounts()
{
    const auto window = m_screen->makeWindow(QRect(160, 160, 640, 320));
    QDBusConnection other =
        QDBusConnection::connectToBus(QDBusConnection::SessionBus, QStringLiteral("other caller"));
    Bridge::call(QStringLiteral("setContentChangeThreshold"), {90.0});
    Bridge::call(QStringLiteral("setContentChangeThreshold"), {50.0}, other);
    PipeReader::picture(0);
    QTest::qWait(100);
    m_rates.clear();
    m_screen->fill(window, QRect(0, 0, 2 * TILE, 1), 0xffffff);
    QVERIFY(wait(1));
    QCOMPARE(m_rates.last(), 50.0);
    QDBusConnection::disconnectFromBus(QStringLiteral("other caller"));
    other = QDBusConnection(QString());
    QTest::qWait(500);
    m_rates.clear();
    QVERIFY(!wait(1, SILENCE)); // still two tiles, but only the higher threshold is left
}

void DesktopBridgeTest::stillScreenCausesNoWakeUps()
{
    const auto window = m_screen->makeWindow(QRect(160, 160, 640, 320));
    QCOMPARE(errorOf(Bridge::call(QStringLiteral("setContentChangeThreshold"), {90.0})), QString());
    PipeReader::picture(0);
    m_screen->fill(window, QRect(0, 0, 20, 20), 0xffffff);
    QTest::qWait(2500); // the last look at that change is over
    const uint process = Bridge::ownerOf(Bridge::WINDOW_MANAGER);
    const qint64 before = wakeUps(process);
    QVERIFY(before > 0);
    QTest::qWait(4000);
    QCOMPARE(wakeUps(process), before);
    // The measure does see a wake-up.
    m_screen->fill(window, QRect(0, 0, 20, 20), 0x808080);
    QTRY_VERIFY(wakeUps(process) > before);
}

void DesktopBridgeTest::noWakeUpsOnceTheCallerHasLeft()
{
    const auto window = m_screen->makeWindow(QRect(160, 160, 640, 320));
    QDBusConnection caller =
        QDBusConnection::connectToBus(QDBusConnection::SessionBus, QStringLiteral("caller"));
    QCOMPARE(errorOf(Bridge::call(QStringLiteral("setContentChangeThreshold"), {90.0}, caller)),
             QString());
    QVERIFY(wait(1));
    const uint process = Bridge::ownerOf(Bridge::WINDOW_MANAGER);
    QDBusConnection::disconnectFromBus(QStringLiteral("caller"));
    caller = QDBusConnection(QString());
    QTest::qWait(1500);
    m_rates.clear();
    const qint64 before = wakeUps(process);
    for (quint32 colour = 0; colour < 20; ++colour) {
        m_screen->fill(window, QRect(0, 0, 640, 320), colour * 1000);
        QTest::qWait(50);
    }
    QCOMPARE(wakeUps(process), before);
    QVERIFY(m_rates.isEmpty());
}

void DesktopBridgeTest::newSizeOfTheScreen()
{
    const PrivateXServer server({}, QStringLiteral("1024x768x24"));
    const DisplayVariable variable(server.display());
    BridgeProcess bridge;
    QVERIFY(bridge.waitForName(Bridge::WINDOW_MANAGER));
    QCOMPARE(errorOf(Bridge::call(QStringLiteral("setContentChangeThreshold"), {90.0})), QString());
    QCOMPARE(PipeReader::picture(0).size(), QSize(1024, 768));
    QTest::qWait(100);
    m_rates.clear();
    XClient client;
    QVERIFY(client.resizeScreen(QSize(800, 592)));
    QVERIFY(wait(1));
    QTRY_COMPARE(m_rates.last(), 100.0 * (50 * 37) / (50 * 37 + 2));
    QCOMPARE(PipeReader::picture(0), client.grab(QRect(0, 0, 800, 592)));
    QCOMPARE(PipeReader::picture(-1).size(), QSize(800, 592));
}

void DesktopBridgeTest::processOfTheActiveWindow()
{
    const auto pid = [] {
        return QDBusReply<uint>(Bridge::call(QStringLiteral("getActiveWindowPid"))).value();
    };
    QCOMPARE(pid(), 0U);
    QProcess terminal;
    terminal.start(QStringLiteral("xterm"), {QStringLiteral("-e"), QStringLiteral("sleep 60")});
    QVERIFY(terminal.waitForStarted());
    QTRY_COMPARE_WITH_TIMEOUT(pid(), uint(terminal.processId()), 15000);
    terminal.kill();
    terminal.waitForFinished();
    QTRY_COMPARE(pid(), 0U);
}

void DesktopBridgeTest::lockAndUnlock()
{
    ServedSaver served;
    BridgeProcess bridge;
    QTRY_VERIFY(served.saver.m_asked > 0);
    QVERIFY(bridge.waitForName(Bridge::SCREEN_SAVER));
    Q_EMIT served.saver.ActiveChanged(true); // comes from both objects
    QTRY_COMPARE(m_locks, QStringList{LOCK});
    served.bus.unregisterService(SAVER);
    QTRY_COMPARE(m_locks, (QStringList{LOCK, UNLOCK}));
}

void DesktopBridgeTest::aCallerThatComesLaterIsToldOfTheLock()
{
    ServedSaver served;
    served.saver.m_active = true;
    BridgeProcess bridge;
    QTRY_COMPARE(m_locks, QStringList{LOCK});
    m_locks.clear();
    QCOMPARE(errorOf(Bridge::call(QStringLiteral("setContentChangeThreshold"), {90.0})), QString());
    QTRY_COMPARE(m_locks, QStringList{LOCK});
}

void DesktopBridgeTest::aLockThatEndedWhileTheBridgeWasAwayIsToldAsEnded()
{
    ServedSaver served;
    served.saver.m_active = true;
    QCOMPARE(errorOf(Bridge::call(QStringLiteral("setContentChangeThreshold"), {90.0})), QString());
    QTRY_COMPARE(m_locks, QStringList{LOCK});
    Bridge::killOwners();
    served.saver.m_active = false;
    m_locks.clear();
    QCOMPARE(errorOf(Bridge::call(QStringLiteral("setContentChangeThreshold"), {90.0})), QString());
    QTRY_COMPARE(m_locks, QStringList{UNLOCK});
}

void DesktopBridgeTest::leavesNamesToTheirOwners_data()
{
    QTest::addColumn<FakeDesktop::Names>("owned");
    QTest::addColumn<QString>("left");
    using Names = FakeDesktop::Names;
    QTest::newRow("window manager") << Names(FakeDesktop::WindowManager) << Bridge::SCREEN_SAVER;
    QTest::newRow("screen saver") << Names(FakeDesktop::ScreenSaver) << Bridge::WINDOW_MANAGER;
}

void DesktopBridgeTest::leavesNamesToTheirOwners()
{
    QFETCH(FakeDesktop::Names, owned);
    QFETCH(QString, left);
    const FakeDesktop desktop(owned);
    QCOMPARE(desktop.ownsNames(), owned);
    BridgeProcess bridge;
    QVERIFY(bridge.waitForName(left));
    const QString kept =
        left == Bridge::SCREEN_SAVER ? Bridge::WINDOW_MANAGER : Bridge::SCREEN_SAVER;
    QCOMPARE(Bridge::ownerOf(kept), uint(QCoreApplication::applicationPid()));
    const QDBusReply<QStringList> queue =
        QDBusConnection::sessionBus().interface()->call(QStringLiteral("ListQueuedOwners"), kept);
    QCOMPARE(queue.value().size(), 1);
}

void DesktopBridgeTest::replacesNobodyWhoWouldAllowIt()
{
    auto *bus = QDBusConnection::sessionBus().interface();
    QCOMPARE(bus->registerService(Bridge::WINDOW_MANAGER,
                                  QDBusConnectionInterface::DontQueueService,
                                  QDBusConnectionInterface::AllowReplacement)
                 .value(),
             QDBusConnectionInterface::ServiceRegistered);
    BridgeProcess bridge;
    QVERIFY(bridge.waitForName(Bridge::SCREEN_SAVER));
    QTest::qWait(200); // it has asked for the other name by then
    QCOMPARE(Bridge::ownerOf(Bridge::WINDOW_MANAGER), uint(QCoreApplication::applicationPid()));
    bus->unregisterService(Bridge::WINDOW_MANAGER);
}

void DesktopBridgeTest::endsWhereBothNamesAreServed()
{
    const FakeDesktop desktop;
    BridgeProcess bridge;
    QVERIFY(bridge.process().state() == QProcess::NotRunning ||
            bridge.process().waitForFinished(5000));
    QCOMPARE(bridge.process().exitStatus(), QProcess::NormalExit);
    QCOMPARE(bridge.process().exitCode(), 1);
}

void DesktopBridgeTest::givesWayToAServiceThatReplacesIt()
{
    BridgeProcess bridge;
    QVERIFY(bridge.waitForName(Bridge::WINDOW_MANAGER));
    auto *bus = QDBusConnection::sessionBus().interface();
    const auto replace = [bus](const QString &name) {
        return bus
            ->registerService(name, QDBusConnectionInterface::DontQueueService,
                              QDBusConnectionInterface::DontAllowReplacement)
            .value();
    };
    const auto takeOver = [bus](const QString &name) {
        return bus
            ->registerService(name, QDBusConnectionInterface::ReplaceExistingService,
                              QDBusConnectionInterface::DontAllowReplacement)
            .value();
    };
    QCOMPARE(replace(Bridge::WINDOW_MANAGER), QDBusConnectionInterface::ServiceNotRegistered);
    QCOMPARE(takeOver(Bridge::WINDOW_MANAGER), QDBusConnectionInterface::ServiceRegistered);
    QTest::qWait(200);
    QCOMPARE(bridge.process().state(), QProcess::Running); // it still serves the other name
    QCOMPARE(takeOver(Bridge::SCREEN_SAVER), QDBusConnectionInterface::ServiceRegistered);
    QVERIFY(bridge.process().waitForFinished(5000));
    QCOMPARE(bridge.process().exitCode(), 0);
    bus->unregisterService(Bridge::WINDOW_MANAGER);
    bus->unregisterService(Bridge::SCREEN_SAVER);
}

void DesktopBridgeTest::withoutADisplayEveryCallIsAnError_data()
{
    QTest::addColumn<QByteArray>("display");
    QTest::addColumn<QStringList>("arguments");
    QTest::newRow("no display told") << QByteArray() << QStringList{};
    QTest::newRow("unreachable") << QByteArray(":54321") << QStringList{};
    QTest::newRow("forced") << qgetenv("DISPLAY")
                            << QStringList{QStringLiteral("--backend"), QStringLiteral("null")};
}

void DesktopBridgeTest::withoutADisplayEveryCallIsAnError()
{
    QFETCH(QByteArray, display);
    QFETCH(QStringList, arguments);
    const DisplayVariable variable(display);
    BridgeProcess bridge(arguments);
    QVERIFY(bridge.waitForName(Bridge::WINDOW_MANAGER));
    QVERIFY(bridge.waitForName(Bridge::SCREEN_SAVER));
    QElapsedTimer timer;
    timer.start();
    PipeReader reader;
    QVERIFY(!errorOf(reader.call(0)).isEmpty());
    QCOMPARE(reader.readAll(), QByteArray());
    QVERIFY(reader.sawEnd());
    QVERIFY(!errorOf(Bridge::call(QStringLiteral("setContentChangeThreshold"), {90.0})).isEmpty());
    QVERIFY(!errorOf(Bridge::call(QStringLiteral("getActiveWindowPid"))).isEmpty());
    QVERIFY2(timer.elapsed() < 2000, qPrintable(QString::number(timer.elapsed())));
    QCOMPARE(bridge.process().state(), QProcess::Running);
}

void DesktopBridgeTest::displayWithoutDamageRefusesTheThreshold()
{
    const PrivateXServer server({QStringLiteral("-extension"), QStringLiteral("DAMAGE")},
                                QStringLiteral("640x480x24"));
    const DisplayVariable variable(server.display());
    BridgeProcess bridge;
    QVERIFY(bridge.waitForName(Bridge::WINDOW_MANAGER));
    QCOMPARE(errorOf(Bridge::call(QStringLiteral("setContentChangeThreshold"), {90.0})),
             QDBusError::errorString(QDBusError::NotSupported));
    QCOMPARE(PipeReader::picture(0).size(), QSize(640, 480));
}

void DesktopBridgeTest::startedAgainByTheBusAfterAKill()
{
    QCOMPARE(PipeReader::picture(0).size(), SCREEN_SIZE);
    const uint first = Bridge::ownerOf(Bridge::WINDOW_MANAGER);
    QVERIFY(first != 0);
    Bridge::killOwners();
    QCOMPARE(PipeReader::picture(0).size(), SCREEN_SIZE);
    const uint second = Bridge::ownerOf(Bridge::WINDOW_MANAGER);
    QVERIFY(second != 0 && second != first);
    QCOMPARE(Bridge::ownerOf(Bridge::SCREEN_SAVER), second);
}

void DesktopBridgeTest::eitherNameStartsIt_data()
{
    QTest::addColumn<QString>("name");
    QTest::newRow("window manager") << Bridge::WINDOW_MANAGER;
    QTest::newRow("screen saver") << Bridge::SCREEN_SAVER;
}

void DesktopBridgeTest::eitherNameStartsIt()
{
    QFETCH(QString, name);
    QVERIFY(QDBusConnection::sessionBus().interface()->startService(name).isValid());
    QTRY_VERIFY(Bridge::ownerOf(Bridge::WINDOW_MANAGER) != 0);
    QTRY_COMPARE(Bridge::ownerOf(Bridge::SCREEN_SAVER), Bridge::ownerOf(Bridge::WINDOW_MANAGER));
    QCOMPARE(Bridge::programOf(Bridge::ownerOf(name)),
             QFileInfo(QStringLiteral(BRIDGE_PROGRAM)).canonicalFilePath());
}

void DesktopBridgeTest::endsWithTheXServer()
{
    PrivateXServer server({}, QStringLiteral("640x480x24"));
    const DisplayVariable variable(server.display());
    BridgeProcess bridge;
    QVERIFY(bridge.waitForName(Bridge::WINDOW_MANAGER));
    PipeReader stuck; // a picture under way does not hold it up
    QCOMPARE(errorOf(stuck.call(0)), QString());
    server.kill();
    QVERIFY(bridge.process().waitForFinished(3000));
    QCOMPARE(bridge.process().exitStatus(), QProcess::NormalExit);
    QCOMPARE(bridge.process().exitCode(), 0);
}

void DesktopBridgeTest::endsWithTheBus()
{
    PrivateBus bus;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("DBUS_SESSION_BUS_ADDRESS"), bus.address());
    BridgeProcess bridge({}, environment);
    const QDBusConnection connection = bus.connect(QStringLiteral("other bus"));
    QTRY_COMPARE(Bridge::ownerOf(Bridge::SCREEN_SAVER, connection),
                 uint(bridge.process().processId()));
    bus.stop();
    QVERIFY(bridge.process().waitForFinished(3000));
    QCOMPARE(bridge.process().exitStatus(), QProcess::NormalExit);
    QDBusConnection::disconnectFromBus(QStringLiteral("other bus"));
}

void DesktopBridgeTest::unknownBackendIsRefused()
{
    BridgeProcess bridge({QStringLiteral("--backend"), QStringLiteral("mirror")});
    QVERIFY(bridge.process().state() == QProcess::NotRunning ||
            bridge.process().waitForFinished(5000));
    QCOMPARE(bridge.process().exitCode(), 1);
}

void DesktopBridgeTest::installedServiceIsStartedFromItsPrefix_data()
{
    QTest::addColumn<QString>("prefix");
    QTest::addColumn<QString>("stage");
    QTest::newRow("prefix") << QStringLiteral("/opt of the test") << QString();
    QTest::newRow("staged") << QStringLiteral("/usr") << QStringLiteral("/stage");
}

void DesktopBridgeTest::installedServiceIsStartedFromItsPrefix()
{
    if (!QFileInfo(QStringLiteral(BUILD_FOLDER)).isWritable()) {
        QSKIP("an installation writes into the build folder, which is another user's");
    }
    QFETCH(QString, prefix);
    QFETCH(QString, stage);
    const QTemporaryDir folder;
    const bool staged = !stage.isEmpty();
    const QString told = staged ? prefix : folder.path() + prefix; // where it will stand
    const QString root = staged ? folder.path() + stage + prefix : told;
    QProcess install;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    if (staged) {
        environment.insert(QStringLiteral("DESTDIR"), folder.path() + stage);
    }
    install.setProcessEnvironment(environment);
    install.start(QStringLiteral("cmake"),
                  {QStringLiteral("--install"), QStringLiteral(BUILD_FOLDER),
                   QStringLiteral("--component"), QStringLiteral("desktopbridge"),
                   QStringLiteral("--prefix"), told});
    QVERIFY(install.waitForFinished(60000));
    QCOMPARE(install.exitCode(), 0);

    const QString program =
        QStringLiteral("/libexec/tavel-ai-yestermark/yestermark-desktop-bridge");
    QVERIFY(QFileInfo(root + program).isExecutable());
    for (const QString &name : {Bridge::WINDOW_MANAGER, Bridge::SCREEN_SAVER}) {
        QFile file(root + QStringLiteral("/share/dbus-1/services/%1.service").arg(name));
        QVERIFY(file.open(QFile::ReadOnly));
        const QByteArray text = file.readAll();
        QVERIFY(text.contains("Name=" + name.toLocal8Bit() + '\n'));
        QVERIFY2(text.contains((told + program).toLocal8Bit()), text.constData());
    }
    if (staged) {
        return;
    }
    QProcessEnvironment busEnvironment = QProcessEnvironment::systemEnvironment();
    busEnvironment.insert(QStringLiteral("XDG_DATA_DIRS"), root + QStringLiteral("/share"));
    PrivateBus bus(busEnvironment);
    const QDBusConnection connection = bus.connect(QStringLiteral("installed"));
    QCOMPARE(errorOf(Bridge::call(QStringLiteral("getActiveWindowPid"), {}, connection)),
             QString());
    QCOMPARE(Bridge::programOf(Bridge::ownerOf(Bridge::WINDOW_MANAGER, connection)),
             QFileInfo(root + program).canonicalFilePath());
    QDBusConnection::disconnectFromBus(QStringLiteral("installed"));
}

QTEST_GUILESS_MAIN(DesktopBridgeTest)
#include "desktopbridgetest.moc"
