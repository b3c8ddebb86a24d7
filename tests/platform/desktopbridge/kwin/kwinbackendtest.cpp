// The KWin backend under a real KWin: pixels, changes, the active window's process, what it costs
// on a still screen, and what happens without permission and without PipeWire.

#include "desktopbridge/kwin/kwinbackend.h"
#include "bridgeprocess.h"
#include "desktopbridge/backendloader.h"
#include "desktopbridge/contentwatch.h"
#include "imageof.h"
#include "kwinpermission.h"
#include "kwinprocess.h"
#include "pipereader.h"
#include "pipewire/pipewiredaemon.h"
#include "support/logcapture.h"
#include "wakeups.h"

#include <QDBusError>
#include <QProcess>
#include <QSignalSpy>
#include <QTest>

namespace
{
const QRect SCREEN(0, 0, 1280, 800);
constexpr int TILE = 16;
constexpr int PATIENCE_MS = 15000;
constexpr int RETRY_MS = 500;
const QString ONLY_A_WINDOW = QStringLiteral("--only-a-window"); // what the program then shows

bool contains(const QVector<QRect> &areas, const QRect &wanted)
{
    return std::any_of(areas.begin(), areas.end(),
                       [&wanted](const QRect &area) { return area.contains(wanted); });
}

// Asked again: a KWin that draws by the processor keeps others waiting. Looks every RETRY_MS where
// there is no stream.
std::unique_ptr<KwinBackend> connected()
{
    QString problem;
    std::unique_ptr<KwinSession> session;
    const auto opens = [&] { return (session = KwinSession::open(problem, RETRY_MS)) != nullptr; };
    if (!QTest::qWaitFor(opens, PATIENCE_MS)) {
        qFatal("%s", qPrintable(problem));
    }
    return std::make_unique<KwinBackend>(std::move(session), QDBusConnection::sessionBus());
}
} // namespace

class KwinBackendTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();

    void withoutADesktopFileTheReasonIsTold();
    void withoutADesktopFileCallersGetTheReason();
    void pixelsAreThoseThatWereDrawn();
    void aPictureStaysAsItWasTaken();
    void areaBeyondTheScreenGivesNothing();
    void activeProcessFollowsTheFocus();
    void damageIsToldWhereItWasDrawn();
    void nothingIsToldUnlessWatching();
    void signalsAroundTheThreshold();
    void takingPicturesDoesNotCountAsChange();
    void withoutPipeWireItLooksEverySoOften();
    void theBridgeServesCallers();
    void theBridgeDoesNothingOnAStillScreen();

private:
    bool allow();
    bool streamsWork();

    std::unique_ptr<PipeWireDaemon> m_pipewire;
    KwinPermission m_permission;
    std::optional<bool> m_streamsWork;
};

void KwinBackendTest::initTestCase()
{
    const QString missing = PipeWireDaemon::missing();
    if (!missing.isEmpty()) {
        QSKIP(qPrintable(missing));
    }
    m_pipewire = std::make_unique<PipeWireDaemon>(qEnvironmentVariable("XDG_RUNTIME_DIR"));
    QVERIFY(m_pipewire->start());
}

// For the test and the bridge, until the end.
bool KwinBackendTest::allow()
{
    return m_permission.isGiven() || m_permission.give({QCoreApplication::applicationFilePath(),
                                                        QStringLiteral(BRIDGE_PROGRAM)},
                                                       QDBusConnection::sessionBus());
}

void KwinBackendTest::withoutADesktopFileTheReasonIsTold()
{
    QString problem;
    QVERIFY(!KwinBackend::connectToSession(problem));
    QVERIFY2(problem.contains(QStringLiteral("desktop file")), qPrintable(problem));
    problem = KwinScreenshots(QDBusConnection::sessionBus()).captureOnePixel(QPoint());
    QVERIFY2(problem.contains(QStringLiteral("desktop file")), qPrintable(problem));
    const auto backend = loadScreenBackend(BackendChoice::KWin);
    QVERIFY2(backend->problem().contains(QStringLiteral("desktop file")),
             qPrintable(backend->problem()));
}

void KwinBackendTest::withoutADesktopFileCallersGetTheReason()
{
    BridgeProcess bridge({QStringLiteral("--backend"), QStringLiteral("kwin")});
    QVERIFY(bridge.waitForName(Bridge::WINDOW_MANAGER));
    PipeReader reader;
    const QDBusMessage reply = reader.call(0);
    QCOMPARE(reply.type(), QDBusMessage::ErrorMessage);
    QVERIFY2(reply.errorMessage().contains(QStringLiteral("desktop file")),
             qPrintable(reply.errorMessage()));
}

