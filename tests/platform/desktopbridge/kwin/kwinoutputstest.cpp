// The KWin backend where KWin has other outputs, ends or is started again: each time a KWin of the
// test's own.

#include "desktopbridge/kwin/kwinbackend.h"
#include "imageof.h"
#include "kwinpermission.h"
#include "kwinprocess.h"
#include "support/logcapture.h"

#include <QSignalSpy>
#include <QTest>

namespace
{
constexpr int PATIENCE_MS = 20000;

QStringList sized(int width, int height)
{
    return {QStringLiteral("--width"), QString::number(width), QStringLiteral("--height"),
            QString::number(height)};
}
// Asked again: a KWin that draws by the processor keeps others waiting.
std::unique_ptr<KwinBackend> connected(const QDBusConnection &bus)
{
    QString problem;
    std::unique_ptr<KwinBackend> backend;
    const auto connects = [&] {
        return (backend = KwinBackend::connectToSession(problem, bus)) != nullptr;
    };
    if (!QTest::qWaitFor(connects, PATIENCE_MS)) {
        qWarning("%s", qPrintable(problem));
    }
    return backend;
}
} // namespace

class KwinOutputsTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();

    void pictureHasTheOutputsOwnPixels_data();
    void pictureHasTheOutputsOwnPixels();
    void twoOutputsAreOneVirtualScreen();
    void comesBackWithTheNextKwin();
    void aKwinThatDoesNotAnswerYetIsWaitedFor();
    void aKwinThatStaysAwayIsToldOnce();
    void withoutKwinThereIsNoBackend();

private:
    KwinPermission m_permission;
};

// Before the first KWin starts and reads the files.
void KwinOutputsTest::initTestCase()
{
    QVERIFY(
        m_permission.give({QCoreApplication::applicationFilePath()}, QDBusConnection(QString())));
}

void KwinOutputsTest::pictureHasTheOutputsOwnPixels_data()
{
    QTest::addColumn<QString>("scale");
    QTest::addColumn<int>("bufferScale");
    QTest::addColumn<QRect>("screen");
    QTest::addColumn<int>("tileEdge");
    QTest::newRow("scale 2") << QStringLiteral("2") << 2 << QRect(0, 0, 800, 600) << 32;
    QTest::newRow("scale 1.5") << QStringLiteral("1.5") << 1 << QRect(0, 0, 600, 450) << 24;
}

void KwinOutputsTest::pictureHasTheOutputsOwnPixels()
{
    QFETCH(QString, scale);
    QFETCH(int, bufferScale);
    QFETCH(QRect, screen);
    QFETCH(int, tileEdge);
    KwinProcess kwin(sized(400, 300) + QStringList{QStringLiteral("--scale"), scale});
    QVERIFY(kwin.start());
    const auto painter = makePainter();
    QVERIFY(painter->showFullScreen(0, bufferScale, 0xff246802));
    const auto backend = connected(kwin.bus());
    QVERIFY(backend);
    QCOMPARE(backend->virtualScreen(), screen);
    QCOMPARE(backend->tileEdge(), tileEdge);
    if (bufferScale == 2) { // else KWin scales the window's pixels
        QVERIFY(painter->fillWithPattern());
    }
    const QImage expected = painter->canvas().scaled(screen.size());
    QTRY_COMPARE(imageOf(backend->fetch(screen)), expected);
    const QRect part(101, 77, 51, 3);
    QCOMPARE(imageOf(backend->fetch(part)), expected.copy(part));
}

void KwinOutputsTest::twoOutputsAreOneVirtualScreen()
{
    KwinProcess kwin(sized(400, 300) +
                     QStringList{QStringLiteral("--output-count"), QStringLiteral("2")});
    QVERIFY(kwin.start());
    const auto left = makePainter();
    const auto right = makePainter();
    QVERIFY(left->showFullScreen(0));
    QVERIFY(right->showFullScreen(1, 1, 0xff0a0b0c));
    QVERIFY(left->fillWithPattern());
    const auto backend = connected(kwin.bus());
    QVERIFY(backend);
    const QRect first(0, 0, 400, 300);
    const QRect second(400, 0, 400, 300);
    QCOMPARE(backend->screens(), (QVector<QRect>{first, second}));
    QCOMPARE(backend->virtualScreen(), QRect(0, 0, 800, 300));
    QTRY_COMPARE(imageOf(backend->fetch(first)), left->canvas());
    QTRY_COMPARE(imageOf(backend->fetch(second)), right->canvas());
    const QImage both = imageOf(backend->fetch(backend->virtualScreen()));
    QCOMPARE(both.copy(first), left->canvas());
    QCOMPARE(both.copy(second), right->canvas());
    const QImage across = imageOf(backend->fetch(QRect(390, 10, 20, 5)));
    QCOMPARE(across, both.copy(QRect(390, 10, 20, 5)));
}

