// Pictures through KWin's screenshot interface from a service that misbehaves: whatever it does,
// the call ends in time, and what it says is not believed.

#include "desktopbridge/kwin/kwinscreenshots.h"
#include "fakescreenshots.h"
#include "imageof.h"
#include "support/logcapture.h"

#include <QElapsedTimer>
#include <QTest>

#include <cstring>

namespace
{
const QRect SCREEN(100, 0, 4, 3);
constexpr int PATIENCE_MS = 500;
constexpr int ENOUGH_MS = 5000; // for a call that does not wait in vain

QVariantMap described(uint width, uint height, uint stride, uint format)
{
    return {{QStringLiteral("type"), QStringLiteral("raw")},
            {QStringLiteral("width"), width},
            {QStringLiteral("height"), height},
            {QStringLiteral("stride"), stride},
            {QStringLiteral("format"), format},
            {QStringLiteral("scale"), 1.0}};
}

// Bytes 1, 2, 3, ... so that each pixel is another one.
QByteArray counted(int count)
{
    QByteArray bytes(count, 0);
    for (int index = 0; index < count; ++index) {
        bytes[index] = char(index + 1);
    }
    return bytes;
}
} // namespace

Q_DECLARE_METATYPE(FakeBehaviour)

class KwinScreenshotsTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void pixelsArriveInOrder_data();
    void pixelsArriveInOrder();
    void asksForOwnPixelsWithoutThePointer();
    void aBadAnswerGivesNoPicture_data();
    void aBadAnswerGivesNoPicture();
    void aMissingServiceIsToldAtOnce();
    void aRepeatedProblemIsLoggedOnce();
    void largePicturesPassThePipe();
    void aPixelIsAFewAtMost_data();
    void aPixelIsAFewAtMost();
};

void KwinScreenshotsTest::pixelsArriveInOrder_data()
{
    QTest::addColumn<uint>("format");
    QTest::addColumn<uint>("stride");
    QTest::addColumn<QRgb>("first");
    QTest::addColumn<QRgb>("second");
    QTest::addColumn<QRgb>("below");
    // Bytes 1, 2, 3 are blue, green, red, or the other way round.
    QTest::newRow("RGB32") << 4U << 16U << 0xff030201 << 0xff070605 << 0xff131211;
    QTest::newRow("ARGB32") << 5U << 16U << 0xff030201 << 0xff070605 << 0xff131211;
    QTest::newRow("premultiplied") << 6U << 16U << 0xff030201 << 0xff070605 << 0xff131211;
    QTest::newRow("RGBX8888") << 16U << 16U << 0xff010203 << 0xff050607 << 0xff111213;
    QTest::newRow("RGBA8888") << 17U << 16U << 0xff010203 << 0xff050607 << 0xff111213;
    QTest::newRow("rows with a gap") << 6U << 32U << 0xff030201 << 0xff070605 << 0xff232221;
    QTest::newRow("gap, other order") << 18U << 20U << 0xff010203 << 0xff050607 << 0xff151617;
}

void KwinScreenshotsTest::pixelsArriveInOrder()
{
    QFETCH(uint, format);
    QFETCH(uint, stride);
    FakeBehaviour behaviour;
    behaviour.results = described(4, 3, stride, format);
    behaviour.bytes = counted(int(stride) * 3);
    const FakeScreenshots fake(behaviour);
    KwinScreenshots screenshots(QDBusConnection::sessionBus());
    const PicturePtr picture = screenshots.capture(QStringLiteral("DP-1"), SCREEN);
    QVERIFY(picture);
    QCOMPARE(picture->area, SCREEN);
    const QImage image = imageOf(picture);
    QTEST(image.pixel(0, 0), "first");
    QTEST(image.pixel(1, 0), "second");
    QTEST(image.pixel(0, 1), "below");
}

void KwinScreenshotsTest::asksForOwnPixelsWithoutThePointer()
{
    FakeBehaviour behaviour;
    behaviour.results = described(4, 3, 16, 5);
    behaviour.bytes = counted(48);
    const FakeScreenshots fake(behaviour);
    KwinScreenshots screenshots(QDBusConnection::sessionBus());
    QVERIFY(screenshots.capture(QStringLiteral("HDMI-A-2"), SCREEN));
    QCOMPARE(fake.m_screen, QStringLiteral("HDMI-A-2"));
    QCOMPARE(fake.m_options.value(QStringLiteral("native-resolution")), QVariant(true));
    QCOMPARE(fake.m_options.value(QStringLiteral("include-cursor")), QVariant(false));
}

