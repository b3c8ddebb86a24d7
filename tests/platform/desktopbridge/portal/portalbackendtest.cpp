// The portal backend between a portal that the test plays and a real PipeWire daemon: consent,
// pictures, damage, and every way in which a cast may stop.

#include "desktopbridge/portal/portalbackend.h"
#include "desktopbridge/contentwatch.h"
#include "fakecastportal.h"
#include "fakelockers.h"
#include "imageof.h"
#include "pipewire/pipewiredaemon.h"
#include "pipewire/videosource.h"
#include "privatebus.h"
#include "support/logcapture.h"
#include "wakeups.h"

#include <QElapsedTimer>
#include <QFile>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

#include <functional>
#include <limits>

namespace
{
constexpr QSize SCREEN(320, 200);
const QString PAUSES = QStringLiteral("Recording pauses:");
const QString SHOWS = QStringLiteral("The desktop shows the screen");
constexpr int PATIENCE_MS = 20000;
constexpr int FIRST_RETRY_MS = 10;

} // namespace

class PortalBackendTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();
    void cleanupTestCase();

    void nothingIsAskedUntilWatchingStarts();
    void everyMonitorWithoutThePointerIsAskedFor();
    void beforeTheAnswerThereIsAReasonAndNoPicture();
    void picturesAndDamageAreThoseOfTheStream();
    void theQuestionComesOnce();
    void aLostTokenMeansAQuestion();
    void aPortalWithoutTokensIsAskedAtEachStart();
    void aRefusalIsNotFollowedByAnotherQuestion();
    void stoppingTakesTheQuestionBack();
    void stoppingEndsTheCast();
    void aPermissionTakenBackIsNotAskedForAgain();
    void aLockedSessionIsNotAPermissionTakenBack_data();
    void aLockedSessionIsNotAPermissionTakenBack();
    void aRestartOfPipeWireIsOvercome();
    void aRestartOfThePortalIsOvercome();
    void withoutATokenAnInterruptionNeedsTheUser();
    void aPausedStreamGivesNoStalePicture();
    void aPortalThatFailsIsTriedAgain();
    void aPortalThatOnlyFailsIsGivenUp();
    void withoutAPortalThereIsAReason();
    void aPortalThatComesLaterIsAsked();
    void severalMonitorsMakeOneScreen();
    void monitorsAtImpossiblePlacesStandSideBySide();
    void monitorsOfDifferentScalesKeepTheirPixels();
    void aMonitorThatGoesLeavesTheOthers();
    void aNewSizeIsTold();
    void theContentWatchFollowsThroughAnInterruption();
    void aStillScreenCostsNoWakeUps();

private:
    void makeBackend();
    VideoSource *addSource(const QSize &size, const QRect &logical);
    void start();
    bool show(VideoSource *source, const QImage &picture, const QVector<QRect> &damage = {});
    bool becomesLive(const QImage &picture);

    std::unique_ptr<PrivateBus> m_bus;
    std::unique_ptr<QDBusConnection> m_session;
    std::unique_ptr<PipeWireDaemon> m_daemon;
    std::unique_ptr<PipeWireRemote> m_producers;
    std::vector<std::unique_ptr<VideoSource>> m_sources;
    std::unique_ptr<FakeCastPortal> m_portal;
    std::unique_ptr<QTemporaryDir> m_folder;
    std::unique_ptr<PortalBackend> m_backend;
    std::unique_ptr<LogCapture> m_log;
};

void PortalBackendTest::initTestCase()
{
    const QString missing = PipeWireDaemon::missing();
    if (!missing.isEmpty()) {
        QSKIP(qPrintable(missing));
    }
    // No portal of this machine may come up in place of the test's.
    m_bus = std::make_unique<PrivateBus>(QProcessEnvironment::systemEnvironment(),
                                         PrivateBus::Services::None);
    m_session = std::make_unique<QDBusConnection>(m_bus->connect(QStringLiteral("session")));
    QVERIFY(m_session->isConnected());
    m_daemon = std::make_unique<PipeWireDaemon>();
    QVERIFY(m_daemon->start());
}

