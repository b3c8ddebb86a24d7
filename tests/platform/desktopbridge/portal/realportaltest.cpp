// The portal backend with the portal that is installed here and a real PipeWire: requests,
// sessions, kept permissions and connections are theirs; the desktop behind the portal is the test.

#include "realportal.h"
#include "desktopbridge/portal/portalbackend.h"
#include "imageof.h"
#include "pipewire/pipewiredaemon.h"
#include "pipewire/videosource.h"
#include "support/logcapture.h"

#include <QFile>
#include <QTest>

namespace
{
constexpr QSize SCREEN(320, 200);
constexpr int PATIENCE_MS = 15000;

} // namespace

class RealPortalTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();

    void picturesComeThrough();
    void theWishesReachTheDesktop();
    void theQuestionComesOnce();
    void aRefusalIsUnderstood();
    void aKilledPortalIsOvercome();
    void aKilledPipeWireIsOvercome();

private:
    void makeBackend();
    void makeSource();
    bool shows(int seed);

    std::unique_ptr<PipeWireDaemon> m_daemon;
    std::unique_ptr<PipeWireRemote> m_producers;
    std::unique_ptr<VideoSource> m_source;
    std::unique_ptr<RealPortal> m_portal;
    std::unique_ptr<QTemporaryDir> m_folder;
    std::unique_ptr<PortalBackend> m_backend;
};

void RealPortalTest::initTestCase()
{
    for (const QString &missing : {PipeWireDaemon::missing(), RealPortal::missing()}) {
        if (!missing.isEmpty()) {
            QSKIP(qPrintable(missing));
        }
    }
}

void RealPortalTest::init()
{
    m_daemon = std::make_unique<PipeWireDaemon>();
    QVERIFY(m_daemon->start());
    m_portal = std::make_unique<RealPortal>();
    QVERIFY(m_portal->start());
    makeSource();
    m_folder = std::make_unique<QTemporaryDir>();
    makeBackend();
}

void RealPortalTest::cleanup()
{
    m_backend.reset();
    QDBusConnection::disconnectFromBus(QStringLiteral("session"));
    m_source.reset();
    m_producers.reset();
    m_portal.reset();
    m_daemon.reset();
}

void RealPortalTest::makeBackend()
{
    m_backend = std::make_unique<PortalBackend>(
        m_portal->bus().connect(QStringLiteral("session")),
        QDBusConnection(QStringLiteral("no system bus")), nullptr,
        RestoreToken(m_folder->filePath(QStringLiteral("token"))), 200);
}

void RealPortalTest::makeSource()
{
    QString problem;
    m_producers = PipeWireRemote::connectTo(m_daemon->connection(), problem);
    QVERIFY(m_producers);
    m_source = std::make_unique<VideoSource>(*m_producers, SCREEN);
    m_portal->m_node = m_source->node();
}

bool RealPortalTest::shows(int seed)
{
    const QImage picture = pattern(SCREEN, seed);
    return QTest::qWaitFor(
        [&] {
            m_source->send(picture);
            return imageOf(m_backend->fetch(QRect(QPoint(), SCREEN))) == picture;
        },
        PATIENCE_MS);
}

void RealPortalTest::picturesComeThrough()
{
    QVERIFY(m_backend->startWatching());
    QVERIFY(shows(1));
    QVERIFY(shows(2));
    QCOMPARE(m_portal->m_questions, 1);
    m_backend->stopWatching();
    QTRY_VERIFY_WITH_TIMEOUT(!m_source->isStreaming(), PATIENCE_MS);
}

void RealPortalTest::theWishesReachTheDesktop()
{
    m_backend->startWatching();
    QVERIFY(shows(1));
    QCOMPARE(m_portal->m_sources.value(QStringLiteral("types")), QVariant(1U));
    QCOMPARE(m_portal->m_sources.value(QStringLiteral("multiple")), QVariant(true));
    QCOMPARE(m_portal->m_sources.value(QStringLiteral("cursor_mode")), QVariant(1U));
    QCOMPARE(m_portal->m_sources.value(QStringLiteral("persist_mode")), QVariant(2U));
}

void RealPortalTest::theQuestionComesOnce()
{
    m_backend->startWatching();
    QVERIFY(shows(1));
    for (int start = 1; start <= 2; ++start) {
        m_backend.reset();
        makeBackend();
        m_backend->startWatching();
        QVERIFY(shows(1 + start));
        QCOMPARE(m_portal->m_restored, start);
    }
    QCOMPARE(m_portal->m_questions, 1);
}

void RealPortalTest::aRefusalIsUnderstood()
{
    m_portal->m_saysYes = false;
    m_backend->startWatching();
    QTRY_VERIFY_WITH_TIMEOUT(m_backend->problem().contains(QStringLiteral("not allowed")),
                             PATIENCE_MS);
    QTest::qWait(700);
    QCOMPARE(m_portal->m_questions, 1);
    QVERIFY(!QFile::exists(m_folder->filePath(QStringLiteral("token"))));
}

void RealPortalTest::aKilledPortalIsOvercome()
{
    const LogCapture log;
    m_backend->startWatching();
    QVERIFY(shows(1));
    m_portal->kill();
    QTRY_VERIFY_WITH_TIMEOUT(!m_backend->fetch(QRect(0, 0, 1, 1)), PATIENCE_MS);
    QVERIFY(m_portal->start());
    QVERIFY(shows(2));
    QCOMPARE(m_portal->m_questions, 1);
    QCOMPARE(m_portal->m_restored, 1);
    QVERIFY(log.count(QtWarningMsg, QStringLiteral("Recording pauses:")) >= 1);
}

void RealPortalTest::aKilledPipeWireIsOvercome()
{
    m_backend->startWatching();
    QVERIFY(shows(1));
    m_daemon->kill();
    QTRY_VERIFY_WITH_TIMEOUT(!m_backend->fetch(QRect(0, 0, 1, 1)), PATIENCE_MS);
    m_source.reset();
    m_producers.reset();
    QVERIFY(m_daemon->start());
    makeSource();
    QVERIFY(shows(2));
    QCOMPARE(m_portal->m_questions, 1);
}

QTEST_GUILESS_MAIN(RealPortalTest)
#include "realportaltest.moc"
