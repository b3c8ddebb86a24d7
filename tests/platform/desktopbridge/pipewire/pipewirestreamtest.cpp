// A stream's pictures, damage and states from a real PipeWire daemon, whose producer is the test's.

#include "desktopbridge/pipewire/pipewirestream.h"
#include "pipewire/pipewiredaemon.h"
#include "pipewire/videosource.h"
#include "wakeups.h"

#include <QEventLoop>
#include <QSignalSpy>
#include <QTest>
#include <QTimer>
#include <QTransform>

#include <functional>
#include <spa/param/video/raw.h>

namespace
{
constexpr QSize SCREEN(320, 200);

QImage pictureOf(const PipeWireStream &stream, const QRect &area)
{
    QImage picture(area.size(), QImage::Format_RGB32);
    picture.fill(Qt::magenta);
    if (!stream.copy(area, reinterpret_cast<quint32 *>(picture.bits()), area.width())) {
        return {};
    }
    for (int y = 0; y < picture.height(); ++y) {
        for (int x = 0; x < picture.width(); ++x) {
            picture.setPixel(x, y, picture.pixel(x, y) | 0xff000000);
        }
    }
    return picture;
}

QImage pictureOf(const PipeWireStream &stream)
{
    return pictureOf(stream, QRect(QPoint(), stream.size()));
}

} // namespace

class PipeWireStreamTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();
    void pixelsAreThoseOfTheProducer_data();
    void pixelsAreThoseOfTheProducer();
    void aSlowRateIsAskedFor();
    void nothingBeforeTheFirstPicture();
    void aPartOfThePictureCanBeCopied();
    void anAreaBeyondThePictureGivesNothing();
    void damageIsToldOnceUntilItIsTaken();
    void damageOfFramesThatWerePassedOverIsKept();
    void afterALostFrameTheWholePictureCounts();
    void withoutDamageTheWholePictureCounts();
    void aTurnedBufferIsPutUpright();
    void brokenFramesAreNotPictures();
    void aFrameThatIsSpoiltLaterStaysAPicture();
    void damageBeyondTheBufferIsCutOff();
    void aNewSizeIsTold();
    void aPausedProducerGivesNoStalePicture();
    void theEndOfTheProducerIsToldOnce();
    void theEndOfTheDaemonIsToldOnce();
    void theDaemonCanBeReachedByTheSessionsSocket();
    void anUnreachableDaemonIsAnError();
    void aStillProducerCostsNoWakeUps();

private:
    void startStream(const QSize &size = SCREEN, quint32 format = SPA_VIDEO_FORMAT_BGRx);
    bool send(const QImage &picture, const VideoSource::Extras &extras);
    bool sendUntil(const QImage &picture, const VideoSource::Extras &extras,
                   const std::function<bool()> &hasCome);
    bool show(const QImage &picture, const VideoSource::Extras &extras);
    bool show(const QImage &picture) { return show(picture, VideoSource::Extras()); }

    std::unique_ptr<PipeWireDaemon> m_daemon;
    std::unique_ptr<PipeWireRemote> m_producers;
    std::unique_ptr<VideoSource> m_source;
    std::unique_ptr<PipeWireRemote> m_remote;
    std::unique_ptr<PipeWireStream> m_stream;
};

void PipeWireStreamTest::initTestCase()
{
    const QString missing = PipeWireDaemon::missing();
    if (!missing.isEmpty()) {
        QSKIP(qPrintable(missing));
    }
    m_daemon = std::make_unique<PipeWireDaemon>();
    QVERIFY(m_daemon->start());
}

void PipeWireStreamTest::init()
{
    QString problem;
    m_producers = PipeWireRemote::connectTo(m_daemon->connection(), problem);
    m_remote = PipeWireRemote::connectTo(m_daemon->connection(), problem);
    QVERIFY2(m_producers && m_remote, qPrintable(problem));
}