void PortalBackendTest::init()
{
    QString problem;
    m_producers = PipeWireRemote::connectTo(m_daemon->connection(), problem);
    QVERIFY2(m_producers, qPrintable(problem));
    m_portal = std::make_unique<FakeCastPortal>(*m_bus, *m_daemon);
    m_portal->appear();
    m_folder = std::make_unique<QTemporaryDir>();
    m_log = std::make_unique<LogCapture>();
    makeBackend();
}

void PortalBackendTest::makeBackend()
{
    m_backend = std::make_unique<PortalBackend>(
        *m_session, QDBusConnection(QStringLiteral("no system bus")), nullptr,
        RestoreToken(m_folder->filePath(QStringLiteral("data/token"))), FIRST_RETRY_MS);
}

void PortalBackendTest::cleanup()
{
    m_backend.reset();
    m_log.reset();
    m_portal.reset();
    m_sources.clear();
    m_producers.reset();
}

void PortalBackendTest::cleanupTestCase()
{
    m_session.reset();
    QDBusConnection::disconnectFromBus(QStringLiteral("session"));
}

VideoSource *PortalBackendTest::addSource(const QSize &size, const QRect &logical)
{
    m_sources.push_back(std::make_unique<VideoSource>(*m_producers, size));
    m_portal->m_streams.append({m_sources.back()->node(), logical});
    return m_sources.back().get();
}

// One monitor, allowed, with its first picture.
void PortalBackendTest::start()
{
    addSource(SCREEN, QRect(QPoint(), SCREEN));
    QVERIFY(m_backend->startWatching());
    QVERIFY(becomesLive(pattern(SCREEN, 1)));
}

// Sends until it has come: the daemon lets go of one that follows another too quickly.
bool PortalBackendTest::show(VideoSource *source, const QImage &picture,
                             const QVector<QRect> &damage)
{
    VideoSource::Extras extras;
    extras.damage = damage;
    QSignalSpy damaged(m_backend.get(), &ScreenBackend::damaged);
    m_backend->takeDamage();
    for (int attempt = 0; attempt < 20; ++attempt) {
        if (QTest::qWaitFor([&] { return source->send(picture, extras); }, PATIENCE_MS) &&
            QTest::qWaitFor([&] { return !damaged.isEmpty(); }, 500)) {
            return true;
        }
    }
    return false;
}

bool PortalBackendTest::becomesLive(const QImage &picture)
{
    return show(m_sources.back().get(), picture) && m_backend->problem().isEmpty() &&
           imageOf(m_backend->fetch(QRect(QPoint(), picture.size()))) == picture;
}

void PortalBackendTest::nothingIsAskedUntilWatchingStarts()
{
    addSource(SCREEN, QRect(QPoint(), SCREEN));
    QTest::qWait(50);
    QVERIFY(m_portal->m_sessions.isEmpty());
    QVERIFY(!m_backend->problem().isEmpty());
    QVERIFY(m_backend->screens().isEmpty());
    QVERIFY(!m_backend->fetch(QRect(0, 0, 1, 1)));
    QVERIFY(m_log->texts(QtWarningMsg).isEmpty());
}

void PortalBackendTest::everyMonitorWithoutThePointerIsAskedFor()
{
    start();
    QCOMPARE(m_portal->m_sources.value(QStringLiteral("types")), QVariant(1U));
    QCOMPARE(m_portal->m_sources.value(QStringLiteral("multiple")), QVariant(true));
    QCOMPARE(m_portal->m_sources.value(QStringLiteral("cursor_mode")), QVariant(1U));
    QCOMPARE(m_portal->m_sources.value(QStringLiteral("persist_mode")), QVariant(2U));
    QVERIFY(!m_portal->m_sources.contains(QStringLiteral("restore_token")));
}

