// The X11 backend on real X servers: pixels, damage, sizes, the active window's process, and what
// happens without an extension or without a server.

#include "desktopbridge/x11/x11backend.h"
#include "desktopbridge/backendloader.h"
#include "imageof.h"
#include "xclient.h"

#include <QProcess>
#include <QSignalSpy>
#include <QTest>

namespace
{
// The server reports the whole screen when watching begins.
void startAndSettle(X11Backend &backend)
{
    QVERIFY(backend.startWatching());
    backend.takeDamage();
    QTest::qWait(100);
}

std::unique_ptr<X11Backend> connected()
{
    QString problem;
    auto backend = X11Backend::connectToDisplay(problem);
    if (!backend) {
        qWarning("%s", qPrintable(problem));
    }
    return backend;
}

QRect boundsOf(const QVector<QRect> &areas)
{
    QRect all;
    for (const QRect &area : areas) {
        all = all.united(area);
    }
    return all;
}
} // namespace

class X11BackendTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void pixelsEqualAnotherGrab_data();
    void pixelsEqualAnotherGrab();
    void pointerIsNotInThePicture();
    void picturesOutliveTheBackend();
    void aPictureDoesNotChangeWhenTheNextIsFetched();
    void areaBeyondTheScreenGivesNothing();
    void reportsDamageOnceUntilItIsTaken();
    void seesDamageInAChildWindow();
    void noDamageReportsUnlessWatching();
    void watchesAgainAfterStopping();
    void newSizeIsTold();
    void scaleComesFromTheResources();
    void processIdByTheServer();
    void processIdByTheWindow();
    void serverBeatsTheWindow();
    void noActiveWindowGivesZero_data();
    void noActiveWindowGivesZero();
    void vanishedActiveWindowGivesZero();
    void withoutDamageItCannotWatch();
    void withoutRandrThereIsOneScreen();
    void refusesOtherThan24BitColours();
    void serverThatDiesIsToldOnce();
    void unreachableDisplayGivesNull();
    void loaderCanBeForced();
};

void X11BackendTest::pixelsEqualAnotherGrab_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<bool>("shared");
    QTest::newRow("shared memory") << QStringList{} << true;
    QTest::newRow("through the socket")
        << QStringList{QStringLiteral("-extension"), QStringLiteral("MIT-SHM")} << false;
}

void X11BackendTest::pixelsEqualAnotherGrab()
{
    QFETCH(QStringList, arguments);
    QFETCH(bool, shared);
    const PrivateXServer server(arguments, QStringLiteral("800x600x24"));
    const DisplayVariable variable(server.display());
    XClient client;
    QVERIFY(client.isConnected());
    const auto window = client.makeWindow(QRect(100, 50, 333, 222));
    client.fillWithPattern(window, QSize(333, 222));
    const auto backend = connected();
    QVERIFY(backend);
    QCOMPARE(backend->usesSharedMemory(), shared);
    for (const QRect &area : {QRect(0, 0, 800, 600), QRect(99, 49, 17, 3), QRect(799, 599, 1, 1)}) {
        const PicturePtr picture = backend->fetch(area);
        QVERIFY(picture);
        QCOMPARE(picture->area, area);
        QCOMPARE(imageOf(picture), client.grab(area));
    }
    QCOMPARE(imageOf(backend->fetch(QRect(110, 60, 5, 5))).pixel(2, 1),
             QRgb(0xff000000 | ((12 * 7919 + 11 * 104729) & 0xffffff)));
}

void X11BackendTest::pointerIsNotInThePicture()
{
    XClient client;
    client.makeWindow(QRect(200, 200, 200, 200), 0x123456);
    const auto backend = connected();
    client.movePointer(QPoint(300, 300));
    const QImage image = imageOf(backend->fetch(QRect(250, 250, 100, 100)));
    QImage plain(100, 100, QImage::Format_RGB32);
    plain.fill(QRgb(0xff123456));
    QCOMPARE(image, plain);
}

void X11BackendTest::picturesOutliveTheBackend()
{
    XClient client;
    client.makeWindow(QRect(0, 0, 64, 64), 0x445566);
    PicturePtr picture = connected()->fetch(QRect(0, 0, 64, 64));
    QCOMPARE(picture->row(63)[63] & 0xffffff, 0x445566U);
    picture.reset();
}