void PipeWireStreamTest::cleanup()
{
    m_stream.reset();
    m_remote.reset();
    m_source.reset();
    m_producers.reset();
}

void PipeWireStreamTest::startStream(const QSize &size, quint32 format)
{
    m_source = std::make_unique<VideoSource>(*m_producers, size, format);
    const quint32 node = m_source->node();
    QVERIFY(node != SPA_ID_INVALID);
    m_stream = std::make_unique<PipeWireStream>(*m_remote, node);
    QTRY_VERIFY_WITH_TIMEOUT(m_source->isStreaming(), 10000);
}

// Waits for a free buffer.
bool PipeWireStreamTest::send(const QImage &picture, const VideoSource::Extras &extras)
{
    return QTest::qWaitFor([&] { return m_source->send(picture, extras); }, 10000);
}

// Sends a picture until it has come: the daemon lets go of one that follows another too quickly.
bool PipeWireStreamTest::sendUntil(const QImage &picture, const VideoSource::Extras &extras,
                                   const std::function<bool()> &hasCome)
{
    for (int attempt = 0; attempt < 20; ++attempt) {
        if (send(picture, extras) && QTest::qWaitFor(hasCome, 500)) {
            return true;
        }
    }
    return false;
}

bool PipeWireStreamTest::show(const QImage &picture, const VideoSource::Extras &extras)
{
    QSignalSpy damaged(m_stream.get(), &PipeWireStream::damaged);
    m_stream->takeDamage();
    return sendUntil(picture, extras, [&] { return !damaged.isEmpty(); });
}

void PipeWireStreamTest::pixelsAreThoseOfTheProducer_data()
{
    QTest::addColumn<quint32>("format");
    QTest::newRow("BGRx") << quint32(SPA_VIDEO_FORMAT_BGRx);
    QTest::newRow("RGBx") << quint32(SPA_VIDEO_FORMAT_RGBx);
    QTest::newRow("BGRA") << quint32(SPA_VIDEO_FORMAT_BGRA);
    QTest::newRow("RGBA") << quint32(SPA_VIDEO_FORMAT_RGBA);
    QTest::newRow("xRGB") << quint32(SPA_VIDEO_FORMAT_xRGB);
    QTest::newRow("ABGR") << quint32(SPA_VIDEO_FORMAT_ABGR);
}

void PipeWireStreamTest::pixelsAreThoseOfTheProducer()
{
    QFETCH(quint32, format);
    startStream(SCREEN, format);
    for (int seed = 0; seed < 10; ++seed) { // more than there are buffers
        const QImage picture = pattern(SCREEN, seed);
        QVERIFY(show(picture));
        QCOMPARE(pictureOf(*m_stream), picture);
    }
}

void PipeWireStreamTest::aSlowRateIsAskedFor()
{
    startStream();
    QCOMPARE(m_source->mostFrames(), PipeWireStream::USUAL_RATE);
}

void PipeWireStreamTest::nothingBeforeTheFirstPicture()
{
    startStream();
    QVERIFY(!m_stream->isLive());
    QVERIFY(m_stream->size().isEmpty());
    QVERIFY(pictureOf(*m_stream, QRect(0, 0, 1, 1)).isNull());
    QSignalSpy live(m_stream.get(), &PipeWireStream::liveChanged);
    QVERIFY(show(pattern(SCREEN, 1)));
    QCOMPARE(live.count(), 1);
    QVERIFY(m_stream->isLive());
    QCOMPARE(m_stream->size(), SCREEN);
}

void PipeWireStreamTest::aPartOfThePictureCanBeCopied()
{
    startStream();
    const QImage picture = pattern(SCREEN, 5);
    QVERIFY(show(picture));
    for (const QRect &area : {QRect(17, 33, 100, 50), QRect(319, 199, 1, 1), QRect(0, 5, 320, 1)}) {
        QCOMPARE(pictureOf(*m_stream, area), picture.copy(area));
    }
}