void PortalBackendTest::beforeTheAnswerThereIsAReasonAndNoPicture()
{
    m_portal->m_user = FakeCastPortal::User::IsAway;
    addSource(SCREEN, QRect(QPoint(), SCREEN));
    QElapsedTimer time;
    time.start();
    QVERIFY(m_backend->startWatching());
    QVERIFY(!m_backend->fetch(QRect(0, 0, 1, 1)));
    QVERIFY(time.elapsed() < 1000);
    QTRY_COMPARE(m_portal->m_questions, 1);
    QVERIFY(m_backend->problem().contains(QStringLiteral("has not answered yet")));
    QVERIFY(!m_backend->fetch(QRect(0, 0, 1, 1)));
    QVERIFY(m_backend->virtualScreen().isEmpty());
    m_portal->answer(FakeCastPortal::User::SaysYes);
    QVERIFY(becomesLive(pattern(SCREEN, 1)));
    QVERIFY(m_log->texts(QtWarningMsg).isEmpty());
}

void PortalBackendTest::picturesAndDamageAreThoseOfTheStream()
{
    start();
    QCOMPARE(m_backend->screens(), QVector<QRect>{QRect(QPoint(), SCREEN)});
    QCOMPARE(m_backend->virtualScreen(), QRect(QPoint(), SCREEN));
    QCOMPARE(m_backend->tileEdge(), 16);
    const QVector<QRect> damage{QRect(10, 20, 30, 40)};
    const QImage next = pattern(SCREEN, 2);
    QVERIFY(show(m_sources.back().get(), next, damage));
    QCOMPARE(m_backend->takeDamage(), damage);
    QCOMPARE(m_backend->takeDamage(), QVector<QRect>());
    for (const QRect &area : {QRect(QPoint(), SCREEN), QRect(5, 6, 70, 8)}) {
        const PicturePtr picture = m_backend->fetch(area);
        QVERIFY(picture);
        QCOMPARE(picture->area, area);
        QCOMPARE(imageOf(picture), next.copy(area));
    }
    QVERIFY(!m_backend->fetch(QRect(0, 0, 321, 200)));
    QVERIFY(!m_backend->fetch(QRect()));
}

void PortalBackendTest::theQuestionComesOnce()
{
    start();
    QCOMPARE(m_portal->m_questions, 1);
    const QString file = m_folder->filePath(QStringLiteral("data/token"));
    QCOMPARE(QFile::permissions(file) & ~QFile::Permissions(QFile::ReadUser | QFile::WriteUser),
             QFile::ReadOwner | QFile::WriteOwner);
    for (int round = 0; round < 2; ++round) { // each token is good for one start
        const QString token = m_portal->m_token;
        makeBackend();
        m_backend->startWatching();
        QVERIFY(becomesLive(pattern(SCREEN, round)));
        QCOMPARE(m_portal->m_sources.value(QStringLiteral("restore_token")).toString(), token);
        QVERIFY(m_portal->m_token != token);
    }
    QCOMPARE(m_portal->m_questions, 1);
    QCOMPARE(m_portal->m_starts, 3);
}

void PortalBackendTest::aLostTokenMeansAQuestion()
{
    start();
    m_backend->stopWatching();
    QVERIFY(QFile::remove(m_folder->filePath(QStringLiteral("data/token"))));
    m_backend->startWatching();
    QVERIFY(becomesLive(pattern(SCREEN, 2)));
    QCOMPARE(m_portal->m_questions, 2);
}

void PortalBackendTest::aPortalWithoutTokensIsAskedAtEachStart()
{
    m_portal->m_givesTokens = false;
    start();
    QVERIFY(!QFile::exists(m_folder->filePath(QStringLiteral("data/token"))));
    m_backend->stopWatching();
    m_backend->startWatching();
    QVERIFY(becomesLive(pattern(SCREEN, 2)));
    QCOMPARE(m_portal->m_questions, 2);
}

void PortalBackendTest::aRefusalIsNotFollowedByAnotherQuestion()
{
    m_portal->m_user = FakeCastPortal::User::SaysNo;
    addSource(SCREEN, QRect(QPoint(), SCREEN));
    m_backend->startWatching();
    QTRY_VERIFY(m_backend->problem().contains(QStringLiteral("not allowed")));
    QTest::qWait(700); // longer than an interruption takes to be seen and overcome
    QCOMPARE(m_portal->m_questions, 1);
    QVERIFY(!m_backend->fetch(QRect(0, 0, 1, 1)));
    QCOMPARE(m_log->count(QtWarningMsg, PAUSES), 1);
    QTRY_VERIFY(m_portal->m_sessions.isEmpty());

    m_portal->m_user = FakeCastPortal::User::SaysYes;
    m_backend->stopWatching();
    m_backend->startWatching();
    QVERIFY(becomesLive(pattern(SCREEN, 2)));
    QCOMPARE(m_portal->m_questions, 2);
}

