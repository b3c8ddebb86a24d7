// KWin's streams where the compositor is a fake and PipeWire is real: what is told and copied, and
// what happens when a stream fails, ends, is silent or loses its daemon.

#include "desktopbridge/kwin/kwinscreencast.h"
#include "fakecompositor.h"
#include "pipewire/pipewiredaemon.h"
#include "pipewire/videosource.h"
#include "support/logcapture.h"

#include <QSignalSpy>
#include <QTest>

namespace
{
const QSize SIZE(320, 200);
const QRect SCREEN(QPoint(0, 0), SIZE);
constexpr int RETRY_MS = 1000;
constexpr int PATIENCE_MS = 15000;
const QString NO_STREAM = QStringLiteral("No stream of what KWin draws");

QImage filled(QRgb colour)
{
    QImage image(SIZE, QImage::Format_RGB32);
    image.fill(colour);
    return image;
}
} // namespace

class KwinScreencastTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();

    void tellsAndCopiesWhatWasDrawn();
    void asksForDrawingUntilAPictureComes();
    void aSilentStreamIsReplacedByLooking();
    void aFailedStreamIsTriedAgain();
    void anEndedStreamIsTriedAgain();
    void anEndedStreamIsTriedAgainThoughPicturesCome();
    void withoutPipeWireItLooksAndRecovers();
    void aStoppedOneTellsNothing();
    void aPictureOfAnotherSizeIsNoneOfTheOutput();

private:
    bool sends(QRgb colour, const QVector<QRect> &damage = {});
    quint32 pixelOf(const QPoint &place) const;

    std::unique_ptr<PipeWireDaemon> m_pipewire;
    std::unique_ptr<PipeWireRemote> m_remote;
    std::unique_ptr<VideoSource> m_source;
    std::unique_ptr<FakeCompositor> m_compositor;
    std::unique_ptr<WaylandOutputs> m_outputs;
    std::unique_ptr<KwinScreencast> m_screencast;
};

void KwinScreencastTest::initTestCase()
{
    const QString missing = PipeWireDaemon::missing();
    if (!missing.isEmpty()) {
        QSKIP(qPrintable(missing));
    }
}

void KwinScreencastTest::init()
{
    m_pipewire = std::make_unique<PipeWireDaemon>();
    QVERIFY(m_pipewire->start());
    QString problem;
    m_remote = PipeWireRemote::connectTo(m_pipewire->connection(), problem);
    QVERIFY2(m_remote, qPrintable(problem));
    m_source = std::make_unique<VideoSource>(*m_remote, SIZE);
    m_compositor = std::make_unique<FakeCompositor>(SIZE);
    m_compositor->setNode(m_source->node());
    const auto connection = WaylandConnection::connectToDisplay(problem);
    QVERIFY2(connection, qPrintable(problem));
    m_outputs = std::make_unique<WaylandOutputs>(connection);
    QCOMPARE(m_outputs->screens(), QVector<QRect>{SCREEN});
    m_screencast = std::make_unique<KwinScreencast>(connection, *m_outputs, RETRY_MS);
    QVERIFY(m_screencast->isOffered());
}

void KwinScreencastTest::cleanup()
{
    m_screencast.reset();
    m_outputs.reset();
    m_compositor.reset();
    m_source.reset();
    m_remote.reset();
    m_pipewire.reset();
}

bool KwinScreencastTest::sends(QRgb colour, const QVector<QRect> &damage)
{
    VideoSource::Extras extras;
    extras.damage = damage;
    return QTest::qWaitFor([&] { return m_source->send(filled(colour), extras); }, PATIENCE_MS);
}

quint32 KwinScreencastTest::pixelOf(const QPoint &place) const
{
    quint32 pixel = 0;
    const quint32 output = m_outputs->outputs().first().global;
    return m_screencast->copy(output, QRect(place, QSize(1, 1)), &pixel, 1) ? pixel & 0xffffff : 1;
}

