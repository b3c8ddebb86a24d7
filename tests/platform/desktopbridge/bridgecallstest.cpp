// The bridge as a process on a private bus and a virtual display: what callers get, pictures
// through pipes and the process of the active window.

#include "bridgeprocess.h"
#include "callerfixture.h"
#include "pipereader.h"

#include <QDBusError>
#include <QDBusPendingCall>
#include <QDBusReply>
#include <QDBusUnixFileDescriptor>
#include <QElapsedTimer>
#include <QProcess>
#include <QTest>

class BridgeCallsTest : public CallerFixture
{
    Q_OBJECT

private Q_SLOTS:
    void pictureEqualsAnotherGrab_data();
    void pictureEqualsAnotherGrab();
    void pictureWithPointerIsThePictureWithout();
    void indexOfNoScreenIsAnError_data();
    void indexOfNoScreenIsAnError();
    void readerThatNeverReadsBlocksNobody();
    void readersThatNeverReadAreBounded();
    void twoRequestsAtOnce();
    void readerThatClosesEarlyDoesNoHarm();

    void processOfTheActiveWindow();

private:
    static constexpr QRect SCREEN{QPoint(0, 0), SCREEN_SIZE};
};

void BridgeCallsTest::pictureEqualsAnotherGrab_data()
{
    QTest::addColumn<int>("screen");
    QTest::newRow("primary screen") << 0;
    QTest::newRow("all screens") << -1;
}

void BridgeCallsTest::pictureEqualsAnotherGrab()
{
    QFETCH(int, screen);
    const auto window = m_screen->makeWindow(QRect(500, 300, 401, 303));
    m_screen->fillWithPattern(window, QSize(401, 303));
    const QImage picture = PipeReader::picture(screen);
    QCOMPARE(picture.size(), SCREEN_SIZE);
    QCOMPARE(picture.format(), QImage::Format_RGB32);
    QCOMPARE(picture, m_screen->grab(SCREEN));
    QCOMPARE(picture.pixel(501, 300), QRgb(0xff000000 | 7919));
}

void BridgeCallsTest::pictureWithPointerIsThePictureWithout()
{
    m_screen->makeWindow(QRect(0, 0, 200, 200), 0x202020);
    m_screen->movePointer(QPoint(100, 100));
    PipeReader reader;
    QCOMPARE(Bridge::errorOf(reader.call(0, false)), QString());
    const QImage picture = PipeReader::image(reader.readAll()).copy(50, 50, 100, 100);
    QImage plain(100, 100, QImage::Format_RGB32);
    plain.fill(QRgb(0xff202020));
    QCOMPARE(picture, plain);
}

void BridgeCallsTest::indexOfNoScreenIsAnError_data()
{
    QTest::addColumn<int>("screen");
    QTest::newRow("one too many") << 1;
    QTest::newRow("far too many") << 1000000;
    QTest::newRow("below all screens") << -2;
}

void BridgeCallsTest::indexOfNoScreenIsAnError()
{
    QFETCH(int, screen);
    PipeReader reader;
    QCOMPARE(Bridge::errorOf(reader.call(screen)),
             QDBusError::errorString(QDBusError::InvalidArgs));
    QCOMPARE(reader.readAll(), QByteArray());
    QVERIFY(reader.sawEnd());
}

void BridgeCallsTest::readerThatNeverReadsBlocksNobody()
{
    PipeReader stuck;
    QElapsedTimer timer;
    timer.start();
    QCOMPARE(Bridge::errorOf(stuck.call(0)), QString());
    QCOMPARE(PipeReader::picture(0).size(), SCREEN_SIZE);
    QCOMPARE(Bridge::errorOf(Bridge::call(QStringLiteral("getActiveWindowPid"))), QString());
    QVERIFY2(timer.elapsed() < 3000, qPrintable(QString::number(timer.elapsed())));

    // As long as nobody reads, the end of the file stands behind what the pipe holds; the write
    // end closed shows as a hang-up.
    const auto writerGone = [&] { return PipeReader::hasHungUp(stuck.readEnd()); };
    QVERIFY(!writerGone());
    QTRY_VERIFY_WITH_TIMEOUT(writerGone(), 8000);
    QVERIFY2(timer.elapsed() >= 4900, qPrintable(QString::number(timer.elapsed())));
    QVERIFY(stuck.readAll().size() < 12 + SCREEN_SIZE.width() * SCREEN_SIZE.height() * 4);
}

