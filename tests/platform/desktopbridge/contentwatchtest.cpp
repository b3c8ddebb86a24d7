// When the change signal is given and what the watch asks of the display, on a display that the
// test draws on pixel by pixel. The interval is short here; that it is a second is tested with the
// bridge as a whole.

#include "desktopbridge/contentwatch.h"

#include <QSignalSpy>
#include <QTest>

#include <algorithm>
#include <vector>

namespace
{
const QRect SCREEN(0, 0, 640, 480);
constexpr double NINETY = 90.0;
constexpr int INTERVAL = 200; // milliseconds
constexpr int SILENCE = 300;  // long enough to see a signal that should not come
constexpr int PATIENCE = 5000;

// A display in memory: reports damage as a real one does, once until it is taken.
class PaintedBackend : public ScreenBackend
{
    Q_OBJECT

public:
    QString problem() const override { return {}; }
    QVector<QRect> screens() override { return {m_screen}; }
    QRect virtualScreen() override { return m_screen; }
    int tileEdge() override { return m_edge; }
    PicturePtr fetch(const QRect &area) override;
    PicturePtr fetchForComparison(const QRect &area) override;
    bool startWatching() override { return m_watching = m_canWatch; }
    void stopWatching() override { m_watching = false; }
    QVector<QRect> takeDamage() override;
    std::optional<quint32> activeWindowPid() override { return 0; }

    void paint(const QRect &area, quint32 colour);
    void paintTiles(int count, quint32 colour);
    void resize(const QSize &size);

    QRect m_screen = SCREEN;
    int m_edge = 16;
    bool m_canWatch = true;
    bool m_watching = false;
    bool m_broken = false;
    QVector<QRect> m_fetched;
    QVector<QRect> m_compared;           // those of them that were only to be compared
    std::function<void()> m_duringFetch; // after the pixels were copied

private:
    std::vector<quint32> m_pixels = std::vector<quint32>(size_t(640) * 480, 0);
    QVector<QRect> m_damage;
    bool m_reported = false;
};

PicturePtr PaintedBackend::fetch(const QRect &area)
{
    m_fetched.append(area);
    if (m_broken || !m_screen.contains(area)) {
        return nullptr;
    }
    auto memory = std::make_shared<std::vector<quint32>>();
    for (int y = area.top(); y <= area.bottom(); ++y) {
        const auto row = m_pixels.begin() + qptrdiff(y) * m_screen.width();
        memory->insert(memory->end(), row + area.left(), row + area.right() + 1);
    }
    if (m_duringFetch) {
        std::exchange(m_duringFetch, nullptr)();
    }
    return std::make_shared<const Picture>(
        Picture{area, std::shared_ptr<const quint32>(memory, memory->data())});
}

PicturePtr PaintedBackend::fetchForComparison(const QRect &area)
{
    m_compared.append(area);
    return fetch(area);
}

QVector<QRect> PaintedBackend::takeDamage()
{
    m_reported = false;
    return std::exchange(m_damage, {});
}

void PaintedBackend::paint(const QRect &area, quint32 colour)
{
    for (int y = area.top(); y <= area.bottom(); ++y) {
        const auto row = m_pixels.begin() + qptrdiff(y) * m_screen.width();
        std::fill(row + area.left(), row + area.right() + 1, colour);
    }
    if (m_watching) {
        m_damage.append(area);
        if (!std::exchange(m_reported, true)) {
            Q_EMIT damaged();
        }
    }
}

// Changes one pixel in each of the first tiles.
void PaintedBackend::paintTiles(int count, quint32 colour)
{
    const int columns = m_screen.width() / m_edge;
    for (int tile = 0; tile < count; ++tile) {
        paint(QRect(tile % columns * m_edge, tile / columns * m_edge, 1, 1), colour);
    }
}

void PaintedBackend::resize(const QSize &size)
{
    m_screen.setSize(size);
    m_pixels.assign(size_t(size.width()) * size_t(size.height()), 0);
    Q_EMIT layoutChanged();
}
} // namespace