void PipeWireStreamTest::anAreaBeyondThePictureGivesNothing()
{
    startStream();
    QVERIFY(show(pattern(SCREEN, 5)));
    for (const QRect &area : {QRect(-1, 0, 5, 5), QRect(316, 0, 5, 5), QRect(0, 200, 1, 1)}) {
        QVERIFY(pictureOf(*m_stream, area).isNull());
    }
    QVERIFY(!m_stream->copy(QRect(), nullptr, 0));
}

void PipeWireStreamTest::damageIsToldOnceUntilItIsTaken()
{
    startStream();
    QVERIFY(show(pattern(SCREEN, 0)));
    QCOMPARE(m_stream->takeDamage(), QVector<QRect>{QRect(QPoint(), SCREEN)});
    QSignalSpy damaged(m_stream.get(), &PipeWireStream::damaged);
    const QVector<QRect> areas{QRect(3, 4, 5, 6), QRect(100, 100, 20, 2)};
    VideoSource::Extras extras;
    for (const QRect &area : areas) {
        extras.damage = {area};
        const QImage picture = pattern(SCREEN, area.x());
        QVERIFY(sendUntil(picture, extras, [&] { return pictureOf(*m_stream) == picture; }));
    }
    QCOMPARE(damaged.count(), 1);
    QCOMPARE(m_stream->takeDamage(), areas);
    QCOMPARE(m_stream->takeDamage(), QVector<QRect>());
    extras.damage = {QRect(1, 1, 1, 1)};
    QVERIFY(show(pattern(SCREEN, 9), extras));
    QCOMPARE(damaged.count(), 2);
    QCOMPARE(m_stream->takeDamage(), extras.damage);
}

// Frames that arrive in one go give one picture, the newest.
void PipeWireStreamTest::damageOfFramesThatWerePassedOverIsKept()
{
    startStream();
    QVERIFY(show(pattern(SCREEN, 0)));
    m_stream->takeDamage();
    VideoSource::Extras extras;
    QRect all;
    for (int step = 0; step < 100; ++step) {
        extras.damage = {QRect(step, step, 2, 2)};
        QVERIFY(send(pattern(SCREEN, step), extras));
        all = all.united(extras.damage.constFirst());
    }
    const QImage newest = pattern(SCREEN, 99);
    QVERIFY(sendUntil(newest, extras, [&] { return pictureOf(*m_stream) == newest; }));
    const QVector<QRect> damage = m_stream->takeDamage();
    QVERIFY(damage.size() <= 64);
    QRect told;
    for (const QRect &area : damage) {
        told = told.united(area);
    }
    QVERIFY(told.contains(all)); // a burst like this may lose frames on its way
}

void PipeWireStreamTest::afterALostFrameTheWholePictureCounts()
{
    startStream();
    VideoSource::Extras extras;
    extras.damage = {QRect(3, 4, 5, 6)};
    QVERIFY(show(pattern(SCREEN, 0), extras));
    QVERIFY(show(pattern(SCREEN, 1), extras));
    QCOMPARE(m_stream->takeDamage(), extras.damage);
    extras.isAfterALostOne = true;
    QVERIFY(show(pattern(SCREEN, 2), extras));
    QCOMPARE(m_stream->takeDamage(), QVector<QRect>{QRect(QPoint(), SCREEN)});
}

void PipeWireStreamTest::withoutDamageTheWholePictureCounts()
{
    startStream();
    QVERIFY(show(pattern(SCREEN, 0)));
    QVERIFY(show(pattern(SCREEN, 1)));
    QCOMPARE(m_stream->takeDamage(), QVector<QRect>{QRect(QPoint(), SCREEN)});
}

