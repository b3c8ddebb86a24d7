// The screen of a real compositor of wlroots, sway without a screen: pixels, places, damage, what
// happens as outputs change or stop, and the active window's process.

#include "desktopbridge/wlroots/wlrootsbackend.h"
#include "desktopbridge/backendloader.h"
#include "desktopbridge/contentwatch.h"
#include "imageof.h"
#include "swaysession.h"
#include "waylandpainter.h"

#include <QElapsedTimer>
#include <QSignalSpy>
#include <QTest>

#include <csignal>

namespace
{
const QSize SCREEN_SIZE(640, 480);
const QRect SCREEN(QPoint(0, 0), SCREEN_SIZE);
const QString OUTPUT = QStringLiteral("HEADLESS-1");
const QString SECOND = QStringLiteral("HEADLESS-2");
constexpr int LONG = 10000;

// The screens of a program of the session, which takes the first one for the primary screen.
QByteArray screensOfQt()
{
    QProcess program;
    program.start(QStringLiteral(QT_SCREENS_PROGRAM), QStringList());
    program.waitForFinished();
    return program.readAllStandardOutput();
}
} // namespace

class WlrootsBackendTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void isChosenBySway();
    void pictureIsWhatWasDrawn_data();
    void pictureIsWhatWasDrawn();
    void partsAreWhatWasDrawn_data();
    void partsAreWhatWasDrawn();
    void manyPartsInARowAreOneCopy();
    void pictureOutlivesTheBackend();
    void areaBeyondTheScreenGivesNoPicture();
    void outputsOfDifferentScale();

    void changeIsToldOnceUntilItIsTaken();
    void damageOfATurnedOutput_data();
    void damageOfATurnedOutput();
    void changeBetweenPictureAndNextLookIsNotLost();
    void fullScreenWindowThatStaysAsItIsIsQuiet();
    void nothingIsToldBeforeAndAfterWatching();

    void layoutChanges_data();
    void layoutChanges();
    void outputComesAndGoes();
    void endOfTheCompositorIsTold();
    void silentCompositorIsGivenUp();
    void slowCompositorIsWaitedForAtTheStart();

    void processOfTheActiveWindow();

private:
    bool connectToSession();
    QRect takeDamage();
    bool waitForScreens(const QVector<QRect> &screens);

    std::unique_ptr<WlrootsBackend> m_backend;
    std::unique_ptr<WaylandPainter> m_painter;
};

bool WlrootsBackendTest::waitForScreens(const QVector<QRect> &screens)
{
    return QTest::qWaitFor([&] { return m_backend->screens() == screens; }, LONG);
}

bool WlrootsBackendTest::connectToSession()
{
    m_painter.reset();
    QString problem;
    m_backend = WlrootsBackend::connectToDisplay(problem);
    m_painter = std::make_unique<WaylandPainter>();
    return m_backend && m_painter->isConnected();
}

QRect WlrootsBackendTest::takeDamage()
{
    QRect all;
    const QVector<QRect> areas = m_backend->takeDamage();
    for (const QRect &area : areas) {
        all = all.united(area);
    }
    return all;
}

void WlrootsBackendTest::init()
{
    QVERIFY(Sway::command(
        QStringLiteral("output %1 resolution %2x%3 scale 1 transform normal position 0 0")
            .arg(OUTPUT)
            .arg(SCREEN_SIZE.width())
            .arg(SCREEN_SIZE.height())));
    QVERIFY(connectToSession());
    QVERIFY(waitForScreens({SCREEN}));
}

void WlrootsBackendTest::cleanup()
{
    m_painter.reset();
    m_backend.reset();
}

void WlrootsBackendTest::isChosenBySway()
{
    QVERIFY(qobject_cast<WlrootsBackend *>(loadScreenBackend(BackendChoice::Automatic).get()));
    QVERIFY(qobject_cast<WlrootsBackend *>(loadScreenBackend(BackendChoice::Wlroots).get()));
    QVERIFY(!loadScreenBackend(BackendChoice::X11)->problem().isEmpty());
}

