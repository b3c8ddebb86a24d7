// The tracker's channel to the compositor, with a compositor that misbehaves in every way; the
// fallback grabs a real X screen.

#include "capture/capturefixture.h"
#include "capture/screenhistorytracker.h"
#include "desktopbridge/fake/fakedesktop.h"
#include "support/logcapture.h"
#include "support/pictures.h"
#include "video/videocomposer.h"

#include <QDir>
#include <QElapsedTimer>
#include <QGuiApplication>
#include <QScreen>
#include <QTest>

#include <sys/resource.h>

using Screenshot = FakeDesktop::Screenshot;

class TestCompositorChannel : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void thePictureArrivesPixelForPixel_data();
    void thePictureArrivesPixelForPixel();
    void aFailureGivesNoPictureAndItsWarnings_data();
    void aFailureGivesNoPictureAndItsWarnings();
    void anAbsentServiceFailsWithoutTheWait();
    void aSilentServiceTakesFiveSeconds();
    void noDescriptorLeftFailsAtOnce();
    void theCallAsksForThePrimaryScreenWithoutPointer();
    void theThresholdIsSetOnceAtTheStart();
    void aThousandCapturesLeaveNoDescriptorOpen();
    void withoutCompositorTheToolkitGrabsTheScreen();

    void theEntryOfTheApplicationInFront();
    void aBusErrorGivesNoEntryAndNoWord();
    void theOwnWindowInFrontGivesNoEntry();
    void aVanishedProcessGivesNoEntryAndItsWarnings();
    void anotherIntegerTypeOfTheProcessIdIsConverted();
    void aProcessIdThatIsNoNumberCountsAsZero();

private:
    std::unique_ptr<FakeDesktop> m_desktop;
    std::unique_ptr<ScreenHistoryTracker> m_tracker;
};

void TestCompositorChannel::init()
{
    m_desktop = std::make_unique<FakeDesktop>();
    m_tracker = std::make_unique<ScreenHistoryTracker>();
}

void TestCompositorChannel::cleanup()
{
    m_tracker.reset();
    m_desktop.reset();
}

void TestCompositorChannel::thePictureArrivesPixelForPixel_data()
{
    QTest::addColumn<QImage>("picture");
    QTest::newRow("small") << Pictures::numbered(1, QSize(64, 48));
    QTest::newRow("larger than a pipe") << Pictures::numbered(2, QSize(1920, 1080));
    QTest::newRow("rows padded to 32 bits")
        << Pictures::numbered(3, QSize(333, 77)).convertToFormat(QImage::Format_RGB888);
    QTest::newRow("one pixel") << Pictures::numbered(4, QSize(1, 1));
}

void TestCompositorChannel::thePictureArrivesPixelForPixel()
{
    QFETCH(QImage, picture);
    m_desktop->setImage(picture);
    const QImage got = m_tracker->getScreenShotFromWM();
    QCOMPARE(got.format(), picture.format());
    QCOMPARE(got, picture);
}

void TestCompositorChannel::aFailureGivesNoPictureAndItsWarnings_data()
{
    QTest::addColumn<int>("behaviour");
    QTest::addColumn<QStringList>("warnings");

    const QString noHeader = QStringLiteral("Failed to load image metadata.");
    const QString shortHeader = QStringLiteral("Reached EOF before reading all metadata.");
    const QString shortPixels = QStringLiteral("Reached EOF before reading all image data.");
    QTest::newRow("closed after 7 bytes")
        << static_cast<int>(Screenshot::CloseAfter7Bytes) << QStringList{shortHeader, noHeader};
    QTest::newRow("closed in the middle of the pixels")
        << static_cast<int>(Screenshot::CloseInsidePixels) << QStringList{shortPixels};
    QTest::newRow("closed after the header")
        << static_cast<int>(Screenshot::CloseAfterMetadata) << QStringList{shortPixels};
    QTest::newRow("call refused") << static_cast<int>(Screenshot::ReplyError)
                                  << QStringList{shortHeader, noHeader};
    QTest::newRow("format that is none") << static_cast<int>(Screenshot::BadFormat)
                                         << QStringList{QStringLiteral("Failed to create QImage.")};
}

void TestCompositorChannel::aFailureGivesNoPictureAndItsWarnings()
{
    QFETCH(int, behaviour);
    QFETCH(QStringList, warnings);
    m_desktop->setScreenshot(static_cast<Screenshot>(behaviour));
    const LogCapture log;
    QVERIFY(m_tracker->getScreenShotFromWM().isNull());
    QCOMPARE(log.texts(QtWarningMsg), warnings);
}

void TestCompositorChannel::anAbsentServiceFailsWithoutTheWait()
{
    QVERIFY(m_desktop->setNames(FakeDesktop::NoName));
    const LogCapture log;
    QElapsedTimer timer;
    timer.start();
    QVERIFY(m_tracker->getScreenShotFromWM().isNull());
    QVERIFY(timer.elapsed() < 4000);
    QCOMPARE(log.texts(QtWarningMsg),
             QStringList({QStringLiteral("Reached EOF before reading all metadata."),
                          QStringLiteral("Failed to load image metadata.")}));
}

void TestCompositorChannel::aSilentServiceTakesFiveSeconds()
{
    m_desktop->setScreenshot(Screenshot::Silent);
    const LogCapture log;
    QElapsedTimer timer;
    timer.start();
    QVERIFY(m_tracker->getScreenShotFromWM().isNull());
    QVERIFY(timer.elapsed() >= 5000);
    QCOMPARE(log.texts(QtWarningMsg),
             QStringList({QStringLiteral("select() timeout, no data available"),
                          QStringLiteral("Failed to load image metadata.")}));
}