Q_DECLARE_METATYPE(std::function<void(PaintedBackend &, ContentWatch &)>)

class ContentWatchTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();
    void stillScreenCanBeTakenTheFirstTime();
    void thresholdRule_data();
    void thresholdRule();
    void repeatsOnceAnIntervalUntilAPictureIsTaken();
    void signalsThatNobodyAnswersGrowSeldom();
    void aSeldomSignalIsPromptAgain_data();
    void aSeldomSignalIsPromptAgain();
    void aChangeThatFinishedBeforeIsNotMissed();
    void smallChangesAddUp();
    void aChangeTakenBackEndsTheSignal();
    void countsInLargeTilesAtScaleTwo();
    void comparesAVideoOnceAnInterval();
    void fetchesOnlyWhatWasDamaged();
    void handsOutOnlyPicturesOfTheMoment();
    void manySmallAreasAreFetchedAsOne();
    void asksForNothingOnAStillScreen();
    void damageWhileFetchingIsSeenLater();
    void damageWhileAPictureIsTakenIsSeenLater();
    void damageBeforeThePictureIsPartOfIt();
    void newSizeMakesThePictureVoid();
    void failedFetchIsTriedAgain();
    void failedPictureKeepsTheFormerOne();
    void lookOnceAtAllWhenWatchingBegins();
    void silentWhenNobodyWatches();
    void lowerThresholdSignalsAtOnce();
    void displayWithoutDamageIsRefused();
    void picturesOfOneScreenIgnoreTheOthers();

private:
    void takeFirstPicture();

    std::unique_ptr<PaintedBackend> m_display;
    std::unique_ptr<ContentWatch> m_watch;
    std::unique_ptr<QSignalSpy> m_signals;
};

void ContentWatchTest::init()
{
    m_display = std::make_unique<PaintedBackend>();
    m_watch = std::make_unique<ContentWatch>(*m_display, INTERVAL);
    m_signals = std::make_unique<QSignalSpy>(m_watch.get(), &ContentWatch::changed);
}

void ContentWatchTest::cleanup()
{
    m_signals.reset();
    m_watch.reset();
    m_display.reset();
}

void ContentWatchTest::takeFirstPicture()
{
    QVERIFY(m_watch->watch(NINETY));
    QVERIFY(m_watch->takePicture(SCREEN));
    m_display->m_fetched.clear();
    m_signals->clear();
}

void ContentWatchTest::stillScreenCanBeTakenTheFirstTime()
{
    QVERIFY(m_watch->watch(NINETY));
    QVERIFY(m_signals->wait(PATIENCE));
    QCOMPARE(m_signals->first().first().toDouble(), 100.0 * 1200 / 1202);
    QVERIFY(m_signals->wait(PATIENCE));
    QVERIFY2(m_display->m_fetched.isEmpty(), "there is nothing to compare with");
    m_watch->takePicture(SCREEN);
    QVERIFY(!m_signals->wait(SILENCE));
}

void ContentWatchTest::thresholdRule_data()
{
    QTest::addColumn<int>("tiles");
    QTest::addColumn<bool>("signalled");
    QTest::newRow("caret") << 1 << false;
    QTest::newRow("clock digit") << 3 << false;
    QTest::newRow("word") << 8 << false;
    QTest::newRow("17 tiles") << 17 << false;
    QTest::newRow("18 tiles") << 18 << true;
    QTest::newRow("typed block") << 60 << true;
}

void ContentWatchTest::thresholdRule()
{
    QFETCH(int, tiles);
    QFETCH(bool, signalled);
    takeFirstPicture();
    m_display->paintTiles(tiles, 0xffffff);
    QCOMPARE(m_signals->wait(signalled ? PATIENCE : SILENCE), signalled);
    QVERIFY(!m_display->m_fetched.isEmpty());
    if (signalled) {
        QCOMPARE(m_signals->first().first().toDouble(), 100.0 * tiles / (tiles + 2));
    }
}

