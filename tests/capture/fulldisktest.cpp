// A recorder whose home is full, in the middle of a batch and between rows, and has room again.

#include "capture/capturefixture.h"
#include "capture/screenhistorytracker.h"
#include "desktopbridge/fake/fakedesktop.h"
#include "support/fakeclock.h"
#include "support/logcapture.h"
#include "support/pictures.h"
#include "video/videocomposer.h"

#include <QDir>
#include <QTemporaryDir>
#include <QTest>

#include <sys/mount.h>

using CaptureFixture::filesIn;
using CaptureFixture::storedRows;
using CaptureFixture::todayDirectory;

class TestFullDisk : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void cleanupTestCase();
    void init();
    void cleanup();

    void rowsAndCopiesComeBackWhenThereIsRoomAgain();
    void aBatchThatFoundNoRoomIsConvertedAtTheNextStart();

private:
    void keep(int count);
    void fillUp();
    void makeRoom();
    void verifyEveryRowHasItsFrame();

    QTemporaryDir m_home;
    bool m_mounted = false;
    std::unique_ptr<FakeDesktop> m_desktop;
    std::unique_ptr<CaptureFixture::Application> m_application;
    std::unique_ptr<ScreenHistoryTracker> m_tracker;
    int m_next = 0;
};

void TestFullDisk::initTestCase()
{
    m_mounted = ::mount("none", m_home.path().toLocal8Bit().constData(), "tmpfs", 0,
                        "size=16m,mode=0700") == 0;
    if (!m_mounted) {
        QSKIP("a small file system cannot be mounted without the right to mount");
    }
    qputenv("HOME", m_home.path().toLocal8Bit());
    m_desktop = std::make_unique<FakeDesktop>();
    m_application =
        std::make_unique<CaptureFixture::Application>(CaptureFixture::Application::FileManager);
    m_desktop->setActivePid(m_application->pid());
}

void TestFullDisk::cleanupTestCase()
{
    if (m_mounted) {
        // Lazily: SQLite's connections stay open until the process ends.
        ::umount2(m_home.path().toLocal8Bit().constData(), MNT_DETACH);
    }
}

void TestFullDisk::init()
{
    FakeClock::set(QDateTime(QDate(2024, 3, 5), QTime(14, 7, 31)));
    CaptureFixture::eraseEverything();
    m_tracker = std::make_unique<ScreenHistoryTracker>();
}

void TestFullDisk::cleanup()
{
    m_tracker.reset();
    makeRoom();
    FakeClock::reset();
}

void TestFullDisk::keep(int count)
{
    for (int frame = 0; frame < count; ++frame) {
        m_tracker->screenshotReady(Pictures::numbered(++m_next));
    }
}

void TestFullDisk::fillUp()
{
    QFile filler(m_home.filePath(QStringLiteral("filler")));
    QVERIFY(filler.open(QIODevice::WriteOnly | QIODevice::Unbuffered));
    for (const int block : {1 << 20, 1 << 12, 1}) {
        const QByteArray bytes(block, 'x');
        while (filler.write(bytes) == block) {
        }
    }
}

void TestFullDisk::makeRoom()
{
    QFile::remove(m_home.filePath(QStringLiteral("filler")));
}

void TestFullDisk::verifyEveryRowHasItsFrame()
{
    for (const ScreenShotData &row : storedRows()) {
        const QString video = todayDirectory() + QLatin1Char('/') + row.videoName;
        QVERIFY2(VideoComposer::getFrameNumberFromVideo(video) >= row.frameIndexOfVideo,
                 qPrintable(
                     QStringLiteral("%1 frame %2").arg(row.videoName).arg(row.frameIndexOfVideo)));
    }
}

void TestFullDisk::rowsAndCopiesComeBackWhenThereIsRoomAgain()
{
    keep(3);
    fillUp();
    {
        const LogCapture log;
        keep(3);
        QVERIFY(log.contains(QtDebugMsg, QStringLiteral("Error executing statement: ")));
    }
    QCOMPARE(storedRows().size(), 3);

    makeRoom();
    keep(3);
    QCOMPARE(storedRows().size(), 6);
    QCOMPARE(storedRows().last().frameIndexOfVideo, 9U);
    m_tracker.reset();
    // The frames without a copy were in memory, so no index has moved.
    QCOMPARE(VideoComposer::getFrameNumberFromVideo(todayDirectory() + QLatin1Char('/') +
                                                    storedRows().last().videoName),
             9U);
    verifyEveryRowHasItsFrame();
}

void TestFullDisk::aBatchThatFoundNoRoomIsConvertedAtTheNextStart()
{
    keep(20);
    const QStringList copies = filesIn(todayDirectory(), QStringLiteral("*.png"));
    QCOMPARE(copies.size(), 20);
    fillUp();
    m_tracker.reset();
    QCOMPARE(filesIn(todayDirectory(), QStringLiteral("*.png")), copies);

    makeRoom();
    FakeClock::advance(60);
    m_tracker = std::make_unique<ScreenHistoryTracker>();
    QCOMPARE(filesIn(todayDirectory(), QStringLiteral("*.png")), QStringList());
    QCOMPARE(storedRows().size(), 20);
    verifyEveryRowHasItsFrame();
}

QTEST_MAIN(TestFullDisk)
#include "fulldisktest.moc"