void WlrootsBackendTest::pictureIsWhatWasDrawn_data()
{
    QTest::addColumn<QString>("change");
    QTest::addColumn<int>("scale");
    QTest::addColumn<QSize>("size");
    const QSize standing(480, 640);
    QTest::newRow("as it is") << QStringLiteral("scale 1") << 1 << SCREEN_SIZE;
    QTest::newRow("scale 2") << QStringLiteral("scale 2") << 2 << SCREEN_SIZE;
    QTest::newRow("odd size") << QStringLiteral("resolution 641x479") << 1 << QSize(641, 479);
    QTest::newRow("90") << QStringLiteral("transform 90") << 1 << standing;
    QTest::newRow("180") << QStringLiteral("transform 180") << 1 << SCREEN_SIZE;
    QTest::newRow("270") << QStringLiteral("transform 270") << 1 << standing;
    QTest::newRow("flipped") << QStringLiteral("transform flipped") << 1 << SCREEN_SIZE;
    QTest::newRow("flipped 90") << QStringLiteral("transform flipped-90") << 1 << standing;
    QTest::newRow("flipped 180") << QStringLiteral("transform flipped-180") << 1 << SCREEN_SIZE;
    QTest::newRow("flipped 270") << QStringLiteral("transform flipped-270") << 1 << standing;
    QTest::newRow("90 at scale 2") << QStringLiteral("scale 2 transform 90") << 2 << standing;
}

void WlrootsBackendTest::pictureIsWhatWasDrawn()
{
    QFETCH(QString, change);
    QFETCH(int, scale);
    QFETCH(QSize, size);
    QVERIFY(Sway::command(QStringLiteral("output %1 %2").arg(OUTPUT, change)));
    QVERIFY(waitForScreens({QRect(QPoint(0, 0), size)}));
    QVERIFY(m_painter->showFullScreen(0, scale));
    QVERIFY(m_painter->fillWithPattern());
    QCOMPARE(m_painter->canvas().size(), size);
    QTRY_COMPARE_WITH_TIMEOUT(imageOf(m_backend->fetch(m_backend->virtualScreen())),
                              m_painter->canvas(), LONG);
    QCOMPARE(Sway::grab(), m_painter->canvas());
}

void WlrootsBackendTest::partsAreWhatWasDrawn_data()
{
    QTest::addColumn<QString>("change");
    QTest::addColumn<int>("scale");
    QTest::newRow("as it is") << QStringLiteral("scale 1") << 1;
    QTest::newRow("scale 2") << QStringLiteral("scale 2") << 2;
    QTest::newRow("90") << QStringLiteral("transform 90") << 1;
    QTest::newRow("270") << QStringLiteral("transform 270") << 1;
    QTest::newRow("flipped 90 at scale 2") << QStringLiteral("scale 2 transform flipped-90") << 2;
}

void WlrootsBackendTest::partsAreWhatWasDrawn()
{
    QFETCH(QString, change);
    QFETCH(int, scale);
    QVERIFY(Sway::command(QStringLiteral("output %1 %2").arg(OUTPUT, change)));
    QTRY_COMPARE_WITH_TIMEOUT(m_backend->tileEdge(), 16 * scale, LONG);
    QVERIFY(m_painter->showFullScreen(0, scale));
    QVERIFY(m_painter->fillWithPattern());
    const QImage drawn = m_painter->canvas();
    QVERIFY(waitForScreens({drawn.rect()}));
    QTRY_COMPARE_WITH_TIMEOUT(imageOf(m_backend->fetch(drawn.rect())), drawn, LONG);
    const QRect last(drawn.width() - 17, drawn.height() - 3, 17, 3);
    for (const QRect &area : {QRect(0, 0, 16, 16), QRect(33, 47, 101, 63), last}) {
        QCoreApplication::processEvents(); // a new turn: nothing is kept
        QCOMPARE(imageOf(m_backend->fetch(area)), drawn.copy(area));
    }
}

void WlrootsBackendTest::manyPartsInARowAreOneCopy()
{
    QVERIFY(m_painter->showFullScreen());
    QVERIFY(m_painter->fillWithPattern());
    const QImage drawn = m_painter->canvas();
    QTRY_COMPARE_WITH_TIMEOUT(imageOf(m_backend->fetch(SCREEN)), drawn, LONG);
    QCoreApplication::processEvents();
    // The compositor does not paint while this thread does not let it: all parts are of one moment.
    for (int index = 0; index < 40; ++index) {
        const QRect area(index * 13, index * 7, 64, 48);
        QCOMPARE(imageOf(m_backend->fetch(area)), drawn.copy(area));
    }
}