void ContentWatchTest::repeatsOnceAnIntervalUntilAPictureIsTaken()
{
    takeFirstPicture();
    m_display->paintTiles(30, 1);
    QElapsedTimer timer;
    QVERIFY(m_signals->wait(PATIENCE));
    timer.start();
    QTRY_COMPARE(m_signals->count(), 4);
    QVERIFY2(timer.elapsed() >= 3 * INTERVAL - 5, qPrintable(QString::number(timer.elapsed())));
    m_watch->takePicture(SCREEN);
    m_signals->clear();
    QVERIFY(!m_signals->wait(SILENCE));
}

void ContentWatchTest::signalsThatNobodyAnswersGrowSeldom()
{
    constexpr int SHORT = 10;
    ContentWatch watch(*m_display, SHORT);
    QElapsedTimer timer;
    QVector<qint64> pauses;
    connect(&watch, &ContentWatch::changed, this, [&] {
        pauses.append(timer.isValid() ? timer.restart() : 0);
        timer.start();
    });
    QVERIFY(watch.watch(NINETY)); // there is no picture yet
    QTRY_VERIFY(pauses.size() >= 18);
    qint64 prompt = 0;
    for (int index = 1; index < 10; ++index) {
        prompt += pauses.at(index);
    }
    QVERIFY2(prompt < qint64(100) * SHORT, qPrintable(QString::number(prompt)));
    QVERIFY(pauses.at(11) >= 2 * SHORT - 2);
    QVERIFY(pauses.at(12) >= 4 * SHORT - 2);
    QVERIFY(pauses.at(15) >= 30 * SHORT - 2);
    QVERIFY(pauses.at(17) >= 30 * SHORT - 2);
}

void ContentWatchTest::aSeldomSignalIsPromptAgain_data()
{
    using Event = std::function<void(PaintedBackend &, ContentWatch &)>;
    QTest::addColumn<Event>("event");
    QTest::newRow("something is drawn") << Event(
        [](PaintedBackend &display, ContentWatch &) { display.paint(QRect(600, 400, 1, 1), 1); });
    QTest::newRow("another size") << Event(
        [](PaintedBackend &display, ContentWatch &) { display.resize(QSize(320, 240)); });
    QTest::newRow("somebody else watches")
        << Event([](PaintedBackend &, ContentWatch &watch) { watch.watch(NINETY); });
    QTest::newRow("a picture was asked for") << Event(
        [](PaintedBackend &, ContentWatch &watch) { watch.takePicture(QRect(-1, -1, 1, 1)); });
}

void ContentWatchTest::aSeldomSignalIsPromptAgain()
{
    using Event = std::function<void(PaintedBackend &, ContentWatch &)>;
    QFETCH(Event, event);
    constexpr int SHORT = 30;
    constexpr int LONG_PAUSE = 30 * SHORT;
    ContentWatch watch(*m_display, SHORT);
    QSignalSpy changed(&watch, &ContentWatch::changed);
    QVERIFY(watch.watch(NINETY));
    QTRY_VERIFY_WITH_TIMEOUT(changed.size() >= 15, LONG_PAUSE + PATIENCE);
    changed.clear();
    event(*m_display, watch);
    QElapsedTimer timer;
    timer.start();
    QTRY_VERIFY_WITH_TIMEOUT(changed.size() >= 4, LONG_PAUSE + PATIENCE);
    QVERIFY2(timer.elapsed() < LONG_PAUSE, qPrintable(QString::number(timer.elapsed())));
}

void ContentWatchTest::aChangeThatFinishedBeforeIsNotMissed()
{
    takeFirstPicture();
    m_display->paintTiles(40, 1);
    QTest::qWait(3 * INTERVAL); // nothing more is drawn
    m_signals->clear();
    QVERIFY(m_signals->wait(PATIENCE));
}

void ContentWatchTest::smallChangesAddUp()
{
    takeFirstPicture();
    m_display->paintTiles(9, 1);
    QVERIFY(!m_signals->wait(SILENCE));
    m_display->paint(QRect(0, 320, 9 * 16, 1), 1);
    QVERIFY(m_signals->wait(PATIENCE));
    QCOMPARE(m_signals->first().first().toDouble(), NINETY);
}