void PortalBackendTest::stoppingTakesTheQuestionBack()
{
    m_portal->m_user = FakeCastPortal::User::IsAway;
    m_backend->startWatching();
    QTRY_COMPARE(m_portal->m_questions, 1);
    m_backend->stopWatching();
    QTRY_COMPARE(m_portal->m_takenBack.size(), 1);
    QTRY_VERIFY(m_portal->m_sessions.isEmpty());
}

void PortalBackendTest::stoppingEndsTheCast()
{
    start();
    QSignalSpy layout(m_backend.get(), &ScreenBackend::layoutChanged);
    m_backend->stopWatching();
    QCOMPARE(layout.count(), 1);
    QTRY_VERIFY(m_portal->m_sessions.isEmpty());
    QTRY_VERIFY(!m_sources.back()->isStreaming());
    QVERIFY(!m_backend->fetch(QRect(0, 0, 1, 1)));
    QVERIFY(m_log->texts(QtWarningMsg).isEmpty());
}

void PortalBackendTest::aPermissionTakenBackIsNotAskedForAgain()
{
    start();
    m_portal->closeSessions();
    QTRY_VERIFY(!m_backend->fetch(QRect(0, 0, 1, 1)));
    QTRY_VERIFY(m_backend->problem().contains(QStringLiteral("taken back")));
    QTest::qWait(700);
    QCOMPARE(m_portal->m_starts, 1);
    QCOMPARE(m_log->count(QtWarningMsg, PAUSES), 1);
    m_backend->stopWatching();
    m_backend->startWatching();
    QVERIFY(becomesLive(pattern(SCREEN, 2)));
}

void PortalBackendTest::aLockedSessionIsNotAPermissionTakenBack_data()
{
    QTest::addColumn<bool>("lockIsFirst");
    QTest::newRow("the lock is told first") << true;
    QTest::newRow("the end of the cast is told first") << false;
}

void PortalBackendTest::aLockedSessionIsNotAPermissionTakenBack()
{
    QFETCH(bool, lockIsFirst);
    const QString name = QStringLiteral("org.gnome.ScreenSaver");
    const QString path = QStringLiteral("/org/gnome/ScreenSaver");
    FakeGnomeSaver saver;
    QDBusConnection bus = m_bus->connect(QStringLiteral("saver"));
    bus.registerObject(path, &saver, QDBusConnection::ExportAllContents);
    QVERIFY(bus.registerService(name));
    QTRY_VERIFY(saver.m_asked > 0);
    start();
    if (lockIsFirst) {
        Q_EMIT saver.ActiveChanged(true);
        m_portal->closeSessions();
    } else {
        m_portal->closeSessions();
        QTRY_VERIFY(m_backend->problem().contains(QStringLiteral("taken back")));
        Q_EMIT saver.ActiveChanged(true);
    }
    QTRY_VERIFY(m_backend->problem().contains(QStringLiteral("locked")));
    QCOMPARE(m_portal->m_starts, 1);
    Q_EMIT saver.ActiveChanged(false);
    QVERIFY(becomesLive(pattern(SCREEN, 2)));
    QCOMPARE(m_portal->m_questions, 1);
    QCOMPARE(m_log->count(QtWarningMsg, PAUSES), 1);
    bus.unregisterService(name);
    QDBusConnection::disconnectFromBus(QStringLiteral("saver"));
}