void PipeWireStreamTest::aTurnedBufferIsPutUpright()
{
    startStream();
    QVERIFY(show(pattern(SCREEN, 0)));
    QSignalSpy live(m_stream.get(), &PipeWireStream::liveChanged);
    VideoSource::Extras extras;
    extras.transform = quint32(FrameTransform::Turn90);
    extras.damage = {QRect(0, 0, 10, 20)};
    const QImage upright = pattern(SCREEN.transposed(), 4);
    const QImage turned = upright.transformed(QTransform().rotate(-90));
    QVERIFY(show(turned.convertToFormat(QImage::Format_RGB32), extras));
    QCOMPARE(live.count(), 1);
    QCOMPARE(m_stream->size(), SCREEN.transposed());
    QCOMPARE(pictureOf(*m_stream), upright);
    m_stream->takeDamage();
    QVERIFY(show(turned.convertToFormat(QImage::Format_RGB32), extras));
    QCOMPARE(m_stream->takeDamage(), QVector<QRect>{QRect(180, 0, 20, 10)});
}

void PipeWireStreamTest::brokenFramesAreNotPictures()
{
    startStream();
    QVERIFY(show(pattern(SCREEN, 0)));
    m_stream->takeDamage();
    VideoSource::Extras corrupted;
    corrupted.isCorrupted = true;
    VideoSource::Extras empty;
    empty.isWithoutPixels = true;
    for (int round = 0; round < 6; ++round) { // they give their buffers back
        QVERIFY(send(pattern(SCREEN, 1), corrupted));
        QVERIFY(send(pattern(SCREEN, 2), empty));
        QTest::qWait(1);
        QCOMPARE(pictureOf(*m_stream), pattern(SCREEN, 0));
    }
    QCOMPARE(m_stream->takeDamage(), QVector<QRect>());
    QVERIFY(show(pattern(SCREEN, 3)));
    QCOMPARE(pictureOf(*m_stream), pattern(SCREEN, 3));
}

void PipeWireStreamTest::aFrameThatIsSpoiltLaterStaysAPicture()
{
    startStream();
    QVERIFY(show(pattern(SCREEN, 5)));
    m_source->spoilLast();
    QCOMPARE(pictureOf(*m_stream), pattern(SCREEN, 5));
}

void PipeWireStreamTest::damageBeyondTheBufferIsCutOff()
{
    startStream();
    QVERIFY(show(pattern(SCREEN, 0)));
    m_stream->takeDamage();
    VideoSource::Extras extras;
    extras.damage = {QRect(5, 6, 100000, 100000), QRect(-8, -9, 10, 12), QRect(400, 0, 10, 10)};
    QVERIFY(show(pattern(SCREEN, 1), extras));
    QCOMPARE(
        m_stream->takeDamage(),
        (QVector<QRect>{QRect(5, 6, SCREEN.width() - 5, SCREEN.height() - 6), QRect(0, 0, 2, 3)}));
}

void PipeWireStreamTest::aNewSizeIsTold()
{
    startStream();
    QVERIFY(show(pattern(SCREEN, 0)));
    const QSize larger(500, 300);
    QSignalSpy live(m_stream.get(), &PipeWireStream::liveChanged);
    m_source->resize(larger);
    QTRY_COMPARE(m_source->agreedSize(), larger);
    QTRY_VERIFY(!m_stream->isLive());
    QTRY_COMPARE(live.count(), 1);
    QVERIFY(show(pattern(larger, 7)));
    QCOMPARE(live.count(), 2);
    QCOMPARE(m_stream->size(), larger);
    QCOMPARE(pictureOf(*m_stream), pattern(larger, 7));
    QCOMPARE(m_stream->takeDamage(), QVector<QRect>{QRect(QPoint(), larger)});
}