void KwinScreencastTest::tellsAndCopiesWhatWasDrawn()
{
    QSignalSpy damaged(m_screencast.get(), &KwinScreencast::damaged);
    m_screencast->start();
    QVERIFY(sends(0xff123456));
    QTRY_VERIFY_WITH_TIMEOUT(m_screencast->isLive(), PATIENCE_MS);
    QCOMPARE(m_compositor->pointerMode(), 1U); // hidden
    QTRY_COMPARE(damaged.count(), 1);
    QCOMPARE(m_screencast->takeDamage(), QVector<QRect>{SCREEN});
    QCOMPARE(pixelOf(QPoint(319, 199)), 0x123456U);
    const QRect drawn(16, 32, 5, 7);
    QVERIFY(sends(0xff654321, {drawn}));
    QTRY_COMPARE(damaged.count(), 2);
    QCOMPARE(m_screencast->takeDamage(), QVector<QRect>{drawn});
    QCOMPARE(m_screencast->takeDamage(), QVector<QRect>());
    QCOMPARE(pixelOf(QPoint(16, 32)), 0x654321U);
    QVERIFY2(!damaged.wait(2 * RETRY_MS), "a still screen is not looked at");
}

void KwinScreencastTest::asksForDrawingUntilAPictureComes()
{
    QSignalSpy asked(m_screencast.get(), &KwinScreencast::drawingNeeded);
    m_screencast->start();
    QTRY_VERIFY(asked.count() >= 2);
    QCOMPARE(asked.first().first().toPoint(), QPoint(0, 0));
    QVERIFY(sends(0xff000001));
    QTRY_VERIFY_WITH_TIMEOUT(m_screencast->isLive(), PATIENCE_MS);
    asked.clear();
    QVERIFY(!asked.wait(1000));
}

void KwinScreencastTest::aSilentStreamIsReplacedByLooking()
{
    const LogCapture log;
    QSignalSpy damaged(m_screencast.get(), &KwinScreencast::damaged);
    m_screencast->start();
    for (int count = 0; count < 2; ++count) {
        QVERIFY(damaged.wait(PATIENCE_MS));
        QCOMPARE(m_screencast->takeDamage(), QVector<QRect>{SCREEN});
    }
    QCOMPARE(log.count(QtWarningMsg, NO_STREAM), 1);
    QCOMPARE(m_compositor->asked(), 1); // the stream stays and may still begin
    QVERIFY(sends(0xff000002));
    QTRY_VERIFY_WITH_TIMEOUT(m_screencast->isLive(), PATIENCE_MS);
    QTRY_COMPARE(log.count(QtInfoMsg, QStringLiteral("is back")), 1);
}

void KwinScreencastTest::aFailedStreamIsTriedAgain()
{
    const LogCapture log;
    m_compositor->setNode(0);
    QSignalSpy damaged(m_screencast.get(), &KwinScreencast::damaged);
    m_screencast->start();
    QVERIFY(damaged.wait(PATIENCE_MS));
    QTRY_VERIFY(m_compositor->asked() >= 2);
    QVERIFY(log.contains(QtWarningMsg, QStringLiteral("as ordered")));
    QCOMPARE(log.count(QtWarningMsg, NO_STREAM), 1);
    m_compositor->setNode(m_source->node());
    QVERIFY(sends(0xff000003));
    QTRY_VERIFY_WITH_TIMEOUT(m_screencast->isLive(), PATIENCE_MS);
    QTRY_COMPARE(m_compositor->open(), 1);
}

void KwinScreencastTest::anEndedStreamIsTriedAgain()
{
    const LogCapture log;
    m_screencast->start();
    QVERIFY(sends(0xff000004));
    QTRY_VERIFY_WITH_TIMEOUT(m_screencast->isLive(), PATIENCE_MS);
    m_screencast->takeDamage();
    QSignalSpy damaged(m_screencast.get(), &KwinScreencast::damaged);
    m_compositor->endStreams();
    QVERIFY(damaged.wait(PATIENCE_MS));
    QVERIFY(m_screencast->takeDamage().contains(SCREEN));
    QVERIFY(log.contains(QtWarningMsg, QStringLiteral("KWin ended it")));
    QTRY_COMPARE(m_compositor->asked(), 2);
    QTRY_VERIFY_WITH_TIMEOUT(sends(0xff000005) && pixelOf(QPoint()) == 5, PATIENCE_MS);
    QTRY_COMPARE(m_compositor->open(), 1);
}