void PortalBackendTest::aRestartOfPipeWireIsOvercome()
{
    start();
    m_daemon->kill();
    m_portal->closeSessions(); // as compositors do, whose own streams have gone
    QTRY_VERIFY(!m_backend->fetch(QRect(0, 0, 1, 1)));
    QTRY_VERIFY(m_log->contains(QtWarningMsg, PAUSES));
    m_sources.clear();
    m_portal->m_streams.clear();
    QString problem;
    QVERIFY(m_daemon->start());
    m_producers = PipeWireRemote::connectTo(m_daemon->connection(), problem);
    addSource(SCREEN, QRect(QPoint(), SCREEN));
    QVERIFY(becomesLive(pattern(SCREEN, 3)));
    QCOMPARE(m_portal->m_questions, 1);
    QCOMPARE(m_log->count(QtWarningMsg, PAUSES), 1);
    QCOMPARE(m_log->count(QtInfoMsg, SHOWS), 2);
}

void PortalBackendTest::aRestartOfThePortalIsOvercome()
{
    start();
    m_portal->die();
    QTRY_VERIFY(!m_backend->fetch(QRect(0, 0, 1, 1)));
    QTRY_VERIFY(m_log->contains(QtWarningMsg, PAUSES));
    m_portal->appear();
    QVERIFY(becomesLive(pattern(SCREEN, 3)));
    QCOMPARE(m_portal->m_questions, 1);
    QVERIFY(m_portal->m_starts >= 2);
}

void PortalBackendTest::withoutATokenAnInterruptionNeedsTheUser()
{
    m_portal->m_givesTokens = false;
    start();
    m_sources.clear();
    QTRY_VERIFY(m_backend->problem().contains(QStringLiteral("must ask again")));
    QVERIFY(!m_backend->fetch(QRect(0, 0, 1, 1)));
    QCOMPARE(m_portal->m_questions, 1);
}

void PortalBackendTest::aPausedStreamGivesNoStalePicture()
{
    start();
    VideoSource *source = m_sources.back().get();
    source->setActive(false);
    QTRY_VERIFY(!m_backend->fetch(QRect(0, 0, 1, 1)));
    QTRY_VERIFY(m_backend->screens().isEmpty());
    QTRY_VERIFY(m_backend->problem().contains(QStringLiteral("for now")));
    source->setActive(true);
    QTRY_VERIFY(source->isStreaming());
    QVERIFY(!m_backend->fetch(QRect(0, 0, 1, 1)));
    QVERIFY(becomesLive(pattern(SCREEN, 4)));
    QCOMPARE(m_backend->takeDamage(), QVector<QRect>{QRect(QPoint(), SCREEN)});
    QCOMPARE(m_portal->m_starts, 1);
    QCOMPARE(m_log->count(QtWarningMsg, PAUSES), 1);
}

void PortalBackendTest::aPortalThatFailsIsTriedAgain()
{
    m_portal->m_fails = true;
    m_backend->startWatching();
    QTRY_VERIFY(m_portal->m_failures >= 2);
    m_portal->m_fails = false;
    addSource(SCREEN, QRect(QPoint(), SCREEN));
    QVERIFY(becomesLive(pattern(SCREEN, 1)));
    QVERIFY(m_log->texts(QtWarningMsg).isEmpty());
}

void PortalBackendTest::aPortalThatOnlyFailsIsGivenUp()
{
    m_portal->m_fails = true;
    m_backend->startWatching();
    QTRY_VERIFY_WITH_TIMEOUT(m_backend->problem().contains(QStringLiteral("fails")), PATIENCE_MS);
    const int failures = m_portal->m_failures;
    QVERIFY(failures > 2);
    QVERIFY(failures < 10);
    QTest::qWait(120 * FIRST_RETRY_MS + 100);
    QCOMPARE(m_portal->m_failures, failures);
    QCOMPARE(m_log->count(QtWarningMsg, PAUSES), 1);
}

void PortalBackendTest::withoutAPortalThereIsAReason()
{
    m_portal->m_castsScreens = false;
    m_backend->startWatching();
    QTRY_VERIFY(m_backend->problem().contains(QStringLiteral("no portal")));
    QVERIFY(!m_backend->fetch(QRect(0, 0, 1, 1)));
    QCOMPARE(m_log->count(QtWarningMsg, PAUSES), 1);
}

void PortalBackendTest::aPortalThatComesLaterIsAsked()
{
    m_portal->m_castsScreens = false;
    m_backend->startWatching();
    QTRY_VERIFY(m_backend->problem().contains(QStringLiteral("no portal")));
    m_portal->die();
    m_portal->m_castsScreens = true;
    addSource(SCREEN, QRect(QPoint(), SCREEN));
    m_portal->appear();
    QVERIFY(becomesLive(pattern(SCREEN, 1)));
}