void X11BackendTest::aPictureDoesNotChangeWhenTheNextIsFetched()
{
    XClient client;
    const auto window = client.makeWindow(QRect(0, 0, 64, 64), 0x111111);
    const auto backend = connected();
    QVector<PicturePtr> pictures;
    for (quint32 colour = 1; colour <= 6; ++colour) {
        client.fill(window, QRect(0, 0, 64, 64), colour);
        pictures.append(backend->fetch(QRect(0, 0, 64, 64)));
    }
    for (int index = 0; index < pictures.size(); ++index) {
        QCOMPARE(pictures.at(index)->row(5)[5] & 0xffffff, quint32(index + 1));
    }
}

void X11BackendTest::areaBeyondTheScreenGivesNothing()
{
    const auto backend = connected();
    QVERIFY(!backend->fetch(QRect(1900, 1000, 100, 100)));
    QVERIFY(!backend->fetch(QRect()));
    QVERIFY(backend->fetch(QRect(0, 0, 1920, 1080)));
}

void X11BackendTest::reportsDamageOnceUntilItIsTaken()
{
    XClient client;
    const auto window = client.makeWindow(QRect(400, 300, 200, 200));
    const auto backend = connected();
    startAndSettle(*backend);
    QSignalSpy damaged(backend.get(), &ScreenBackend::damaged);
    client.fill(window, QRect(10, 20, 30, 40), 0xff0000);
    QVERIFY(damaged.wait(5000));
    client.fill(window, QRect(0, 0, 5, 5), 0x00ff00);
    QTest::qWait(200);
    QCOMPARE(damaged.count(), 1);
    QCOMPARE(boundsOf(backend->takeDamage()), QRect(400, 300, 40, 60));
    QCOMPARE(backend->takeDamage(), QVector<QRect>());
    client.fill(window, QRect(1, 1, 1, 1), 0xffffff);
    QVERIFY(damaged.wait(5000));
    QCOMPARE(backend->takeDamage(), QVector<QRect>{QRect(401, 301, 1, 1)});
}

void X11BackendTest::seesDamageInAChildWindow()
{
    const auto backend = connected();
    startAndSettle(*backend);
    QSignalSpy damaged(backend.get(), &ScreenBackend::damaged);
    XClient client;
    client.makeWindow(QRect(700, 500, 50, 60));
    QVERIFY(damaged.wait(5000));
    QCOMPARE(boundsOf(backend->takeDamage()), QRect(700, 500, 50, 60));
}

void X11BackendTest::noDamageReportsUnlessWatching()
{
    XClient client;
    const auto window = client.makeWindow(QRect(0, 0, 100, 100));
    const auto backend = connected();
    QSignalSpy damaged(backend.get(), &ScreenBackend::damaged);
    client.fill(window, QRect(0, 0, 50, 50), 1);
    QVERIFY(!damaged.wait(300));
    QVERIFY(backend->startWatching());
    backend->stopWatching();
    QTest::qWait(100);
    damaged.clear();
    client.fill(window, QRect(0, 0, 50, 50), 2);
    QVERIFY(!damaged.wait(300));
    QCOMPARE(backend->takeDamage(), QVector<QRect>());
}

void X11BackendTest::watchesAgainAfterStopping()
{
    XClient client;
    const auto window = client.makeWindow(QRect(0, 0, 100, 100));
    const auto backend = connected();
    QVERIFY(backend->startWatching());
    backend->stopWatching();
    QVERIFY(backend->startWatching());
    startAndSettle(*backend); // twice is once
    QSignalSpy damaged(backend.get(), &ScreenBackend::damaged);
    client.fill(window, QRect(0, 0, 50, 50), 3);
    QVERIFY(damaged.wait(5000));
}

void X11BackendTest::newSizeIsTold()
{
    const PrivateXServer server({}, QStringLiteral("1024x768x24"));
    const DisplayVariable variable(server.display());
    const auto backend = connected();
    QVERIFY(backend);
    QSignalSpy changed(backend.get(), &ScreenBackend::layoutChanged);
    QCOMPARE(backend->virtualScreen(), QRect(0, 0, 1024, 768));
    QCOMPARE(backend->screens(), QVector<QRect>{QRect(0, 0, 1024, 768)});
    XClient client;
    QVERIFY(client.resizeScreen(QSize(800, 600)));
    QTRY_COMPARE(backend->virtualScreen(), QRect(0, 0, 800, 600));
    QCOMPARE(backend->screens(), QVector<QRect>{QRect(0, 0, 800, 600)});
    QVERIFY(changed.count() >= 1);
    QVERIFY(backend->fetch(QRect(0, 0, 800, 600)));
    QVERIFY(!backend->fetch(QRect(0, 0, 1024, 768)));
}

