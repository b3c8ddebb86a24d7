// The fake desktop that other tests rely on: each behaviour as a caller with a blocked main thread
// sees it.

#include "desktopbridge/fake/fakedesktop.h"
#include "pipereader.h"

#include <QDBusConnectionInterface>
#include <QDBusInterface>
#include <QDBusReply>
#include <QElapsedTimer>
#include <QTest>

namespace
{
const QString WINDOW_MANAGER = QStringLiteral("org.vesk.KWin");
const QString SCREEN_SAVER = QStringLiteral("org.vesk.ScreenSaver");

QImage coloured()
{
    QImage image(320, 200, QImage::Format_RGB32);
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            image.setPixel(x, y, qRgb(x, y, x ^ y));
        }
    }
    return image;
}

bool registered(const QString &name)
{
    return QDBusConnection::sessionBus().interface()->isServiceRegistered(name);
}

QDBusMessage callWindowManager(const QString &method, const QVariantList &arguments = {})
{
    QDBusInterface object(WINDOW_MANAGER, QStringLiteral("/KWin"), WINDOW_MANAGER);
    return object.callWithArgumentList(QDBus::Block, method, arguments);
}
} // namespace

class FakeDesktopTest : public QObject
{
    Q_OBJECT

public Q_SLOTS:
    void onChanged(double rate) { m_rates.append(rate); }
    void onLock() { m_locks.append(QStringLiteral("lock")); }
    void onUnlock() { m_locks.append(QStringLiteral("unlock")); }

private Q_SLOTS:
    void takesAndGivesUpNames();
    void leavesANameToItsOwner();
    void sendsThePicture_data();
    void sendsThePicture();
    void breaksThePicture_data();
    void breaksThePicture();
    void silentKeepsThePipeOpen();
    void slowComesLate();
    void errorReplyClosesThePipe();
    void survivesAReaderThatCloses();
    void remembersTheArguments();
    void answersThePid();
    void answersTheThreshold();
    void emitsSignals();

private:
    QVector<double> m_rates;
    QStringList m_locks;
};

void FakeDesktopTest::takesAndGivesUpNames()
{
    FakeDesktop desktop(FakeDesktop::ScreenSaver);
    QCOMPARE(desktop.ownsNames(), FakeDesktop::Names(FakeDesktop::ScreenSaver));
    QVERIFY(!registered(WINDOW_MANAGER));
    QVERIFY(registered(SCREEN_SAVER));
    QVERIFY(desktop.setNames(FakeDesktop::WindowManager));
    QVERIFY(registered(WINDOW_MANAGER));
    QVERIFY(!registered(SCREEN_SAVER));
    QVERIFY(desktop.setNames(FakeDesktop::NoName));
    QVERIFY(!registered(WINDOW_MANAGER));
    QCOMPARE(callWindowManager(QStringLiteral("getActiveWindowPid")).type(),
             QDBusMessage::ErrorMessage);
}

void FakeDesktopTest::leavesANameToItsOwner()
{
    FakeDesktop first(FakeDesktop::WindowManager);
    FakeDesktop second;
    QCOMPARE(second.ownsNames(), FakeDesktop::Names(FakeDesktop::ScreenSaver));
    QVERIFY(!second.setNames(FakeDesktop::WindowManager));
}

void FakeDesktopTest::sendsThePicture_data()
{
    QTest::addColumn<QImage>("image");
    QTest::newRow("32 bit") << coloured();
    QTest::newRow("rows padded")
        << coloured().copy(0, 0, 33, 20).convertToFormat(QImage::Format_RGB888);
    QTest::newRow("larger than any pipe")
        << coloured().scaled(1600, 1200).convertToFormat(QImage::Format_RGB32);
}

void FakeDesktopTest::sendsThePicture()
{
    QFETCH(QImage, image);
    FakeDesktop desktop;
    desktop.setImage(image);
    QCOMPARE(PipeReader::picture(0), image);
}

void FakeDesktopTest::breaksThePicture_data()
{
    QTest::addColumn<FakeDesktop::Screenshot>("behaviour");
    QTest::addColumn<int>("bytes");
    const int pixels = int(coloured().sizeInBytes());
    QTest::newRow("7 bytes") << FakeDesktop::Screenshot::CloseAfter7Bytes << 7;
    QTest::newRow("header only") << FakeDesktop::Screenshot::CloseAfterMetadata << 12;
    QTest::newRow("inside pixels") << FakeDesktop::Screenshot::CloseInsidePixels << 12 + pixels / 2;
    QTest::newRow("bad format") << FakeDesktop::Screenshot::BadFormat << 12 + pixels;
}

void FakeDesktopTest::breaksThePicture()
{
    QFETCH(FakeDesktop::Screenshot, behaviour);
    QFETCH(int, bytes);
    FakeDesktop desktop;
    desktop.setImage(coloured());
    desktop.setScreenshot(behaviour);
    PipeReader reader;
    QCOMPARE(reader.call(0).type(), QDBusMessage::ReplyMessage);
    const QByteArray received = reader.readAll();
    QVERIFY(reader.sawEnd());
    QCOMPARE(received.size(), bytes);
    if (behaviour == FakeDesktop::Screenshot::BadFormat) {
        qint32 format = 0;
        memcpy(&format, received.constData() + 8, sizeof(format));
        QCOMPARE(format, 9999);
    }
}

