// What the wlroots backend makes of a compositor that gives no pictures for a while: an output that
// sleeps, frames that fail, offers that cannot be true.

#include "desktopbridge/contentwatch.h"
#include "desktopbridge/wlroots/wlrootsbackend.h"
#include "fakescreencopy.h"
#include "imageof.h"
#include "support/logcapture.h"

#include <QSignalSpy>
#include <QTest>

Q_DECLARE_METATYPE(FakeScreencopy::Stage)

namespace
{
constexpr QSize SCREEN_SIZE(64, 48);
constexpr QRect SCREEN(0, 0, 64, 48);
constexpr quint32 RED = 0xffff0000, GREEN = 0xff00ff00, BLUE = 0xff0000ff;
const QString NO_PICTURE = QStringLiteral("The compositor gives no picture of the output");
constexpr int SOON = 50;
constexpr int LONG = 20000;
} // namespace

class WlrootsOutageTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void aSleepIsToldOnce();
    void aSleepThatBeginsWhileNothingIsDrawnEndsByItself();
    void aScreenThatSleptIsToldAnewAndNotFromMemory();
    void aSleepFromTheStartEndsByItself();
    void aFrameThatFailsInBetween_data();
    void aFrameThatFailsInBetween();
    void failuresWhileWatching_data();
    void failuresWhileWatching();
    void rowsShorterThanTheirPixelsAreNoPicture();
    void aSleepCostsHardlyAFrame();

private:
    void connectToCompositor(int retry = SOON);
    QRgb colour() { return imageOf(m_backend->fetch(SCREEN)).pixel(63, 47); }

    std::unique_ptr<FakeScreencopy> m_compositor;
    std::unique_ptr<WlrootsBackend> m_backend;
};

void WlrootsOutageTest::init()
{
    m_compositor = std::make_unique<FakeScreencopy>(SCREEN_SIZE);
    m_compositor->draw(RED);
}

void WlrootsOutageTest::connectToCompositor(int retry)
{
    QString problem;
    m_backend = WlrootsBackend::connectToDisplay(problem, retry);
    QVERIFY2(m_backend, qPrintable(problem));
    QTRY_COMPARE_WITH_TIMEOUT(m_backend->screens(), QVector<QRect>{SCREEN}, LONG);
}

void WlrootsOutageTest::cleanup()
{
    m_backend.reset();
    m_compositor.reset();
}

void WlrootsOutageTest::aSleepIsToldOnce()
{
    connectToCompositor();
    const LogCapture log;
    for (int sleeps = 1; sleeps <= 2; ++sleeps) {
        QVERIFY(m_backend->fetch(SCREEN));
        m_compositor->setAsleep(true);
        for (int attempt = 0; attempt < 5; ++attempt) {
            QVERIFY(!m_backend->fetch(SCREEN));
            QVERIFY(!m_backend->fetch(QRect(1, 1, 5, 5)));
        }
        QCOMPARE(log.count(QtWarningMsg, NO_PICTURE), sleeps);
        m_compositor->setAsleep(false);
    }
    QCOMPARE(colour(), RED);
    QCOMPARE(log.texts().size(), 2);
}

void WlrootsOutageTest::aSleepThatBeginsWhileNothingIsDrawnEndsByItself()
{
    connectToCompositor();
    const LogCapture log;
    QSignalSpy damaged(m_backend.get(), &ScreenBackend::damaged);
    QVERIFY(m_backend->startWatching());
    QTRY_COMPARE_WITH_TIMEOUT(damaged.size(), 1, LONG); // everything, at first
    const int before = m_compositor->asked();
    m_backend->takeDamage();
    QTRY_VERIFY_WITH_TIMEOUT(m_compositor->asked() > before, LONG);
    m_compositor->setAsleep(true);
    QTest::qWait(100);
    QCOMPARE(damaged.size(), 1);
    m_compositor->setAsleep(false);
    m_compositor->draw(GREEN);
    QTRY_COMPARE_WITH_TIMEOUT(damaged.size(), 2, LONG);
    QCOMPARE(m_backend->takeDamage(), QVector<QRect>{SCREEN});
    QCOMPARE(colour(), GREEN);
    QCOMPARE(log.texts(), QStringList()); // nobody asked for a picture meanwhile
}