void KwinScreencastTest::anEndedStreamIsTriedAgainThoughPicturesCome()
{
    const LogCapture log;
    m_screencast->start();
    QVERIFY(sends(0xff000004));
    QTRY_VERIFY_WITH_TIMEOUT(m_screencast->isLive(), PATIENCE_MS);
    m_compositor->endStreams();
    QTRY_VERIFY(log.contains(QtWarningMsg, QStringLiteral("KWin ended it")));
    m_source->setActive(false);
    QTRY_VERIFY(!m_source->isStreaming());
    m_source->setActive(true);
    QVERIFY(sends(0xff000005));
    QTRY_COMPARE_WITH_TIMEOUT(m_compositor->asked(), 2, PATIENCE_MS);
    QTRY_VERIFY_WITH_TIMEOUT(sends(0xff000006) && pixelOf(QPoint()) == 6, PATIENCE_MS);
}

void KwinScreencastTest::withoutPipeWireItLooksAndRecovers()
{
    const LogCapture log;
    m_screencast->start();
    QVERIFY(sends(0xff000006));
    QTRY_VERIFY_WITH_TIMEOUT(m_screencast->isLive(), PATIENCE_MS);
    m_source.reset();
    m_pipewire->kill();
    m_remote.reset();
    QTRY_VERIFY(!m_screencast->isLive());
    QCOMPARE(pixelOf(QPoint()), 1U); // a picture of before is not given out
    QSignalSpy damaged(m_screencast.get(), &KwinScreencast::damaged);
    QVERIFY(damaged.wait(PATIENCE_MS));
    QCOMPARE(m_screencast->takeDamage(), QVector<QRect>{SCREEN});
    QCOMPARE(log.count(QtWarningMsg, NO_STREAM), 1);

    QVERIFY(m_pipewire->start());
    QString problem;
    m_remote = PipeWireRemote::connectTo(m_pipewire->connection(), problem);
    QVERIFY2(m_remote, qPrintable(problem));
    m_source = std::make_unique<VideoSource>(*m_remote, SIZE);
    m_compositor->setNode(m_source->node());
    QTRY_VERIFY_WITH_TIMEOUT(sends(0xff000007) && pixelOf(QPoint()) == 7, PATIENCE_MS);
    QTRY_COMPARE(log.count(QtInfoMsg, QStringLiteral("is back")), 1);
}

void KwinScreencastTest::aStoppedOneTellsNothing()
{
    m_screencast->start();
    QVERIFY(sends(0xff000008));
    QTRY_VERIFY_WITH_TIMEOUT(m_screencast->isLive(), PATIENCE_MS);
    m_screencast->stop();
    QSignalSpy damaged(m_screencast.get(), &KwinScreencast::damaged);
    QVERIFY(!m_screencast->isLive());
    QTRY_COMPARE(m_compositor->open(), 0);
    QVERIFY(!damaged.wait(2 * RETRY_MS));
    QCOMPARE(m_screencast->takeDamage(), QVector<QRect>());
}

void KwinScreencastTest::aPictureOfAnotherSizeIsNoneOfTheOutput()
{
    m_source = std::make_unique<VideoSource>(*m_remote, QSize(64, 64));
    m_compositor->setNode(m_source->node());
    m_screencast->start();
    QImage small(64, 64, QImage::Format_RGB32);
    small.fill(0xff000009);
    QTRY_VERIFY_WITH_TIMEOUT(m_source->send(small), PATIENCE_MS);
    QSignalSpy damaged(m_screencast.get(), &KwinScreencast::damaged);
    QVERIFY(damaged.wait(PATIENCE_MS));
    QVERIFY(!m_screencast->isLive());
    QCOMPARE(pixelOf(QPoint()), 1U);
}

QTEST_GUILESS_MAIN(KwinScreencastTest)
#include "kwinscreencasttest.moc"
