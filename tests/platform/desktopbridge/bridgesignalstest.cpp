// The bridge as a process on a private bus and a virtual display: when it signals a change of the
// screen or a lock, and what it costs on a still screen.

#include "bridgeprocess.h"
#include "callerfixture.h"
#include "fakelockers.h"
#include "pipereader.h"
#include "wakeups.h"

#include <QDBusError>
#include <QElapsedTimer>
#include <QTest>

#include <limits>

namespace
{
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
} // namespace

class BridgeSignalsTest : public CallerFixture
{
    Q_OBJECT

public Q_SLOTS:
    void onChanged(double rate);
    void onLock() { m_locks.append(LOCK); }
    void onUnlock() { m_locks.append(UNLOCK); }

private Q_SLOTS:
    void initTestCase();
    void init();

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

    void lockAndUnlock();
    void aCallerThatComesLaterIsToldOfTheLock();
    void aLockThatEndedWhileTheBridgeWasAwayIsToldAsEnded();

private:
    bool wait(int signalCount, int timeout = 5000);

    QVector<double> m_rates;
    QElapsedTimer m_sinceFirst;
    QStringList m_locks;
};

void BridgeSignalsTest::onChanged(double rate)
{
    if (m_rates.isEmpty()) {
        m_sinceFirst.start();
    }
    m_rates.append(rate);
}

bool BridgeSignalsTest::wait(int signalCount, int timeout)
{
    return QTest::qWaitFor([&] { return m_rates.size() >= signalCount; }, timeout);
}

void BridgeSignalsTest::initTestCase()
{
    QDBusConnection bus = QDBusConnection::sessionBus();
    QVERIFY(bus.connect(Bridge::WINDOW_MANAGER, QStringLiteral("/KWin"), Bridge::WINDOW_MANAGER,
                        QStringLiteral("screenContentChanged"), this, SLOT(onChanged(double))));
    QVERIFY(bus.connect(Bridge::SCREEN_SAVER, QStringLiteral("/"), Bridge::SCREEN_SAVER,
                        QStringLiteral("lock"), this, SLOT(onLock())));
    QVERIFY(bus.connect(Bridge::SCREEN_SAVER, QStringLiteral("/"), Bridge::SCREEN_SAVER,
                        QStringLiteral("unlock"), this, SLOT(onUnlock())));
}

void BridgeSignalsTest::init()
{
    CallerFixture::init();
    m_rates.clear();
    m_locks.clear();
}

void BridgeSignalsTest::firstPictureOnAStillScreen()
{
    QCOMPARE(Bridge::errorOf(Bridge::call(QStringLiteral("setContentChangeThreshold"), {90.0})),
             QString());
    QVERIFY(wait(2));
    QCOMPARE(m_rates.first(), 100.0 * (120 * 68) / (120 * 68 + 2));
    PipeReader::picture(0);
    QTest::qWait(100);
    m_rates.clear();
    QVERIFY(!wait(1, SILENCE));
}

void BridgeSignalsTest::thresholdOnTheScreen_data()
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

void BridgeSignalsTest::thresholdOnTheScreen()
{
    QFETCH(QVector<QRect>, drawn);
    QFETCH(int, tiles);
    const auto window = m_screen->makeWindow(QRect(160, 160, 640, 320));
    QCOMPARE(Bridge::errorOf(Bridge::call(QStringLiteral("setContentChangeThreshold"), {90.0})),
             QString());
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

void BridgeSignalsTest::aChangeThatFinishedBeforeIsSignalledEverySecond()
{
    const auto window = m_screen->makeWindow(QRect(160, 160, 640, 320));
    QCOMPARE(Bridge::errorOf(Bridge::call(QStringLiteral("setContentChangeThreshold"), {90.0})),
             QString());
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

void BridgeSignalsTest::threshold_data()
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

void BridgeSignalsTest::threshold()
{
    QFETCH(double, value);
    QFETCH(bool, accepted);
    QCOMPARE(Bridge::errorOf(Bridge::call(QStringLiteral("setContentChangeThreshold"), {value})),
             accepted ? QString() : QDBusError::errorString(QDBusError::InvalidArgs));
}

void BridgeSignalsTest::lowestThresholdOfAllCallersCounts()
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

void BridgeSignalsTest::stillScreenCausesNoWakeUps()
{
    const auto window = m_screen->makeWindow(QRect(160, 160, 640, 320));
    QCOMPARE(Bridge::errorOf(Bridge::call(QStringLiteral("setContentChangeThreshold"), {90.0})),
             QString());
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

void BridgeSignalsTest::noWakeUpsOnceTheCallerHasLeft()
{
    const auto window = m_screen->makeWindow(QRect(160, 160, 640, 320));
    QDBusConnection caller =
        QDBusConnection::connectToBus(QDBusConnection::SessionBus, QStringLiteral("caller"));
    QCOMPARE(
        Bridge::errorOf(Bridge::call(QStringLiteral("setContentChangeThreshold"), {90.0}, caller)),
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

void BridgeSignalsTest::newSizeOfTheScreen()
{
    const PrivateXServer server({}, QStringLiteral("1024x768x24"));
    const DisplayVariable variable(server.display());
    BridgeProcess bridge;
    QVERIFY(bridge.waitForName(Bridge::WINDOW_MANAGER));
    QCOMPARE(Bridge::errorOf(Bridge::call(QStringLiteral("setContentChangeThreshold"), {90.0})),
             QString());
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

void BridgeSignalsTest::lockAndUnlock()
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

void BridgeSignalsTest::aCallerThatComesLaterIsToldOfTheLock()
{
    ServedSaver served;
    served.saver.m_active = true;
    BridgeProcess bridge;
    QTRY_COMPARE(m_locks, QStringList{LOCK});
    m_locks.clear();
    QCOMPARE(Bridge::errorOf(Bridge::call(QStringLiteral("setContentChangeThreshold"), {90.0})),
             QString());
    QTRY_COMPARE(m_locks, QStringList{LOCK});
}

void BridgeSignalsTest::aLockThatEndedWhileTheBridgeWasAwayIsToldAsEnded()
{
    ServedSaver served;
    served.saver.m_active = true;
    QCOMPARE(Bridge::errorOf(Bridge::call(QStringLiteral("setContentChangeThreshold"), {90.0})),
             QString());
    QTRY_COMPARE(m_locks, QStringList{LOCK});
    Bridge::killOwners();
    served.saver.m_active = false;
    m_locks.clear();
    QCOMPARE(Bridge::errorOf(Bridge::call(QStringLiteral("setContentChangeThreshold"), {90.0})),
             QString());
    QTRY_COMPARE(m_locks, QStringList{UNLOCK});
}

QTEST_GUILESS_MAIN(BridgeSignalsTest)
#include "bridgesignalstest.moc"