void X11BackendTest::scaleComesFromTheResources()
{
    const PrivateXServer server({}, QStringLiteral("640x480x24"));
    const DisplayVariable variable(server.display());
    XClient client;
    const auto backend = connected();
    QCOMPARE(backend->tileEdge(), 16);
    client.setResources(QByteArrayLiteral("Xft.dpi:\t192\n"));
    QCOMPARE(backend->tileEdge(), 32);
    client.setResources(QByteArray());
    QCOMPARE(backend->tileEdge(), 16);
}

void X11BackendTest::processIdByTheServer()
{
    const auto backend = connected();
    QProcess terminal;
    terminal.start(QStringLiteral("xterm"), {QStringLiteral("-e"), QStringLiteral("sleep 60")});
    QVERIFY(terminal.waitForStarted());
    // The window manager gives the focus to the new window.
    QTRY_COMPARE_WITH_TIMEOUT(backend->activeWindowPid().value_or(0), quint32(terminal.processId()),
                              15000);
    terminal.kill();
    terminal.waitForFinished();
    QTRY_COMPARE(backend->activeWindowPid().value_or(1), 0U);
}

void X11BackendTest::processIdByTheWindow()
{
    const PrivateXServer server({QStringLiteral("-extension"), QStringLiteral("X-Resource")},
                                QStringLiteral("640x480x24"));
    const DisplayVariable variable(server.display());
    XClient client;
    const auto window = client.makeWindow(QRect(0, 0, 10, 10));
    const auto backend = connected();
    QVERIFY(backend);
    client.setProperty(client.root(), "_NET_ACTIVE_WINDOW", XCB_ATOM_WINDOW, window);
    QCOMPARE(backend->activeWindowPid().value_or(1), 0U); // the window tells nothing
    client.setProperty(window, "_NET_WM_PID", XCB_ATOM_CARDINAL, 4711);
    QCOMPARE(backend->activeWindowPid().value_or(1), 4711U);
    client.setProperty(window, "_NET_WM_PID", XCB_ATOM_STRING, 4711);
    QCOMPARE(backend->activeWindowPid().value_or(1), 0U); // of a wrong type
}

void X11BackendTest::serverBeatsTheWindow()
{
    const PrivateXServer server({}, QStringLiteral("640x480x24"));
    const DisplayVariable variable(server.display());
    XClient client;
    const auto window = client.makeWindow(QRect(0, 0, 10, 10));
    client.setProperty(client.root(), "_NET_ACTIVE_WINDOW", XCB_ATOM_WINDOW, window);
    client.setProperty(window, "_NET_WM_PID", XCB_ATOM_CARDINAL, 4711);
    QCOMPARE(connected()->activeWindowPid().value_or(0),
             quint32(QCoreApplication::applicationPid()));
}

void X11BackendTest::noActiveWindowGivesZero_data()
{
    QTest::addColumn<bool>("property");
    QTest::newRow("property is none") << true;
    QTest::newRow("no property") << false;
}

void X11BackendTest::noActiveWindowGivesZero()
{
    QFETCH(bool, property);
    const PrivateXServer server({}, QStringLiteral("640x480x24"));
    const DisplayVariable variable(server.display());
    XClient client;
    if (property) {
        client.setProperty(client.root(), "_NET_ACTIVE_WINDOW", XCB_ATOM_WINDOW, XCB_WINDOW_NONE);
    }
    QCOMPARE(connected()->activeWindowPid().value_or(1), 0U);
}