void KwinScreenshotsTest::aBadAnswerGivesNoPicture_data()
{
    QTest::addColumn<FakeBehaviour>("behaviour");
    QTest::addColumn<QString>("words");
    const auto row = [](const char *name, const FakeBehaviour &behaviour, const char *words) {
        QTest::newRow(name) << behaviour << QString::fromLatin1(words);
    };
    const QVariantMap good = described(4, 3, 16, 5);
    const QByteArray bytes = counted(48);
    row("silent", {{}, {}, false, true, {}}, "does not answer");
    row("short, pipe kept open", {good, counted(47), true, false, {}}, "does not deliver");
    row("no pixels, pipe kept open", {good, {}, true, false, {}}, "does not deliver");
    row("rows overlap", {described(4, 3, 12, 5), bytes, false, false, {}}, "impossible sides");
    row("rows of broken pixels", {described(4, 3, 17, 5), bytes, false, false, {}},
        "impossible sides");
    row("rows without end", {described(4, 3, 0xfffffffc, 5), bytes, false, false, {}},
        "impossible sides");
    row("no height", {described(4, 0, 16, 5), bytes, false, false, {}}, "impossible sides");
    row("a width that no screen has", {described(0x40000001, 3, 16, 5), bytes, false, false, {}},
        "impossible sides");
    row("another size", {described(3, 4, 16, 5), counted(64), false, false, {}}, "3 x 4");
    row("16 bits a pixel", {described(4, 3, 16, 7), bytes, false, false, {}}, "not served: 7");
    row("another type", {{}, bytes, false, false, {}}, "raw pixels");
    row("not allowed",
        {{}, {}, false, false, QStringLiteral("org.kde.KWin.ScreenShot2.Error.NoAuthorized")},
        "desktop file");
    row("other error",
        {{}, {}, false, false, QStringLiteral("org.kde.KWin.ScreenShot2.Error.Cancelled")},
        "as ordered");
}

void KwinScreenshotsTest::aBadAnswerGivesNoPicture()
{
    QFETCH(FakeBehaviour, behaviour);
    QFETCH(QString, words);
    const FakeScreenshots fake(behaviour);
    KwinScreenshots screenshots(QDBusConnection::sessionBus(), PATIENCE_MS);
    const LogCapture log;
    QElapsedTimer timer;
    timer.start();
    QVERIFY(!screenshots.capture(QStringLiteral("DP-1"), SCREEN));
    QVERIFY(timer.elapsed() < ENOUGH_MS);
    QVERIFY2(log.contains(QtWarningMsg, words), qPrintable(log.texts().join(u'\n')));
}

void KwinScreenshotsTest::aMissingServiceIsToldAtOnce()
{
    KwinScreenshots screenshots(QDBusConnection::sessionBus(), 60000);
    QElapsedTimer timer;
    timer.start();
    QVERIFY(screenshots.captureOnePixel(QPoint()).contains(QStringLiteral("offers no pictures")));
    QVERIFY(timer.elapsed() < ENOUGH_MS);
}

void KwinScreenshotsTest::aRepeatedProblemIsLoggedOnce()
{
    KwinScreenshots screenshots(QDBusConnection::sessionBus());
    const LogCapture log;
    const QString words = QStringLiteral("offers no pictures");
    for (int count = 0; count < 3; ++count) {
        QVERIFY(!screenshots.capture(QStringLiteral("DP-1"), SCREEN));
    }
    QCOMPARE(log.count(QtWarningMsg, words), 1);
    {
        FakeBehaviour behaviour;
        behaviour.results = described(4, 3, 16, 5);
        behaviour.bytes = counted(48);
        const FakeScreenshots fake(behaviour);
        QVERIFY(screenshots.capture(QStringLiteral("DP-1"), SCREEN));
    }
    QVERIFY(!screenshots.capture(QStringLiteral("DP-1"), SCREEN));
    QCOMPARE(log.count(QtWarningMsg, words), 2);
}

void KwinScreenshotsTest::largePicturesPassThePipe()
{
    FakeBehaviour behaviour;
    behaviour.results = described(1920, 1080, 1920 * 4, 5);
    behaviour.bytes = counted(1920 * 1080 * 4);
    const FakeScreenshots fake(behaviour);
    KwinScreenshots screenshots(QDBusConnection::sessionBus(), 20000);
    const PicturePtr picture = screenshots.capture(QStringLiteral("DP-1"), QRect(0, 0, 1920, 1080));
    QVERIFY(picture);
    QCOMPARE(
        std::memcmp(picture->row(0), behaviour.bytes.constData(), size_t(behaviour.bytes.size())),
        0);
}

void KwinScreenshotsTest::aPixelIsAFewAtMost_data()
{
    QTest::addColumn<uint>("edge");
    QTest::addColumn<QString>("problem");
    QTest::newRow("scale 1") << 1U << QString();
    QTest::newRow("scale 3") << 3U << QString();
    QTest::newRow("gigabytes") << 32768U
                               << QStringLiteral(
                                      "KWin gave a picture of 32768 x 32768 pixels for one pixel");
}

void KwinScreenshotsTest::aPixelIsAFewAtMost()
{
    QFETCH(uint, edge);
    FakeBehaviour behaviour;
    behaviour.results = described(edge, edge, edge * 4, 5);
    behaviour.bytes = counted(edge < 10 ? int(edge * edge * 4) : 0);
    const FakeScreenshots fake(behaviour);
    KwinScreenshots screenshots(QDBusConnection::sessionBus());
    QTEST(screenshots.captureOnePixel(QPoint()), "problem");
}

QTEST_GUILESS_MAIN(KwinScreenshotsTest)
#include "kwinscreenshotstest.moc"