void WlrootsBackendTest::pictureOutlivesTheBackend()
{
    QVERIFY(m_painter->showFullScreen());
    QVERIFY(m_painter->fillWithPattern());
    QTRY_COMPARE_WITH_TIMEOUT(imageOf(m_backend->fetch(SCREEN)), m_painter->canvas(), LONG);
    const PicturePtr kept = m_backend->fetch(SCREEN);
    const QImage before = m_painter->canvas();
    QVERIFY(m_painter->fill(SCREEN, 0xff00ff00));
    for (int round = 0; round < 5; ++round) {
        QVERIFY(m_backend->fetch(SCREEN));
    }
    QCOMPARE(imageOf(kept), before);
    m_backend.reset();
    QCOMPARE(imageOf(kept), before);
}

void WlrootsBackendTest::areaBeyondTheScreenGivesNoPicture()
{
    QVERIFY(!m_backend->fetch(QRect(-1, 0, 10, 10)));
    QVERIFY(!m_backend->fetch(QRect(630, 470, 20, 5)));
    QVERIFY(m_backend->fetch(QRect(639, 479, 1, 1)));
}

void WlrootsBackendTest::outputsOfDifferentScale()
{
    const PrivateSway sway(PrivateSway::Headless, SCREEN_SIZE);
    QVERIFY(sway.isRunning());
    QVERIFY(connectToSession());
    QVERIFY(Sway::command(QStringLiteral("create_output")));
    QVERIFY(Sway::command(
        QStringLiteral("output %1 resolution 800x600 scale 2 position 640 0").arg(SECOND)));
    const QRect second(1280, 0, 800, 600);
    QVERIFY(waitForScreens({SCREEN, second}));
    QCOMPARE(screensOfQt(), QByteArray("0 0 640 480\n640 0 400 300\n")); // in its own units
    QCOMPARE(m_backend->virtualScreen(), QRect(0, 0, 2080, 600));
    QCOMPARE(m_backend->tileEdge(), 16);

    WaylandPainter other;
    QVERIFY(m_painter->showFullScreen(0, 1, 0xff102030));
    QVERIFY(other.showFullScreen(1, 2, 0xff405060));
    QVERIFY(other.fillWithPattern());
    QTRY_COMPARE_WITH_TIMEOUT(imageOf(m_backend->fetch(second)), other.canvas(), LONG);
    QTRY_COMPARE_WITH_TIMEOUT(imageOf(m_backend->fetch(SCREEN)), m_painter->canvas(), LONG);
    const QImage all = imageOf(m_backend->fetch(m_backend->virtualScreen()));
    QCOMPARE(all.copy(SCREEN), m_painter->canvas());
    QCOMPARE(all.copy(second), other.canvas());
    QCOMPARE(all.pixel(641, 10), QRgb(0xff000000)); // no output shows it
    QCOMPARE(imageOf(m_backend->fetch(QRect(1290, 11, 33, 21))),
             other.canvas().copy(10, 11, 33, 21));
    cleanup(); // before the compositor
}

void WlrootsBackendTest::changeIsToldOnceUntilItIsTaken()
{
    QVERIFY(m_painter->showWindow());
    QSignalSpy damaged(m_backend.get(), &ScreenBackend::damaged);
    QVERIFY(m_backend->startWatching());
    QTRY_COMPARE_WITH_TIMEOUT(damaged.size(), 1, LONG); // everything, at first
    QVERIFY(m_painter->fill(QRect(10, 10, 20, 20), 0xffff0000));
    QVERIFY(m_painter->fill(QRect(100, 100, 20, 20), 0xffff0000));
    QCOMPARE(damaged.size(), 1);
    QCOMPARE(m_backend->takeDamage(), QVector<QRect>{SCREEN});

    // What was drawn before the last look is told as well: the compositor collects it.
    QTRY_COMPARE_WITH_TIMEOUT(damaged.size(), 2, LONG);
    QRect seen = takeDamage();
    QVERIFY(seen.contains(QRect(10, 10, 20, 20)) && seen.contains(QRect(100, 100, 20, 20)));
    QVERIFY(m_painter->fill(QRect(300, 200, 16, 16), 0xff0000ff));
    QTRY_COMPARE_WITH_TIMEOUT(damaged.size(), 3, LONG);
    seen = takeDamage();
    QVERIFY(seen.contains(QRect(300, 200, 16, 16)));
    QVERIFY2(seen.width() < 64 && seen.height() < 64, "more than was drawn");
}

