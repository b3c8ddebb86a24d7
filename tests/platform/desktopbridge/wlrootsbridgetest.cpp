// The bridge as a process of the session's bus under a real compositor without a screen: what the
// program gets under sway, and what it is told under Weston, which lets nobody see its screen.

#include "bridgeprocess.h"
#include "pipereader.h"
#include "swaysession.h"
#include "wakeups.h"
#include "waylandpainter.h"

#include <QDBusError>
#include <QDBusInterface>
#include <QDBusUnixFileDescriptor>
#include <QFile>
#include <QTest>

#include <csignal>

namespace
{
const QSize SCREEN_SIZE(1280, 720);
constexpr int TILE = 16;
constexpr int LONG = 10000;
constexpr int SILENCE = 1400; // more than the second in which a signal would come

QString backendOf(const QDBusConnection &bus)
{
    const QDBusInterface facts(Bridge::WINDOW_MANAGER, QStringLiteral("/Bridge"),
                               QStringLiteral("com.tavel.yestermark.Bridge"), bus);
    return facts.property("Backend").toString();
}

// Processor time of a process in clock ticks.
qint64 processorTicks(uint process)
{
    QFile file(QStringLiteral("/proc/%1/stat").arg(process));
    if (!file.open(QFile::ReadOnly)) {
        return -1;
    }
    const QByteArray text = file.readAll();
    const QList<QByteArray> fields = text.mid(text.lastIndexOf(')') + 2).split(' ');
    return fields.value(11).toLongLong() + fields.value(12).toLongLong();
}
} // namespace

class WlrootsBridgeTest : public QObject
{
    Q_OBJECT

public Q_SLOTS:
    void onChanged(double rate) { m_rates.append(rate); }

private Q_SLOTS:
    void initTestCase();
    void cleanup();

    void terminalIsSeenAsGrimSeesIt();
    void processOfTheTerminal();
    void thresholdOnTheScreen_data();
    void thresholdOnTheScreen();
    void stillScreenCostsNothing();
    void startedByTheBusWithoutTheVariables();
    void endsWithTheCompositor();
    void compositorThatLetsNobodySee();

private:
    bool isSway() const { return qEnvironmentVariableIsSet("SWAYSOCK"); }

    QVector<double> m_rates;
};

#define NEED_SWAY()                                                                                \
    if (!isSway()) {                                                                               \
        QSKIP("this compositor is no sway");                                                       \
    }

void WlrootsBridgeTest::initTestCase()
{
    QVERIFY(QDBusConnection::sessionBus().connect(
        Bridge::WINDOW_MANAGER, QStringLiteral("/KWin"), Bridge::WINDOW_MANAGER,
        QStringLiteral("screenContentChanged"), this, SLOT(onChanged(double))));
}

void WlrootsBridgeTest::cleanup()
{
    Bridge::killOwners();
}

void WlrootsBridgeTest::terminalIsSeenAsGrimSeesIt()
{
    NEED_SWAY();
    QCOMPARE(Bridge::errorOf(Bridge::call(QStringLiteral("getActiveWindowPid"))), QString());
    QCOMPARE(backendOf(QDBusConnection::sessionBus()), QStringLiteral("wlroots"));
    const QImage empty = PipeReader::picture(0);
    QCOMPARE(empty.size(), SCREEN_SIZE);
    ChildProcess terminal;
    terminal.start(QStringLiteral("foot"),
                   {QStringLiteral("--log-level=none"), QStringLiteral("sh"), QStringLiteral("-c"),
                    QStringLiteral("tput civis; seq 1 2000; exec sleep 60")});
    QTRY_VERIFY_WITH_TIMEOUT(PipeReader::picture(0) != empty, LONG);
    // It may still be painting between the two looks.
    QTRY_COMPARE_WITH_TIMEOUT(PipeReader::picture(0), Sway::grab(), LONG);
    QCOMPARE(PipeReader::picture(-1), Sway::grab());
    terminal.kill();
    terminal.waitForFinished();
}

void WlrootsBridgeTest::processOfTheTerminal()
{
    NEED_SWAY();
    const auto active = [] {
        return Bridge::call(QStringLiteral("getActiveWindowPid")).arguments().value(0).toUInt();
    };
    QCOMPARE(active(), 0U);
    ChildProcess terminal;
    terminal.start(QStringLiteral("foot"), {QStringLiteral("--log-level=none")});
    QTRY_COMPARE_WITH_TIMEOUT(active(), uint(terminal.processId()), LONG);
    WaylandPainter painter;
    QVERIFY(painter.showFullScreen());
    QTRY_COMPARE_WITH_TIMEOUT(active(), uint(QCoreApplication::applicationPid()), LONG);
    terminal.kill();
    terminal.waitForFinished();
}

void WlrootsBridgeTest::thresholdOnTheScreen_data()
{
    QTest::addColumn<QRect>("drawn");
    QTest::addColumn<int>("tiles"); // 0: no signal
    QTest::newRow("caret") << QRect(20, 10, 2, 19) << 0;
    QTest::newRow("17 tiles") << QRect(0, 0, 17 * TILE, TILE) << 0;
    QTest::newRow("18 tiles") << QRect(0, 0, 18 * TILE, TILE) << 18;
    QTest::newRow("typed block") << QRect(8, 8, 300, 60) << 20 * 5;
}