void ContentWatchTest::aChangeTakenBackEndsTheSignal()
{
    takeFirstPicture();
    m_display->paintTiles(30, 1);
    QVERIFY(m_signals->wait(PATIENCE));
    m_display->paintTiles(30, 0);
    m_signals->clear();
    QVERIFY(!m_signals->wait(SILENCE));
}

void ContentWatchTest::countsInLargeTilesAtScaleTwo()
{
    m_display->m_edge = 32;
    takeFirstPicture();
    m_display->paint(QRect(0, 0, 17 * 32, 32), 1);
    QVERIFY(!m_signals->wait(SILENCE));
    m_display->paint(QRect(17 * 32, 0, 32, 32), 1);
    QVERIFY(m_signals->wait(PATIENCE));
}

void ContentWatchTest::comparesAVideoOnceAnInterval()
{
    takeFirstPicture();
    QTimer video;
    quint32 colour = 0;
    connect(&video, &QTimer::timeout, this,
            [&] { m_display->paint(QRect(100, 100, 64, 32), ++colour); });
    QElapsedTimer timer;
    timer.start();
    video.start(5);
    QTRY_VERIFY(m_display->m_fetched.size() >= 5);
    QVERIFY2(timer.elapsed() >= 4 * INTERVAL - 5, qPrintable(QString::number(timer.elapsed())));
    QCOMPARE(m_signals->count(), 0); // 15 tiles
}

void ContentWatchTest::fetchesOnlyWhatWasDamaged()
{
    takeFirstPicture();
    m_display->paint(QRect(20, 20, 5, 5), 1);
    QTRY_COMPARE(m_display->m_fetched, QVector<QRect>{QRect(16, 16, 16, 16)});
    QTest::qWait(SILENCE);
    QCOMPARE(m_display->m_fetched.size(), 1);
}

void ContentWatchTest::handsOutOnlyPicturesOfTheMoment()
{
    takeFirstPicture();
    QVERIFY(m_watch->takePicture(QRect(0, 0, 64, 64)));
    QVERIFY(m_display->m_compared.isEmpty());
    m_display->paint(QRect(20, 20, 5, 5), 1);
    QTRY_COMPARE(m_display->m_compared, QVector<QRect>{QRect(16, 16, 16, 16)});
}

void ContentWatchTest::manySmallAreasAreFetchedAsOne()
{
    takeFirstPicture();
    for (int line = 0; line < 25; ++line) {
        m_display->paint(QRect(32, line * 16, 1, 1), 1);
    }
    QTRY_COMPARE(m_display->m_fetched, QVector<QRect>{QRect(32, 0, 16, 25 * 16)});
    QTRY_COMPARE(m_signals->count(), 1);
    QCOMPARE(m_signals->first().first().toDouble(), 100.0 * 25 / 27);
}

void ContentWatchTest::asksForNothingOnAStillScreen()
{
    takeFirstPicture();
    m_display->paintTiles(5, 1);
    QTRY_VERIFY(!m_display->m_fetched.isEmpty());
    m_display->m_fetched.clear();
    for (QTimer *timer : m_watch->findChildren<QTimer *>()) {
        QVERIFY(!timer->isActive());
    }
    QTest::qWait(SILENCE);
    QVERIFY(m_display->m_fetched.isEmpty());
}

void ContentWatchTest::damageWhileFetchingIsSeenLater()
{
    takeFirstPicture();
    m_display->m_duringFetch = [this] { m_display->paint(QRect(0, 240, 640, 64), 1); };
    m_display->paintTiles(1, 1);
    QTRY_COMPARE(m_signals->count(), 1);
    QCOMPARE(m_signals->first().first().toDouble(), 100.0 * 161 / 163);
}