void PortalBackendTest::severalMonitorsMakeOneScreen()
{
    const QSize other(100, 300);
    VideoSource *right = addSource(other, QRect(QPoint(320, -50), other));
    VideoSource *left = addSource(SCREEN, QRect(QPoint(), SCREEN));
    m_backend->startWatching();
    QTRY_VERIFY(right->isStreaming() && left->isStreaming());
    const QImage leftPicture = pattern(SCREEN, 1);
    const QImage rightPicture = pattern(other, 2);
    QVERIFY(QTest::qWaitFor([&] { return left->send(leftPicture); }, PATIENCE_MS));
    QVERIFY(m_backend->screens().isEmpty()); // a picture with a hole is none
    QVERIFY(show(right, rightPicture));
    const QRect leftPlace(QPoint(0, 50), SCREEN);
    const QRect rightPlace(QPoint(320, 0), other);
    QCOMPARE(m_backend->screens(), (QVector<QRect>{rightPlace, leftPlace}));
    QCOMPARE(m_backend->virtualScreen(), QRect(0, 0, 420, 300));
    QCOMPARE(imageOf(m_backend->fetch(leftPlace)), leftPicture);
    QCOMPARE(imageOf(m_backend->fetch(rightPlace)), rightPicture);
    const QImage whole = imageOf(m_backend->fetch(m_backend->virtualScreen()));
    QCOMPARE(whole.copy(leftPlace), leftPicture);
    QCOMPARE(whole.copy(rightPlace), rightPicture);
    QCOMPARE(whole.pixel(10, 10), qRgb(0, 0, 0));
    QCOMPARE(whole.pixel(10, 290), qRgb(0, 0, 0));
    const QRect across(310, 100, 20, 30);
    QCOMPARE(imageOf(m_backend->fetch(across)), whole.copy(across));
    QVERIFY(show(right, pattern(other, 3), {QRect(1, 2, 3, 4)}));
    QCOMPARE(m_backend->takeDamage(), QVector<QRect>{QRect(321, 2, 3, 4)});
    QVERIFY(show(left, pattern(SCREEN, 3), {QRect(1, 2, 3, 4)}));
    QCOMPARE(m_backend->takeDamage(), QVector<QRect>{QRect(1, 52, 3, 4)});
}

void PortalBackendTest::monitorsAtImpossiblePlacesStandSideBySide()
{
    constexpr int most = std::numeric_limits<int>::max();
    VideoSource *first = addSource(SCREEN, QRect(QPoint(most - 1000, 0), SCREEN));
    VideoSource *second = addSource(SCREEN, QRect(QPoint(-most, -most), SCREEN));
    m_backend->startWatching();
    QTRY_VERIFY(first->isStreaming() && second->isStreaming());
    QVERIFY(QTest::qWaitFor([&] { return first->send(pattern(SCREEN, 1)); }, PATIENCE_MS));
    QVERIFY(show(second, pattern(SCREEN, 2)));
    const QRect left(QPoint(), SCREEN);
    const QRect right(QPoint(SCREEN.width(), 0), SCREEN);
    QCOMPARE(m_backend->screens(), (QVector<QRect>{left, right}));
    QCOMPARE(imageOf(m_backend->fetch(right)), pattern(SCREEN, 2));
}

void PortalBackendTest::monitorsOfDifferentScalesKeepTheirPixels()
{
    VideoSource *sharp = addSource(QSize(400, 200), QRect(0, 0, 200, 100));
    VideoSource *plain = addSource(QSize(100, 100), QRect(200, 0, 100, 100));
    m_backend->startWatching();
    QTRY_VERIFY(sharp->isStreaming() && plain->isStreaming());
    const QImage picture = pattern(QSize(400, 200), 1);
    QVERIFY(QTest::qWaitFor([&] { return sharp->send(picture); }, PATIENCE_MS));
    QVERIFY(show(plain, pattern(QSize(100, 100), 2)));
    QCOMPARE(m_backend->screens(),
             (QVector<QRect>{QRect(0, 0, 400, 200), QRect(400, 0, 100, 100)}));
    QCOMPARE(m_backend->tileEdge(), 32);
    QCOMPARE(imageOf(m_backend->fetch(QRect(0, 0, 400, 200))), picture);
}