void PipeWireStreamTest::aPausedProducerGivesNoStalePicture()
{
    startStream();
    QVERIFY(show(pattern(SCREEN, 0)));
    QSignalSpy live(m_stream.get(), &PipeWireStream::liveChanged);
    m_source->setActive(false);
    QTRY_VERIFY(!m_stream->isLive());
    QTRY_COMPARE(live.count(), 1);
    QVERIFY(pictureOf(*m_stream, QRect(0, 0, 1, 1)).isNull());
    QVERIFY(!m_stream->hasEnded());
    m_source->setActive(true);
    QTRY_VERIFY(m_source->isStreaming());
    QVERIFY(!m_stream->isLive());
    QVERIFY(show(pattern(SCREEN, 1)));
    QCOMPARE(pictureOf(*m_stream), pattern(SCREEN, 1));
    QCOMPARE(m_stream->takeDamage(), QVector<QRect>{QRect(QPoint(), SCREEN)});
}

void PipeWireStreamTest::theEndOfTheProducerIsToldOnce()
{
    startStream();
    QVERIFY(show(pattern(SCREEN, 0)));
    QSignalSpy ended(m_stream.get(), &PipeWireStream::ended);
    m_source.reset();
    QTRY_COMPARE_WITH_TIMEOUT(ended.count(), 1, 10000);
    QVERIFY(m_stream->hasEnded());
    QVERIFY(!m_stream->isLive());
    QVERIFY(!m_remote->isLost());
}

void PipeWireStreamTest::theEndOfTheDaemonIsToldOnce()
{
    startStream();
    QVERIFY(show(pattern(SCREEN, 0)));
    QSignalSpy lost(m_remote.get(), &PipeWireRemote::lost);
    QSignalSpy ended(m_stream.get(), &PipeWireStream::ended);
    m_daemon->kill();
    QTRY_COMPARE_WITH_TIMEOUT(lost.count(), 1, 10000);
    QTRY_COMPARE(ended.count(), 1);
    QVERIFY(m_remote->isLost());
    QVERIFY(!m_stream->isLive());
    QVERIFY(pictureOf(*m_stream, QRect(0, 0, 1, 1)).isNull());
    cleanup();

    QVERIFY(m_daemon->start());
    init();
    startStream();
    QVERIFY(show(pattern(SCREEN, 2)));
    QCOMPARE(pictureOf(*m_stream), pattern(SCREEN, 2));
    QCOMPARE(lost.count(), 1);
}

void PipeWireStreamTest::theDaemonCanBeReachedByTheSessionsSocket()
{
    QString problem;
    m_remote = PipeWireRemote::connectTo(FileDescriptor(), problem);
    QVERIFY2(m_remote, qPrintable(problem));
    startStream();
    QVERIFY(show(pattern(SCREEN, 3)));
    QCOMPARE(pictureOf(*m_stream), pattern(SCREEN, 3));
}

void PipeWireStreamTest::anUnreachableDaemonIsAnError()
{
    const QByteArray before = qgetenv("PIPEWIRE_RUNTIME_DIR");
    qputenv("PIPEWIRE_RUNTIME_DIR", "/nonexistent");
    QString problem;
    QVERIFY(!PipeWireRemote::connectTo(FileDescriptor(), problem));
    QVERIFY(!problem.isEmpty());
    qputenv("PIPEWIRE_RUNTIME_DIR", before);
}

void PipeWireStreamTest::aStillProducerCostsNoWakeUps()
{
    startStream();
    QVERIFY(show(pattern(SCREEN, 0)));
    QTest::qWait(200); // what is still under way
    const qint64 before = wakeUps(QCoreApplication::applicationPid());
    QEventLoop loop;
    QTimer::singleShot(2000, &loop, &QEventLoop::quit);
    loop.exec();
    // The loop's own sleep until its timer, and what precision of timers makes of it.
    QVERIFY2(wakeUps(QCoreApplication::applicationPid()) - before <= 4,
             qPrintable(QString::number(wakeUps(QCoreApplication::applicationPid()) - before)));
}

QTEST_GUILESS_MAIN(PipeWireStreamTest)
#include "pipewirestreamtest.moc"