void BridgeCallsTest::readersThatNeverReadAreBounded()
{
    PipeReader readers[4];
    for (int index = 0; index < 3; ++index) {
        QCOMPARE(Bridge::errorOf(readers[index].call(0)), QString());
    }
    QCOMPARE(Bridge::errorOf(readers[3].call(0)),
             QDBusError::errorString(QDBusError::LimitsExceeded));
    readers[0].closeReadEnd();
    QTRY_COMPARE(PipeReader::picture(0).size(), SCREEN_SIZE);
}

void BridgeCallsTest::twoRequestsAtOnce()
{
    const auto window = m_screen->makeWindow(QRect(0, 0, 300, 300));
    m_screen->fillWithPattern(window, QSize(300, 300));
    const QImage expected = m_screen->grab(SCREEN);
    QDBusConnection bus = QDBusConnection::sessionBus();
    PipeReader readers[2];
    QVector<QDBusPendingCall> calls;
    for (PipeReader &reader : readers) {
        QDBusMessage message = QDBusMessage::createMethodCall(
            Bridge::WINDOW_MANAGER, QStringLiteral("/Screenshot"),
            QStringLiteral("org.vesk.kwin.Screenshot"), QStringLiteral("screenshotFullscreen"));
        message << QVariant::fromValue(QDBusUnixFileDescriptor(reader.writeEnd())) << true << 0;
        reader.closeWriteEnd();
        calls.append(bus.asyncCall(message));
    }
    for (QDBusPendingCall &call : calls) {
        call.waitForFinished();
        QVERIFY(!call.isError());
    }
    calls.clear(); // each held a copy of its write end
    // In the other order: neither waits for the other.
    QCOMPARE(PipeReader::image(readers[1].readAll()), expected);
    QCOMPARE(PipeReader::image(readers[0].readAll()), expected);
}

void BridgeCallsTest::readerThatClosesEarlyDoesNoHarm()
{
    {
        PipeReader reader;
        reader.closeReadEnd();
        QCOMPARE(Bridge::errorOf(reader.call(0)), QString());
    }
    const uint process = Bridge::ownerOf(Bridge::WINDOW_MANAGER);
    for (int round = 0; round < 10; ++round) {
        PipeReader reader;
        QCOMPARE(Bridge::errorOf(reader.call(0)), QString());
        reader.closeReadEnd();
        QTest::qWait(20);
    }
    QCOMPARE(PipeReader::picture(0).size(), SCREEN_SIZE);
    QCOMPARE(Bridge::ownerOf(Bridge::WINDOW_MANAGER), process);
}

void BridgeCallsTest::processOfTheActiveWindow()
{
    const auto pid = [] {
        return QDBusReply<uint>(Bridge::call(QStringLiteral("getActiveWindowPid"))).value();
    };
    QCOMPARE(pid(), 0U);
    QProcess terminal;
    terminal.start(QStringLiteral("xterm"), {QStringLiteral("-e"), QStringLiteral("sleep 60")});
    QVERIFY(terminal.waitForStarted());
    QTRY_COMPARE_WITH_TIMEOUT(pid(), uint(terminal.processId()), 15000);
    terminal.kill();
    terminal.waitForFinished();
    QTRY_COMPARE(pid(), 0U);
}

QTEST_GUILESS_MAIN(BridgeCallsTest)
#include "bridgecallstest.moc"
