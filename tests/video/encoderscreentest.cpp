#include "video/videocomposer.h"
#include "videofacts.h"

#include <QProcess>
#include <QTemporaryDir>
#include <QtTest>

/// The encoder's size on displays of several sizes, each in a process of its own.
class EncoderScreenTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void sizeIsThePrimaryScreensInEvenDevicePixels_data();
    void sizeIsThePrimaryScreensInEvenDevicePixels();
};

void EncoderScreenTest::sizeIsThePrimaryScreensInEvenDevicePixels_data()
{
    QTest::addColumn<QString>("display");
    QTest::addColumn<QString>("scale");
    QTest::addColumn<QSize>("expected");
    QTest::newRow("even") << "1024x768"
                          << "1" << QSize(1024, 768);
    QTest::newRow("odd width and height") << "1367x767"
                                          << "1" << QSize(1366, 766);
    QTest::newRow("odd height") << "800x601"
                                << "1" << QSize(800, 600);
    // 1280x720 as the program sees it.
    QTest::newRow("one and a half") << "1920x1080"
                                    << "1.5" << QSize(1920, 1080);
    QTest::newRow("double") << "1280x720"
                            << "2" << QSize(1280, 720);
    QTest::newRow("small") << "64x48"
                           << "1" << QSize(64, 48);
}

void EncoderScreenTest::sizeIsThePrimaryScreensInEvenDevicePixels()
{
    QFETCH(QString, display);
    QFETCH(QString, scale);
    QFETCH(QSize, expected);
    QProcess server;
    server.start(QStringLiteral("Xvfb"),
                 {QStringLiteral("-displayfd"), QStringLiteral("1"), QStringLiteral("-screen"),
                  QStringLiteral("0"), display + QStringLiteral("x24"), QStringLiteral("-nolisten"),
                  QStringLiteral("tcp"), QStringLiteral("-noreset")});
    QTRY_VERIFY_WITH_TIMEOUT(server.canReadLine(), 20000);
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("DISPLAY"),
                       QLatin1Char(':') + QString::fromLatin1(server.readLine().trimmed()));
    environment.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("xcb"));
    environment.insert(QStringLiteral("QT_SCALE_FACTOR"), scale);

    const QTemporaryDir directory;
    const QString file = directory.filePath(QStringLiteral("v.mp4"));
    QProcess process;
    process.setProcessEnvironment(environment);
    process.start(QStringLiteral(ENCODEBATCH), {file, QStringLiteral("2")});
    const bool finished = process.waitForFinished(60000);
    server.terminate();
    server.waitForFinished();
    QVERIFY(finished);
    QCOMPARE(process.readAllStandardOutput().trimmed(), QByteArray("true"));
    const VideoFacts facts = VideoFacts::of(file);
    QCOMPARE(facts.size, expected);
    QCOMPARE(facts.declaredFrames, 2);
}

QTEST_GUILESS_MAIN(EncoderScreenTest)
#include "encoderscreentest.moc"