void FakeDesktopTest::silentKeepsThePipeOpen()
{
    FakeDesktop desktop;
    desktop.setScreenshot(FakeDesktop::Screenshot::Silent);
    PipeReader reader;
    QCOMPARE(reader.call(0).type(), QDBusMessage::ReplyMessage);
    QCOMPARE(reader.readAll(300), QByteArray());
    QVERIFY(!reader.sawEnd());
    desktop.closeSilent();
    QCOMPARE(reader.readAll(), QByteArray());
    QVERIFY(reader.sawEnd());
}

void FakeDesktopTest::slowComesLate()
{
    FakeDesktop desktop;
    desktop.setImage(coloured());
    desktop.setScreenshot(FakeDesktop::Screenshot::Slow);
    desktop.setDelays(150, 10);
    QElapsedTimer timer;
    timer.start();
    QCOMPARE(PipeReader::picture(0), coloured());
    QVERIFY2(timer.elapsed() >= 230, qPrintable(QString::number(timer.elapsed())));
}

void FakeDesktopTest::errorReplyClosesThePipe()
{
    FakeDesktop desktop;
    desktop.setScreenshot(FakeDesktop::Screenshot::ReplyError);
    PipeReader reader;
    QCOMPARE(reader.call(0).type(), QDBusMessage::ErrorMessage);
    QCOMPARE(reader.readAll(), QByteArray());
    QVERIFY(reader.sawEnd());
}

void FakeDesktopTest::survivesAReaderThatCloses()
{
    FakeDesktop desktop;
    desktop.setImage(coloured());
    PipeReader reader;
    reader.closeReadEnd();
    QCOMPARE(reader.call(0).type(), QDBusMessage::ReplyMessage);
    QTRY_COMPARE(desktop.screenshotsClosed(), 1);
}

void FakeDesktopTest::remembersTheArguments()
{
    FakeDesktop desktop;
    PipeReader().call(-1, true);
    PipeReader().call(3, false);
    const auto calls = desktop.screenshotCalls();
    QCOMPARE(calls.size(), 2);
    QCOMPARE(calls.at(0).screen, -1);
    QCOMPARE(calls.at(0).withoutPointer, true);
    QCOMPARE(calls.at(1).screen, 3);
    QCOMPARE(calls.at(1).withoutPointer, false);
}

void FakeDesktopTest::answersThePid()
{
    const QString method = QStringLiteral("getActiveWindowPid");
    FakeDesktop desktop;
    desktop.setActivePid(4711);
    QDBusReply<uint> reply = callWindowManager(method);
    QVERIFY2(reply.isValid(), qPrintable(reply.error().message()));
    QCOMPARE(reply.value(), 4711U);
    desktop.setActivePidReply(QStringLiteral("none"));
    QCOMPARE(callWindowManager(method).signature(), QStringLiteral("s"));
    desktop.setActivePidError(true);
    QCOMPARE(callWindowManager(method).type(), QDBusMessage::ErrorMessage);
    QCOMPARE(desktop.activePidCalls(), 3);
}

void FakeDesktopTest::answersTheThreshold()
{
    const QString method = QStringLiteral("setContentChangeThreshold");
    FakeDesktop desktop;
    QCOMPARE(callWindowManager(method, {90.0}).type(), QDBusMessage::ReplyMessage);
    desktop.setThresholdError(true);
    QCOMPARE(callWindowManager(method, {50.5}).type(), QDBusMessage::ErrorMessage);
    QCOMPARE(desktop.thresholds(), (QVector<double>{90.0, 50.5}));
}

void FakeDesktopTest::emitsSignals()
{
    FakeDesktop desktop;
    QDBusConnection bus = QDBusConnection::sessionBus();
    QVERIFY(bus.connect(WINDOW_MANAGER, QStringLiteral("/KWin"), WINDOW_MANAGER,
                        QStringLiteral("screenContentChanged"), this, SLOT(onChanged(double))));
    QVERIFY(bus.connect(SCREEN_SAVER, QStringLiteral("/"), SCREEN_SAVER, QStringLiteral("lock"),
                        this, SLOT(onLock())));
    QVERIFY(bus.connect(SCREEN_SAVER, QStringLiteral("/"), SCREEN_SAVER, QStringLiteral("unlock"),
                        this, SLOT(onUnlock())));
    desktop.emitScreenContentChanged(95.5);
    desktop.emitLock();
    desktop.emitUnlock();
    QTRY_COMPARE(m_locks, (QStringList{QStringLiteral("lock"), QStringLiteral("unlock")}));
    QCOMPARE(m_rates, QVector<double>{95.5});
}

QTEST_GUILESS_MAIN(FakeDesktopTest)
#include "fakedesktoptest.moc"