void KwinBackendTest::pixelsAreThoseThatWereDrawn()
{
    QVERIFY(allow());
    const auto painter = makePainter();
    QVERIFY(painter->showFullScreen());
    QVERIFY(painter->fillWithPattern());
    const auto backend = connected();
    QVERIFY(backend);
    QCOMPARE(backend->problem(), QString());
    QCOMPARE(backend->screens(), QVector<QRect>{SCREEN});
    QCOMPARE(backend->virtualScreen(), SCREEN);
    QCOMPARE(backend->tileEdge(), TILE);
    QTRY_COMPARE(imageOf(backend->fetch(SCREEN)), painter->canvas());
    for (const QRect &area : {QRect(99, 49, 17, 3), QRect(1279, 799, 1, 1)}) {
        const PicturePtr picture = backend->fetch(area);
        QVERIFY(picture);
        QCOMPARE(picture->area, area);
        QCOMPARE(imageOf(picture), painter->canvas().copy(area));
    }
}

void KwinBackendTest::aPictureStaysAsItWasTaken()
{
    QVERIFY(allow());
    const auto painter = makePainter();
    QVERIFY(painter->showFullScreen(0, 1, 0xff112233));
    auto backend = connected();
    const PicturePtr first = backend->fetch(SCREEN);
    QVERIFY(painter->fill(SCREEN, 0xff445566));
    QTRY_COMPARE(backend->fetch(SCREEN)->row(5)[5] & 0xffffff, 0x445566U);
    backend.reset();
    QCOMPARE(first->row(799)[1279] & 0xffffff, 0x112233U);
}

void KwinBackendTest::areaBeyondTheScreenGivesNothing()
{
    QVERIFY(allow());
    const auto backend = connected();
    QVERIFY(!backend->fetch(QRect(1200, 700, 100, 200)));
    QVERIFY(!backend->fetch(QRect()));
    QVERIFY(!backend->fetchForComparison(QRect(-1, 0, 10, 10)));
}

void KwinBackendTest::activeProcessFollowsTheFocus()
{
    QVERIFY(allow());
    const auto backend = connected();
    QCOMPARE(backend->activeWindowPid().value_or(1), 0U);
    const auto painter = makePainter();
    QVERIFY(painter->showFullScreen());
    const auto own = quint32(QCoreApplication::applicationPid());
    QTRY_COMPARE(backend->activeWindowPid().value_or(0), own);
    // Who comes later sees the same.
    QCOMPARE(connected()->activeWindowPid().value_or(0), own);

    ChildProcess other;
    other.start(QCoreApplication::applicationFilePath(), {ONLY_A_WINDOW});
    QVERIFY(other.waitForStarted());
    QTRY_COMPARE_WITH_TIMEOUT(backend->activeWindowPid().value_or(0), quint32(other.processId()),
                              PATIENCE_MS);
    other.kill();
    other.waitForFinished();
    QTRY_COMPARE(backend->activeWindowPid().value_or(0), own);
    painter->close();
    QTRY_COMPARE(backend->activeWindowPid().value_or(1), 0U);
}

// KWin may open streams without ever putting a picture into them.
bool KwinBackendTest::streamsWork()
{
    if (!m_streamsWork) {
        const auto backend = connected();
        backend->startWatching();
        m_streamsWork = QTest::qWaitFor([&backend] { return backend->hasStreams(); }, 3000);
    }
    return *m_streamsWork;
}

void KwinBackendTest::damageIsToldWhereItWasDrawn()
{
    QVERIFY(allow());
    const auto painter = makePainter();
    QVERIFY(painter->showFullScreen());
    if (!streamsWork()) {
        QSKIP("this KWin puts no picture into its streams without a screen");
    }
    const auto backend = connected();
    QSignalSpy damaged(backend.get(), &ScreenBackend::damaged);
    QVERIFY(backend->startWatching());
    QTRY_VERIFY_WITH_TIMEOUT(backend->hasStreams(), PATIENCE_MS);
    QTest::qWait(1000); // what was drawn before has come
    backend->takeDamage();
    damaged.clear();
    const QRect drawn(400, 300, 30, 40);
    QVERIFY(painter->fill(drawn, 0xffff0000));
    QTRY_COMPARE(damaged.count(), 1);
    const QVector<QRect> areas = backend->takeDamage();
    QVERIFY(contains(areas, drawn));
    QVERIFY2(!contains(areas, SCREEN), "only what was drawn is compared");
    QCOMPARE(imageOf(backend->fetchForComparison(drawn)), painter->canvas().copy(drawn));
}

void KwinBackendTest::nothingIsToldUnlessWatching()
{
    QVERIFY(allow());
    const auto painter = makePainter();
    QVERIFY(painter->showFullScreen());
    const auto backend = connected();
    QSignalSpy damaged(backend.get(), &ScreenBackend::damaged);
    QVERIFY(painter->fill(QRect(0, 0, 50, 50), 0xff010101));
    QVERIFY(!damaged.wait(2 * RETRY_MS));
    QVERIFY(backend->startWatching());
    QVERIFY(damaged.wait(PATIENCE_MS));
    backend->stopWatching();
    damaged.clear();
    QVERIFY(painter->fill(QRect(0, 0, 50, 50), 0xff020202));
    QVERIFY(!damaged.wait(2 * RETRY_MS));
    QVERIFY(!backend->hasStreams());
    QVERIFY(backend->startWatching()); // and again
    QVERIFY(damaged.wait(PATIENCE_MS));
}