void WlrootsBackendTest::damageOfATurnedOutput_data()
{
    QTest::addColumn<QString>("change");
    QTest::addColumn<int>("scale");
    for (const char *turn :
         {"90", "180", "270", "flipped", "flipped-90", "flipped-180", "flipped-270"}) {
        QTest::newRow(turn) << QStringLiteral("transform ") + QLatin1String(turn) << 1;
    }
    QTest::newRow("scale 2") << QStringLiteral("scale 2") << 2;
}

void WlrootsBackendTest::damageOfATurnedOutput()
{
    QFETCH(QString, change);
    QFETCH(int, scale);
    QVERIFY(Sway::command(QStringLiteral("output %1 %2").arg(OUTPUT, change)));
    QTRY_COMPARE_WITH_TIMEOUT(m_backend->tileEdge(), 16 * scale, LONG);
    QVERIFY(m_painter->showWindow(scale));
    QVERIFY(waitForScreens({m_painter->canvas().rect()}));
    QVERIFY(m_backend->startWatching());
    const QRect all = m_painter->canvas().rect();
    QVERIFY(QTest::qWaitFor([&] { return takeDamage().contains(all); }, LONG));
    const QRect drawn(40, 20, 16, 32);
    // What came before may be told once more.
    QRect seen;
    const auto isTold = [&] {
        seen = takeDamage();
        return seen.contains(drawn) && seen.width() < 64 && seen.height() < 80;
    };
    QVERIFY(QTest::qWaitFor([&] { return m_painter->fill(drawn, 0xffff0000) && isTold(); }, LONG));
}

void WlrootsBackendTest::fullScreenWindowThatStaysAsItIsIsQuiet()
{
    QVERIFY(m_painter->showFullScreen());
    ContentWatch watch(*m_backend, 20);
    QSignalSpy changed(&watch, &ContentWatch::changed);
    QVERIFY(watch.watch(90.0));
    QTRY_VERIFY_WITH_TIMEOUT(!changed.isEmpty(), LONG);
    QVERIFY(watch.takePicture(SCREEN));
    QTest::qWait(1500);
    QSignalSpy damaged(m_backend.get(), &ScreenBackend::damaged);
    QTest::qWait(3000);
    QVERIFY2(damaged.size() <= 1, "looked at although nothing was drawn");
    changed.clear();
    QVERIFY(m_painter->fill(QRect(0, 0, 18 * 16, 16), 0xff00ff00));
    QTRY_VERIFY_WITH_TIMEOUT(!changed.isEmpty(), LONG);
    QCOMPARE(changed.last().at(0).toDouble(), 90.0);
}

// The race of each frame: what changes after the picture and before the compositor is asked again.
void WlrootsBackendTest::changeBetweenPictureAndNextLookIsNotLost()
{
    QVERIFY(m_painter->showWindow());
    ContentWatch watch(*m_backend, 20);
    QSignalSpy changed(&watch, &ContentWatch::changed);
    QVERIFY(watch.watch(90.0));
    for (int round = 0; round < 50; ++round) {
        const QRgb colour = 0xff000000 | QRgb(round * 4099 + 77);
        QVERIFY(watch.takePicture(SCREEN));
        changed.clear();
        QVERIFY(m_painter->fill(QRect(0, 0, 18 * 16, 16), colour, round % 2 == 0 ? 5000 : 0));
        QTRY_VERIFY_WITH_TIMEOUT(!changed.isEmpty(), LONG);
        QCOMPARE(changed.last().at(0).toDouble(), 90.0);
    }
}