void WlrootsOutageTest::aScreenThatSleptIsToldAnewAndNotFromMemory()
{
    connectToCompositor();
    ContentWatch watch(*m_backend, 20);
    QSignalSpy changed(&watch, &ContentWatch::changed);
    QVERIFY(watch.watch(50.0));
    QVERIFY(watch.takePicture(SCREEN));
    m_compositor->setAsleep(true);
    m_compositor->draw(BLUE);
    QTest::qWait(200);
    changed.clear();
    QVERIFY(!watch.takePicture(SCREEN));
    QCOMPARE(changed.size(), 0);
    m_compositor->setAsleep(false);
    QTRY_VERIFY_WITH_TIMEOUT(!changed.isEmpty(), LONG);
    QCOMPARE(imageOf(watch.takePicture(SCREEN)).pixel(0, 0), QRgb(BLUE));
}

void WlrootsOutageTest::aSleepFromTheStartEndsByItself()
{
    m_compositor->setAsleep(true);
    connectToCompositor();
    QSignalSpy damaged(m_backend.get(), &ScreenBackend::damaged);
    QVERIFY(m_backend->startWatching());
    QVERIFY(!m_backend->fetch(SCREEN));
    QTest::qWait(100);
    QCOMPARE(damaged.size(), 0);
    m_compositor->setAsleep(false);
    QTRY_COMPARE_WITH_TIMEOUT(damaged.size(), 1, LONG);
    QCOMPARE(colour(), RED);
}

void WlrootsOutageTest::aFrameThatFailsInBetween_data()
{
    QTest::addColumn<FakeScreencopy::Stage>("stage");
    QTest::newRow("before it is offered") << FakeScreencopy::Stage::Offer;
    QTest::newRow("while it is copied") << FakeScreencopy::Stage::Copy;
}

void WlrootsOutageTest::aFrameThatFailsInBetween()
{
    QFETCH(FakeScreencopy::Stage, stage);
    connectToCompositor();
    QCOMPARE(colour(), RED);
    m_compositor->draw(GREEN);
    const LogCapture log;
    m_compositor->failNext(1, stage);
    QVERIFY(!m_backend->fetch(SCREEN)); // and not the red one
    QCOMPARE(colour(), GREEN);
    QCOMPARE(log.count(QtWarningMsg, NO_PICTURE), 1);
    QCOMPARE(log.texts().size(), 1);
}

void WlrootsOutageTest::failuresWhileWatching_data()
{
    aFrameThatFailsInBetween_data();
}

void WlrootsOutageTest::failuresWhileWatching()
{
    QFETCH(FakeScreencopy::Stage, stage);
    connectToCompositor();
    QSignalSpy damaged(m_backend.get(), &ScreenBackend::damaged);
    m_compositor->failNext(1, stage);
    QVERIFY(m_backend->startWatching());
    QTRY_COMPARE_WITH_TIMEOUT(damaged.size(), 1, LONG);
    QCOMPARE(m_backend->takeDamage(), QVector<QRect>{SCREEN});
    m_compositor->draw(GREEN);
    QTRY_COMPARE_WITH_TIMEOUT(damaged.size(), 2, LONG);
    QCOMPARE(colour(), GREEN);
}

void WlrootsOutageTest::rowsShorterThanTheirPixelsAreNoPicture()
{
    connectToCompositor();
    m_compositor->setStride(16);
    QVERIFY(!m_backend->fetch(SCREEN));
    QVERIFY(!m_backend->fetch(QRect(40, 40, 8, 8)));
    m_compositor->setStride(SCREEN_SIZE.width() * 4 + 64);
    QCOMPARE(colour(), RED);
}

// A laptop whose screen is off for the night should not be kept awake by the bridge.
void WlrootsOutageTest::aSleepCostsHardlyAFrame()
{
    connectToCompositor(WlrootsDamage::RETRY_TIME);
    QVERIFY(m_backend->startWatching());
    m_compositor->setAsleep(true);
    QTest::qWait(500); // what was under way
    const int before = m_compositor->asked();
    QTest::qWait(3000);
    QVERIFY2(m_compositor->asked() - before <= 1,
             qPrintable(QString::number(m_compositor->asked())));
}

QTEST_GUILESS_MAIN(WlrootsOutageTest)
#include "wlrootsoutagetest.moc"