void X11BackendTest::vanishedActiveWindowGivesZero()
{
    const PrivateXServer server({}, QStringLiteral("640x480x24"));
    const DisplayVariable variable(server.display());
    XClient client;
    const auto window = client.makeWindow(QRect(0, 0, 10, 10));
    client.setProperty(client.root(), "_NET_ACTIVE_WINDOW", XCB_ATOM_WINDOW, window);
    client.destroyWindow(window);
    const auto backend = connected();
    QSignalSpy lost(backend.get(), &ScreenBackend::lost);
    // The server finds an id among its client's by the id's upper bits alone; either answer is
    // honest, but neither may hurt.
    const quint32 processId = backend->activeWindowPid().value_or(1);
    QVERIFY(processId == 0 || processId == quint32(QCoreApplication::applicationPid()));
    client.setProperty(client.root(), "_NET_ACTIVE_WINDOW", XCB_ATOM_WINDOW, 0x1ffffff0);
    QCOMPARE(backend->activeWindowPid().value_or(1), 0U);
    QTest::qWait(50);
    QCOMPARE(lost.count(), 0);
    QVERIFY(backend->fetch(QRect(0, 0, 10, 10)));
}

void X11BackendTest::withoutDamageItCannotWatch()
{
    const PrivateXServer server({QStringLiteral("-extension"), QStringLiteral("DAMAGE")},
                                QStringLiteral("640x480x24"));
    const DisplayVariable variable(server.display());
    const auto backend = connected();
    QVERIFY(backend);
    QVERIFY(!backend->startWatching());
    QCOMPARE(backend->takeDamage(), QVector<QRect>());
    QVERIFY(backend->fetch(QRect(0, 0, 640, 480)));
}

void X11BackendTest::withoutRandrThereIsOneScreen()
{
    const PrivateXServer server({QStringLiteral("-extension"), QStringLiteral("RANDR")},
                                QStringLiteral("640x480x24"));
    const DisplayVariable variable(server.display());
    const auto backend = connected();
    QVERIFY(backend);
    QCOMPARE(backend->screens(), QVector<QRect>{QRect(0, 0, 640, 480)});
}

void X11BackendTest::refusesOtherThan24BitColours()
{
    const PrivateXServer server({}, QStringLiteral("640x480x16"));
    const DisplayVariable variable(server.display());
    QString problem;
    QVERIFY(!X11Backend::connectToDisplay(problem));
    QVERIFY2(problem.contains(QStringLiteral("24 bit")), qPrintable(problem));
}

void X11BackendTest::serverThatDiesIsToldOnce()
{
    PrivateXServer server({}, QStringLiteral("640x480x24"));
    const DisplayVariable variable(server.display());
    const auto backend = connected();
    QVERIFY(backend);
    QVERIFY(backend->startWatching());
    QSignalSpy lost(backend.get(), &ScreenBackend::lost);
    server.kill();
    QVERIFY(lost.count() == 1 || lost.wait(5000));
    QVERIFY(!backend->fetch(QRect(0, 0, 640, 480)));
    QCOMPARE(backend->activeWindowPid().value_or(1), 0U);
    QTest::qWait(100);
    QCOMPARE(lost.count(), 1);
}

void X11BackendTest::unreachableDisplayGivesNull()
{
    for (const QByteArray &display : {QByteArray(), QByteArrayLiteral(":54321")}) {
        const DisplayVariable variable(display);
        const auto backend = loadScreenBackend(BackendChoice::Automatic);
        QVERIFY(!backend->problem().isEmpty());
        QVERIFY(backend->screens().isEmpty());
        QVERIFY(!backend->fetch(QRect(0, 0, 1, 1)));
        QVERIFY(!backend->startWatching());
        QVERIFY(!backend->activeWindowPid());
    }
}

void X11BackendTest::loaderCanBeForced()
{
    QVERIFY(loadScreenBackend(BackendChoice::Automatic)->problem().isEmpty());
    QVERIFY(loadScreenBackend(BackendChoice::X11)->problem().isEmpty());
    QVERIFY(!loadScreenBackend(BackendChoice::Null)->problem().isEmpty());
    QVERIFY(backendChoiceFromWord(QStringLiteral("null")) == BackendChoice::Null);
    QVERIFY(backendChoiceFromWord(QStringLiteral("auto")) == BackendChoice::Automatic);
    QVERIFY(backendChoiceFromWord(QStringLiteral("x11")) == BackendChoice::X11);
    QVERIFY(!backendChoiceFromWord(QStringLiteral("X11 ")));
}

QTEST_GUILESS_MAIN(X11BackendTest)
#include "x11backendtest.moc"