void WlrootsBackendTest::nothingIsToldBeforeAndAfterWatching()
{
    QVERIFY(m_painter->showWindow());
    QSignalSpy damaged(m_backend.get(), &ScreenBackend::damaged);
    QVERIFY(m_painter->fill(SCREEN, 0xff112233));
    QCOMPARE(damaged.size(), 0);
    QVERIFY(m_backend->startWatching());
    QTRY_COMPARE_WITH_TIMEOUT(damaged.size(), 1, LONG);
    m_backend->stopWatching();
    QVERIFY(m_painter->fill(SCREEN, 0xff332211));
    QVERIFY(m_backend->fetch(SCREEN));
    QCOMPARE(damaged.size(), 1);
    QVERIFY(m_backend->startWatching());
    QVERIFY(m_painter->fill(SCREEN, 0xff445566));
    QTRY_COMPARE_WITH_TIMEOUT(damaged.size(), 2, LONG);
}

void WlrootsBackendTest::layoutChanges_data()
{
    QTest::addColumn<QString>("change");
    QTest::addColumn<QRect>("screen");
    QTest::addColumn<int>("edge");
    QTest::newRow("resolution") << QStringLiteral("resolution 800x600") << QRect(0, 0, 800, 600)
                                << 16;
    QTest::newRow("turned") << QStringLiteral("transform 90") << QRect(0, 0, 480, 640) << 16;
    QTest::newRow("scale 2") << QStringLiteral("scale 2") << SCREEN << 32;
    QTest::newRow("scale 1.5") << QStringLiteral("scale 1.5") << SCREEN << 24;
}

void WlrootsBackendTest::layoutChanges()
{
    QFETCH(QString, change);
    QFETCH(QRect, screen);
    QFETCH(int, edge);
    ContentWatch watch(*m_backend, 20);
    QSignalSpy changed(&watch, &ContentWatch::changed);
    QVERIFY(watch.watch(90.0));
    QVERIFY(watch.takePicture(SCREEN));
    QSignalSpy layout(m_backend.get(), &ScreenBackend::layoutChanged);
    QVERIFY(Sway::command(QStringLiteral("output %1 %2").arg(OUTPUT, change)));
    QTRY_VERIFY_WITH_TIMEOUT(!layout.isEmpty(), LONG);
    QTRY_COMPARE(m_backend->screens(), QVector<QRect>{screen});
    QCOMPARE(m_backend->tileEdge(), edge);
    QTRY_VERIFY_WITH_TIMEOUT(!changed.isEmpty(), LONG);
    const QImage picture = imageOf(watch.takePicture(m_backend->virtualScreen()));
    QCOMPARE(picture.size(), screen.size());
    if (edge % 16 == 0) { // grim rounds what it grabs at other scales
        QCOMPARE(picture, Sway::grab());
    }
}

void WlrootsBackendTest::outputComesAndGoes()
{
    PrivateSway sway(PrivateSway::Nested, SCREEN_SIZE);
    QVERIFY(sway.isRunning());
    QVERIFY(connectToSession());
    QTRY_COMPARE_WITH_TIMEOUT(m_backend->screens().size(), 2, LONG);
    QSignalSpy layout(m_backend.get(), &ScreenBackend::layoutChanged);
    QSignalSpy damaged(m_backend.get(), &ScreenBackend::damaged);
    QVERIFY(m_backend->startWatching());
    QTRY_VERIFY_WITH_TIMEOUT(!damaged.isEmpty(), LONG);
    const QRect second = m_backend->screens().last();
    QVERIFY(m_painter->showFullScreen(1));
    QVERIFY(QTest::qWaitFor([&] { return takeDamage().contains(second); }, LONG));
    QTRY_VERIFY_WITH_TIMEOUT(m_backend->fetch(second), LONG);

    m_painter->close();
    QVERIFY(sway.unplug(QStringLiteral("WL-2")));
    QTRY_COMPARE_WITH_TIMEOUT(m_backend->screens().size(), 1, LONG);
    QVERIFY(!layout.isEmpty());
    QTRY_COMPARE_WITH_TIMEOUT(m_backend->virtualScreen(), SCREEN, LONG);
    layout.clear();
    QVERIFY(Sway::command(QStringLiteral("create_output")));
    QTRY_COMPARE_WITH_TIMEOUT(m_backend->screens().size(), 2, LONG);
    QVERIFY(!layout.isEmpty());
    takeDamage();
    QVERIFY(m_painter->showFullScreen(1));
    QVERIFY(QTest::qWaitFor([&] { return takeDamage().intersects(m_backend->screens().last()); },
                            LONG));
    QTRY_VERIFY_WITH_TIMEOUT(m_backend->fetch(m_backend->virtualScreen()), LONG);
    cleanup(); // before the compositor
}