void WlrootsBridgeTest::thresholdOnTheScreen()
{
    NEED_SWAY();
    QFETCH(QRect, drawn);
    QFETCH(int, tiles);
    WaylandPainter painter;
    QVERIFY(painter.showWindow());
    QCOMPARE(Bridge::errorOf(Bridge::call(QStringLiteral("setContentChangeThreshold"), {90.0})),
             QString());
    QCOMPARE(PipeReader::picture(0), painter.canvas());
    QTest::qWait(SILENCE);
    m_rates.clear();
    QVERIFY(painter.fill(drawn, 0xffffffff));
    if (tiles == 0) {
        QTest::qWait(SILENCE);
        QVERIFY(m_rates.isEmpty());
    } else {
        QTRY_VERIFY_WITH_TIMEOUT(!m_rates.isEmpty(), LONG);
        QCOMPARE(m_rates.last(), 100.0 * tiles / (tiles + 2));
    }
}

void WlrootsBridgeTest::stillScreenCostsNothing()
{
    NEED_SWAY();
    WaylandPainter painter;
    QVERIFY(painter.showWindow());
    QCOMPARE(Bridge::errorOf(Bridge::call(QStringLiteral("setContentChangeThreshold"), {90.0})),
             QString());
    QCOMPARE(PipeReader::picture(0), painter.canvas());
    QTest::qWait(SILENCE);
    const uint process = Bridge::ownerOf(Bridge::WINDOW_MANAGER);
    const qint64 ticks = processorTicks(process);
    const qint64 before = wakeUps(process);
    QVERIFY(ticks >= 0);
    QTest::qWait(4000);
    QCOMPARE(processorTicks(process), ticks);
    QCOMPARE(wakeUps(process), before);
}

void WlrootsBridgeTest::startedByTheBusWithoutTheVariables()
{
    NEED_SWAY();
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.remove(QStringLiteral("WAYLAND_DISPLAY"));
    environment.remove(QStringLiteral("SWAYSOCK"));
    environment.remove(QStringLiteral("XDG_SESSION_TYPE"));
    BridgeProcess bridge({}, environment);
    QVERIFY(bridge.waitForName(Bridge::WINDOW_MANAGER));
    QCOMPARE(backendOf(QDBusConnection::sessionBus()), QStringLiteral("wlroots"));
    WaylandPainter painter;
    QVERIFY(painter.showFullScreen());
    QTRY_COMPARE_WITH_TIMEOUT(PipeReader::picture(0), painter.canvas(), LONG);
}

void WlrootsBridgeTest::endsWithTheCompositor()
{
    NEED_SWAY();
    PrivateSway sway(PrivateSway::Headless, SCREEN_SIZE);
    QVERIFY(sway.isRunning());
    BridgeProcess bridge;
    QVERIFY(bridge.waitForName(Bridge::WINDOW_MANAGER));
    QCOMPARE(Bridge::errorOf(Bridge::call(QStringLiteral("setContentChangeThreshold"), {90.0})),
             QString());
    QCOMPARE(PipeReader::picture(0).size(), SCREEN_SIZE);
    sway.kill();
    QVERIFY(bridge.process().waitForFinished(LONG));
    QCOMPARE(bridge.process().exitStatus(), QProcess::NormalExit);
    QTRY_COMPARE_WITH_TIMEOUT(Bridge::ownerOf(Bridge::WINDOW_MANAGER), 0U, LONG);
}

void WlrootsBridgeTest::compositorThatLetsNobodySee()
{
    if (isSway()) {
        QSKIP("sway lets its screen be seen");
    }
    const QString failed = QDBusError::errorString(QDBusError::Failed);
    BridgeProcess bridge({QStringLiteral("--backend"), QStringLiteral("wlroots")});
    QVERIFY(bridge.waitForName(Bridge::WINDOW_MANAGER));
    const QDBusMessage reply = Bridge::call(QStringLiteral("getActiveWindowPid"));
    QCOMPARE(Bridge::errorOf(reply), failed);
    QVERIFY2(reply.errorMessage().contains(QStringLiteral("wlr-screencopy")),
             qPrintable(reply.errorMessage()));
    QCOMPARE(backendOf(QDBusConnection::sessionBus()), QStringLiteral("null"));
    PipeReader reader;
    QCOMPARE(Bridge::errorOf(reader.call(0)), failed);
    QCOMPARE(reader.readAll(), QByteArray());
    QVERIFY(reader.sawEnd());
    QCOMPARE(Bridge::errorOf(Bridge::call(QStringLiteral("setContentChangeThreshold"), {90.0})),
             QDBusError::errorString(QDBusError::NotSupported));
}

QTEST_GUILESS_MAIN(WlrootsBridgeTest)
#include "wlrootsbridgetest.moc"