void ContentWatchTest::damageWhileAPictureIsTakenIsSeenLater()
{
    takeFirstPicture();
    m_display->m_duringFetch = [this] { m_display->paint(QRect(0, 240, 640, 64), 1); };
    m_watch->takePicture(SCREEN);
    QVERIFY(m_signals->wait(PATIENCE));
    QCOMPARE(m_signals->first().first().toDouble(), 100.0 * 160 / 162);
}

void ContentWatchTest::damageBeforeThePictureIsPartOfIt()
{
    takeFirstPicture();
    m_display->paintTiles(50, 1);
    m_watch->takePicture(SCREEN);
    QVERIFY(!m_signals->wait(SILENCE));
}

void ContentWatchTest::newSizeMakesThePictureVoid()
{
    takeFirstPicture();
    m_display->resize(QSize(320, 240));
    QVERIFY(m_signals->wait(PATIENCE));
    QCOMPARE(m_signals->first().first().toDouble(), 100.0 * 300 / 302);
    QVERIFY(m_watch->takePicture(QRect(0, 0, 320, 240)));
    m_signals->clear();
    QVERIFY(!m_signals->wait(SILENCE));
    m_display->paintTiles(18, 5);
    QVERIFY(m_signals->wait(PATIENCE));
}

void ContentWatchTest::failedFetchIsTriedAgain()
{
    takeFirstPicture();
    m_display->m_broken = true;
    m_display->paintTiles(30, 1);
    QVERIFY(!m_signals->wait(SILENCE));
    m_display->m_broken = false;
    QVERIFY(m_signals->wait(PATIENCE));
}

void ContentWatchTest::failedPictureKeepsTheFormerOne()
{
    takeFirstPicture();
    m_display->paintTiles(30, 1);
    m_display->m_broken = true;
    QVERIFY(!m_watch->takePicture(SCREEN));
    m_display->m_broken = false;
    QVERIFY(m_signals->wait(PATIENCE)); // although the damage had been taken off
    QCOMPARE(m_signals->first().first().toDouble(), 100.0 * 30 / 32);
}

void ContentWatchTest::lookOnceAtAllWhenWatchingBegins()
{
    QVERIFY(m_watch->takePicture(SCREEN));
    m_display->paintTiles(20, 1); // nobody sees this
    QVERIFY(m_watch->watch(NINETY));
    QVERIFY(m_signals->wait(PATIENCE));
    QCOMPARE(m_signals->first().first().toDouble(), 100.0 * 20 / 22);
}

void ContentWatchTest::silentWhenNobodyWatches()
{
    takeFirstPicture();
    m_display->paintTiles(20, 1);
    QVERIFY(m_signals->wait(PATIENCE));
    m_watch->unwatch();
    QVERIFY(!m_display->m_watching);
    m_signals->clear();
    QVERIFY(!m_signals->wait(SILENCE));
}

void ContentWatchTest::lowerThresholdSignalsAtOnce()
{
    takeFirstPicture();
    m_display->paintTiles(8, 1);
    QVERIFY(!m_signals->wait(SILENCE));
    QVERIFY(m_watch->watch(80.0));
    QVERIFY(m_signals->wait(PATIENCE));
    QCOMPARE(m_signals->first().first().toDouble(), 80.0);
}

void ContentWatchTest::displayWithoutDamageIsRefused()
{
    m_display->m_canWatch = false;
    QVERIFY(!m_watch->watch(NINETY));
    QVERIFY(!m_signals->wait(SILENCE));
}

void ContentWatchTest::picturesOfOneScreenIgnoreTheOthers()
{
    QVERIFY(m_watch->watch(NINETY));
    QVERIFY(m_watch->takePicture(QRect(320, 0, 320, 480)));
    m_display->paint(QRect(0, 0, 320, 480), 1);
    QVERIFY(!m_signals->wait(SILENCE));
    m_display->paint(QRect(320, 0, 320, 16), 1);
    QVERIFY(m_signals->wait(PATIENCE));
    QCOMPARE(m_signals->first().first().toDouble(), 100.0 * 20 / 22);
}

QTEST_GUILESS_MAIN(ContentWatchTest)
#include "contentwatchtest.moc"