void PortalBackendTest::aMonitorThatGoesLeavesTheOthers()
{
    VideoSource *stays = addSource(SCREEN, QRect(QPoint(), SCREEN));
    VideoSource *goes = addSource(QSize(64, 64), QRect(320, 0, 64, 64));
    m_backend->startWatching();
    QTRY_VERIFY(stays->isStreaming() && goes->isStreaming());
    const QImage picture = pattern(SCREEN, 1);
    QVERIFY(QTest::qWaitFor([&] { return stays->send(picture); }, PATIENCE_MS));
    QVERIFY(show(goes, pattern(QSize(64, 64), 2)));
    QCOMPARE(m_backend->screens().size(), 2);
    m_sources.pop_back();
    QTRY_COMPARE(m_backend->screens(), QVector<QRect>{QRect(QPoint(), SCREEN)});
    QCOMPARE(imageOf(m_backend->fetch(QRect(QPoint(), SCREEN))), picture);
    QVERIFY(m_log->texts(QtWarningMsg).isEmpty());
}

void PortalBackendTest::aNewSizeIsTold()
{
    start();
    const QSize larger(500, 300);
    QSignalSpy layout(m_backend.get(), &ScreenBackend::layoutChanged);
    VideoSource *source = m_sources.back().get();
    source->resize(larger);
    QTRY_COMPARE(source->agreedSize(), larger);
    QVERIFY(becomesLive(pattern(larger, 2)));
    QVERIFY(layout.count() >= 1);
    QCOMPARE(m_backend->virtualScreen(), QRect(QPoint(), larger));
    QVERIFY(m_log->texts(QtWarningMsg).isEmpty());
    QCOMPARE(m_portal->m_starts, 1);
}

// What the recorder sees: changes are told while there are pictures, none while there are none, and
// again afterwards.
void PortalBackendTest::theContentWatchFollowsThroughAnInterruption()
{
    ContentWatch watch(*m_backend, 20);
    QSignalSpy changed(&watch, &ContentWatch::changed);
    addSource(SCREEN, QRect(QPoint(), SCREEN));
    QVERIFY(watch.watch(90.0));
    QVERIFY(becomesLive(pattern(SCREEN, 1)));
    QTRY_VERIFY(!changed.isEmpty());
    QVERIFY(watch.takePicture(QRect(QPoint(), SCREEN)));
    QVERIFY(show(m_sources.back().get(), pattern(SCREEN, 2)));
    changed.clear();
    QTRY_VERIFY(!changed.isEmpty());
    m_sources.back()->setActive(false);
    QTRY_VERIFY(m_backend->problem().contains(QStringLiteral("for now")));
    changed.clear();
    QTest::qWait(100);
    QVERIFY(changed.isEmpty());
    m_sources.back()->setActive(true);
    QVERIFY(becomesLive(pattern(SCREEN, 3)));
    QTRY_VERIFY(!changed.isEmpty());
    QCOMPARE(imageOf(watch.takePicture(QRect(QPoint(), SCREEN))), pattern(SCREEN, 3));
    watch.unwatch();
    QTRY_VERIFY(m_portal->m_sessions.isEmpty());
}

void PortalBackendTest::aStillScreenCostsNoWakeUps()
{
    start();
    QTest::qWait(700); // what is still under way
    const qint64 before = wakeUps(QCoreApplication::applicationPid());
    QEventLoop loop;
    QTimer::singleShot(2000, &loop, &QEventLoop::quit);
    loop.exec();
    QVERIFY2(wakeUps(QCoreApplication::applicationPid()) - before <= 4,
             qPrintable(QString::number(wakeUps(QCoreApplication::applicationPid()) - before)));
    QVERIFY(m_backend->fetch(QRect(QPoint(), SCREEN)));
}

QTEST_GUILESS_MAIN(PortalBackendTest)
#include "portalbackendtest.moc"