void WlrootsBackendTest::endOfTheCompositorIsTold()
{
    PrivateSway sway(PrivateSway::Headless, SCREEN_SIZE);
    QVERIFY(sway.isRunning());
    QVERIFY(connectToSession());
    QVERIFY(m_backend->startWatching());
    QVERIFY(m_backend->fetch(SCREEN));
    QSignalSpy lost(m_backend.get(), &ScreenBackend::lost);
    sway.kill();
    QTRY_COMPARE_WITH_TIMEOUT(lost.size(), 1, LONG);
    QVERIFY(!m_backend->fetch(SCREEN));
    m_backend->takeDamage();
    m_backend->stopWatching();
    QVERIFY(!m_backend->activeWindowPid());
    QTest::qWait(50);
    QCOMPARE(lost.size(), 1);
    cleanup();
}

void WlrootsBackendTest::silentCompositorIsGivenUp()
{
    const PrivateSway sway(PrivateSway::Headless, SCREEN_SIZE);
    QVERIFY(sway.isRunning());
    QVERIFY(connectToSession());
    QVERIFY(m_backend->fetch(SCREEN));
    QVERIFY(m_backend->activeWindowPid().has_value());
    ::kill(pid_t(sway.processId()), SIGSTOP);
    QElapsedTimer timer;
    timer.start();
    QVERIFY(!m_backend->fetch(SCREEN));
    QVERIFY(!m_backend->activeWindowPid());
    QVERIFY2(timer.elapsed() < 5000, qPrintable(QString::number(timer.elapsed())));
    ::kill(pid_t(sway.processId()), SIGCONT);
    QTRY_VERIFY_WITH_TIMEOUT(m_backend->fetch(SCREEN), LONG);
    cleanup();
}

void WlrootsBackendTest::slowCompositorIsWaitedForAtTheStart()
{
    const PrivateSway sway(PrivateSway::Headless, SCREEN_SIZE);
    QVERIFY(sway.isRunning());
    ::kill(pid_t(sway.processId()), SIGSTOP);
    QElapsedTimer timer;
    timer.start();
    ChildProcess waker; // connecting holds this thread
    waker.start(
        QStringLiteral("sh"),
        {QStringLiteral("-c"), QStringLiteral("sleep 3; kill -CONT %1").arg(sway.processId())});
    QString problem;
    m_backend = WlrootsBackend::connectToDisplay(problem);
    QVERIFY2(m_backend, qPrintable(problem));
    QVERIFY2(timer.elapsed() >= 2500, qPrintable(QString::number(timer.elapsed())));
    QVERIFY(m_backend->fetch(SCREEN));
    cleanup();
}

void WlrootsBackendTest::processOfTheActiveWindow()
{
    QCOMPARE(m_backend->activeWindowPid(), std::optional<quint32>(0));
    QVERIFY(m_painter->showFullScreen());
    QCOMPARE(m_backend->activeWindowPid(),
             std::optional<quint32>(QCoreApplication::applicationPid()));
    m_painter->close();
    ChildProcess terminal;
    terminal.start(QStringLiteral("foot"), {QStringLiteral("--log-level=none")});
    QTRY_COMPARE_WITH_TIMEOUT(m_backend->activeWindowPid(),
                              std::optional<quint32>(terminal.processId()), LONG);
    terminal.kill();
    terminal.waitForFinished();
    QTRY_COMPARE_WITH_TIMEOUT(m_backend->activeWindowPid(), std::optional<quint32>(0), LONG);
}

QTEST_GUILESS_MAIN(WlrootsBackendTest)
#include "wlrootsbackendtest.moc"