void TestCompositorChannel::noDescriptorLeftFailsAtOnce()
{
    rlimit before{};
    QCOMPARE(getrlimit(RLIMIT_NOFILE, &before), 0);
    const rlimit none{3, before.rlim_max};
    // The encoder's thread, which has to be up by then, needs some for itself.
    QMetaObject::invokeMethod(
        m_tracker->videoComposer(), [] {}, Qt::BlockingQueuedConnection);
    const LogCapture log;
    QCOMPARE(setrlimit(RLIMIT_NOFILE, &none), 0);
    const QImage image = m_tracker->getScreenShotFromWM();
    QCOMPARE(setrlimit(RLIMIT_NOFILE, &before), 0);
    QVERIFY(image.isNull());
    QCOMPARE(log.texts(QtWarningMsg), QStringList(QStringLiteral("pipe2 failed")));
}

void TestCompositorChannel::theCallAsksForThePrimaryScreenWithoutPointer()
{
    m_tracker->getScreenShotFromWM();
    const auto calls = m_desktop->screenshotCalls();
    QCOMPARE(calls.size(), 1);
    QCOMPARE(calls.first().withoutPointer, true);
    QCOMPARE(calls.first().screen,
             QGuiApplication::screens().indexOf(QGuiApplication::primaryScreen()));
}

void TestCompositorChannel::theThresholdIsSetOnceAtTheStart()
{
    QCOMPARE(m_desktop->thresholds(), QVector<double>{90.0});
}

void TestCompositorChannel::aThousandCapturesLeaveNoDescriptorOpen()
{
    // What a capture opens. Threads open descriptors of other kinds when they come to life.
    const auto openPipes = [] {
        QStringList pipes;
        const QFileInfoList links =
            QDir(QStringLiteral("/proc/self/fd"))
                .entryInfoList(QDir::AllEntries | QDir::System | QDir::NoDotAndDotDot);
        for (const QFileInfo &link : links) {
            pipes.append(link.symLinkTarget());
        }
        return pipes.filter(QStringLiteral("pipe:")).size();
    };
    int captures = 0;
    const auto captureSome = [this, &captures](int count) {
        for (int capture = 0; capture < count; ++capture, ++captures) {
            const bool fails = capture % 4 == 0;
            m_desktop->setScreenshot(fails ? Screenshot::CloseInsidePixels : Screenshot::Normal);
            QCOMPARE(m_tracker->getScreenShotFromWM().isNull(), fails);
        }
        QTRY_COMPARE(m_desktop->screenshotsClosed(), captures);
    };
    const int before = openPipes();
    captureSome(1000);
    QTRY_COMPARE(openPipes(), before);
}

void TestCompositorChannel::withoutCompositorTheToolkitGrabsTheScreen()
{
    QVERIFY(m_desktop->setNames(FakeDesktop::NoName));
    const QImage image = m_tracker->takeScreenShot();
    QCOMPARE(image.size(), QGuiApplication::primaryScreen()->size());
}

void TestCompositorChannel::theEntryOfTheApplicationInFront()
{
    const CaptureFixture::Application application(CaptureFixture::Application::FileManager);
    m_desktop->setActivePid(application.pid());
    QCOMPARE(m_tracker->getAppDesktopEntry(), application.desktopEntry());
}

void TestCompositorChannel::aBusErrorGivesNoEntryAndNoWord()
{
    m_desktop->setActivePidError(true);
    const LogCapture log;
    QVERIFY(m_tracker->getAppDesktopEntry().isEmpty());
    QCOMPARE(log.texts(), QStringList());
}

void TestCompositorChannel::theOwnWindowInFrontGivesNoEntry()
{
    m_desktop->setActivePid(static_cast<quint32>(QCoreApplication::applicationPid()));
    const LogCapture log;
    QVERIFY(m_tracker->getAppDesktopEntry().isEmpty());
    QCOMPARE(log.texts(QtDebugMsg),
             QStringList(QStringLiteral("The active window is itself, do nothing!")));
}

void TestCompositorChannel::aVanishedProcessGivesNoEntryAndItsWarnings()
{
    quint32 pid = 0;
    {
        const CaptureFixture::Application gone(CaptureFixture::Application::FileManager);
        pid = gone.pid();
    }
    m_desktop->setActivePid(pid);
    const LogCapture log;
    QVERIFY(m_tracker->getAppDesktopEntry().isEmpty());
    QCOMPARE(log.count(QtWarningMsg, QStringLiteral("cmdlineFile open failed!")), 1);
    QCOMPARE(log.texts().filter(QStringLiteral("Warning: procCmdline is empty!")).size(), 1);
}

void TestCompositorChannel::anotherIntegerTypeOfTheProcessIdIsConverted()
{
    const CaptureFixture::Application application(CaptureFixture::Application::FileManager);
    m_desktop->setActivePidReply(static_cast<qlonglong>(application.pid()));
    QCOMPARE(m_tracker->getAppDesktopEntry(), application.desktopEntry());
}

void TestCompositorChannel::aProcessIdThatIsNoNumberCountsAsZero()
{
    m_desktop->setActivePidReply(QStringLiteral("none"));
    const LogCapture log;
    QVERIFY(m_tracker->getAppDesktopEntry().isEmpty());
    QCOMPARE(log.texts().filter(QStringLiteral("Warning: procCmdline is empty!")).size(), 1);
}

QTEST_MAIN(TestCompositorChannel)
#include "compositorchanneltest.moc"