// 18 tiles give 90.0, 17 give 89.5.
void KwinBackendTest::signalsAroundTheThreshold()
{
    QVERIFY(allow());
    const auto painter = makePainter();
    QVERIFY(painter->showFullScreen(0, 1, 0xff000000));
    const auto backend = connected();
    ContentWatch watch(*backend);
    QSignalSpy changed(&watch, &ContentWatch::changed);
    QVERIFY(watch.watch(90.0));
    QVERIFY(watch.takePicture(SCREEN));
    QVERIFY(painter->fill(QRect(TILE, TILE, 17 * TILE, TILE), 0xffffffff));
    QVERIFY(!changed.wait(2000));
    QVERIFY(painter->fill(QRect(18 * TILE, TILE, 1, 1), 0xffffffff));
    QVERIFY(changed.wait(PATIENCE_MS));
    QCOMPARE(changed.first().first().toDouble(), 90.0);
}

// KWin draws once more for each picture.
void KwinBackendTest::takingPicturesDoesNotCountAsChange()
{
    QVERIFY(allow());
    const auto painter = makePainter();
    QVERIFY(painter->showFullScreen());
    const auto backend = connected();
    ContentWatch watch(*backend);
    QSignalSpy changed(&watch, &ContentWatch::changed);
    QVERIFY(watch.watch(1.0));
    for (int count = 0; count < 2; ++count) {
        QVERIFY(watch.takePicture(SCREEN));
        QVERIFY(!changed.wait(1500));
    }
    if (backend->hasStreams()) {
        QSignalSpy damaged(backend.get(), &ScreenBackend::damaged);
        QVERIFY(!damaged.wait(2000));
    }
}

void KwinBackendTest::withoutPipeWireItLooksEverySoOften()
{
    QVERIFY(allow());
    const auto painter = makePainter();
    QVERIFY(painter->showFullScreen());
    const auto backend = connected();
    const LogCapture log;
    m_pipewire->kill();
    QSignalSpy damaged(backend.get(), &ScreenBackend::damaged);
    QVERIFY(backend->startWatching());
    for (int count = 0; count < 2; ++count) {
        QVERIFY(damaged.wait(PATIENCE_MS));
        QCOMPARE(backend->takeDamage(), QVector<QRect>{SCREEN});
    }
    QVERIFY(painter->fill(QRect(7, 7, 1, 1), 0xff998877));
    QTRY_COMPARE(imageOf(backend->fetchForComparison(SCREEN)), painter->canvas());
    QCOMPARE(log.count(QtWarningMsg, QStringLiteral("PipeWire cannot be reached")), 1);
    QVERIFY(m_pipewire->start());
    if (!streamsWork()) {
        return; // the looking goes on
    }
    QTRY_VERIFY_WITH_TIMEOUT(backend->hasStreams(), PATIENCE_MS);
    QTRY_COMPARE(log.count(QtInfoMsg, QStringLiteral("is back")), 1);
}

void KwinBackendTest::theBridgeServesCallers()
{
    QVERIFY(allow());
    const auto painter = makePainter();
    QVERIFY(painter->showFullScreen());
    QVERIFY(painter->fillWithPattern());
    BridgeProcess bridge;
    QVERIFY(bridge.waitForName(Bridge::WINDOW_MANAGER));
    QCOMPARE(Bridge::call(QStringLiteral("setContentChangeThreshold"), {90.0}).type(),
             QDBusMessage::ReplyMessage);
    QTRY_COMPARE(PipeReader::picture(0), painter->canvas());
    QCOMPARE(PipeReader::picture(-1), painter->canvas());
    QCOMPARE(Bridge::call(QStringLiteral("getActiveWindowPid")).arguments().first().toUInt(),
             uint(QCoreApplication::applicationPid()));
}

void KwinBackendTest::theBridgeDoesNothingOnAStillScreen()
{
    QVERIFY(allow());
    const auto painter = makePainter();
    QVERIFY(painter->showFullScreen());
    if (!streamsWork()) {
        QSKIP("this KWin puts no picture into its streams without a screen");
    }
    BridgeProcess bridge;
    QVERIFY(bridge.waitForName(Bridge::WINDOW_MANAGER));
    QCOMPARE(Bridge::call(QStringLiteral("setContentChangeThreshold"), {90.0}).type(),
             QDBusMessage::ReplyMessage);
    QTRY_COMPARE(PipeReader::picture(0), painter->canvas());
    const auto process = uint(bridge.process().processId());
    QTRY_VERIFY_WITH_TIMEOUT(
        [process] {
            const qint64 before = wakeUps(process);
            QTest::qWait(2000);
            return wakeUps(process) == before;
        }(),
        PATIENCE_MS);
}

int main(int argc, char **argv)
{
    QCoreApplication application(argc, argv);
    if (QCoreApplication::arguments().contains(ONLY_A_WINDOW)) {
        const auto painter = makePainter();
        return painter->showFullScreen() ? QCoreApplication::exec() : 1;
    }
    KwinBackendTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "kwinbackendtest.moc"