void KwinOutputsTest::comesBackWithTheNextKwin()
{
    KwinProcess kwin(sized(320, 200));
    QVERIFY(kwin.start());
    const auto backend = connected(kwin.bus());
    QVERIFY(backend);
    QVERIFY(backend->startWatching());
    QSignalSpy layout(backend.get(), &ScreenBackend::layoutChanged);
    QSignalSpy lost(backend.get(), &ScreenBackend::lost);
    const LogCapture log;
    kwin.kill();
    QTRY_COMPARE(backend->problem(), QStringLiteral("KWin is gone"));
    QCOMPARE(layout.count(), 1);
    QVERIFY(backend->screens().isEmpty());
    QVERIFY(!backend->fetch(QRect(0, 0, 320, 200)));
    QVERIFY(!backend->activeWindowPid());
    QVERIFY(backend->takeDamage().isEmpty());

    QVERIFY(kwin.start());
    QTRY_COMPARE_WITH_TIMEOUT(backend->problem(), QString(), PATIENCE_MS);
    QCOMPARE(layout.count(), 2);
    QCOMPARE(lost.count(), 0);
    const auto painter = makePainter();
    QVERIFY(painter->showFullScreen(0, 1, 0xff778899));
    QTRY_COMPARE(imageOf(backend->fetch(QRect(0, 0, 320, 200))), painter->canvas());
    QTRY_COMPARE(backend->activeWindowPid().value_or(0),
                 quint32(QCoreApplication::applicationPid()));
    QCOMPARE(log.count(QtWarningMsg, QStringLiteral("KWin is gone")), 1);
    QCOMPARE(log.count(QtInfoMsg, QStringLiteral("KWin is back")), 1);
}

void KwinOutputsTest::aKwinThatDoesNotAnswerYetIsWaitedFor()
{
    KwinProcess kwin(sized(320, 200));
    QVERIFY(kwin.start());
    kwin.stop();
    QString problem;
    const auto backend = KwinBackend::connectToSession(problem, kwin.bus());
    QVERIFY2(backend, qPrintable(problem));
    QCOMPARE(backend->problem(), QStringLiteral("KWin does not answer"));
    QVERIFY(!backend->fetch(QRect(0, 0, 320, 200)));
    QVERIFY(backend->startWatching());
    kwin.resume();
    QTRY_COMPARE_WITH_TIMEOUT(backend->problem(), QString(), PATIENCE_MS);
    QTRY_VERIFY(backend->fetch(QRect(0, 0, 320, 200)));
}

void KwinOutputsTest::aKwinThatStaysAwayIsToldOnce()
{
    KwinProcess kwin(sized(320, 200));
    QVERIFY(kwin.start());
    QString problem;
    auto session = KwinSession::open(problem);
    QVERIFY2(session, qPrintable(problem));
    KwinBackend backend(std::move(session), kwin.bus(), 500);
    QSignalSpy lost(&backend, &ScreenBackend::lost);
    kwin.kill();
    QTRY_COMPARE(lost.count(), 1);
    QTest::qWait(1500);
    QCOMPARE(lost.count(), 1);
    QVERIFY(!backend.fetch(QRect(0, 0, 320, 200)));
}

void KwinOutputsTest::withoutKwinThereIsNoBackend()
{
    const KwinProcess neverStarted;
    QString problem;
    QVERIFY(!KwinBackend::connectToSession(problem, neverStarted.bus()));
    QVERIFY2(problem.contains(QStringLiteral("Wayland")), qPrintable(problem));
}

QTEST_GUILESS_MAIN(KwinOutputsTest)
#include "kwinoutputstest.moc"
