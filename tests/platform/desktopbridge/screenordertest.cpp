// The index of a screen means the same to the bridge as to Qt, on an X server with two outputs.

#include "desktopbridge/x11/x11backend.h"
#include "xclient.h"

#include <QFile>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

#include <algorithm>

namespace
{
// A server without hardware; an output counts as connected once it shows something.
const char CONFIGURATION[] = R"(
Section "ServerFlags"
    Option "AutoAddDevices" "false"
    Option "AutoAddGPU" "false"
EndSection
Section "Device"
    Identifier "device"
    Driver "dummy"
    VideoRam 256000
EndSection
Section "Monitor"
    Identifier "monitor"
    HorizSync 5.0-1000.0
    VertRefresh 5.0-200.0
EndSection
Section "Screen"
    Identifier "screen"
    Device "device"
    Monitor "monitor"
    DefaultDepth 24
    SubSection "Display"
        Virtual 4000 2000
    EndSubSection
EndSection
)";

QVector<QRect> screensOfQt()
{
    QProcess program;
    program.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    program.start(QStringLiteral(QT_SCREENS_PROGRAM), QStringList());
    program.waitForFinished();
    QVector<QRect> screens;
    const QList<QByteArray> lines = program.readAllStandardOutput().split('\n');
    for (const QByteArray &line : lines) {
        const QList<QByteArray> numbers = line.split(' ');
        if (numbers.size() == 4) {
            screens.append(QRect(numbers.at(0).toInt(), numbers.at(1).toInt(),
                                 numbers.at(2).toInt(), numbers.at(3).toInt()));
        }
    }
    return screens;
}

bool xrandr(const QString &arguments)
{
    return QProcess::execute(QStringLiteral("xrandr"), arguments.split(QLatin1Char(' '))) == 0;
}
} // namespace

class ScreenOrderTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void sameOrderAsQt_data();
    void sameOrderAsQt();
    void changeOfThePrimaryScreenIsTold();
    void cleanupTestCase();

private:
    QTemporaryDir m_folder;
    std::unique_ptr<PrivateXServer> m_server;
    std::unique_ptr<DisplayVariable> m_display;
};

void ScreenOrderTest::initTestCase()
{
    const QString path = m_folder.filePath(QStringLiteral("xorg.conf"));
    QFile file(path);
    QVERIFY(file.open(QFile::WriteOnly));
    file.write(CONFIGURATION);
    file.close();
    m_server = std::make_unique<PrivateXServer>(
        QStringLiteral("Xorg"),
        QStringList{QStringLiteral("-config"), path, QStringLiteral("-logfile"),
                    m_folder.filePath(QStringLiteral("log")), QStringLiteral("-novtswitch"),
                    QStringLiteral("-sharevts")});
    if (!m_server->isRunning()) {
        QSKIP("no X server with several outputs: Xorg with the dummy driver does not start");
    }
    m_display = std::make_unique<DisplayVariable>(m_server->display());
    QVERIFY(xrandr(QStringLiteral("--output DUMMY0 --mode 1280x720 --primary")));
    QVERIFY(xrandr(QStringLiteral("--addmode DUMMY1 1024x768")));
    QVERIFY(xrandr(QStringLiteral("--output DUMMY1 --mode 1024x768 --pos 1280x0")));
    QVERIFY(xrandr(QStringLiteral("--query"))); // the server looks who is connected now
}

void ScreenOrderTest::cleanupTestCase()
{
    m_display.reset();
    m_server.reset();
}

void ScreenOrderTest::sameOrderAsQt_data()
{
    QTest::addColumn<QString>("change");
    QTest::addColumn<int>("screens");
    QTest::newRow("first is primary") << QStringLiteral("--output DUMMY0 --primary") << 2;
    QTest::newRow("second is primary") << QStringLiteral("--output DUMMY1 --primary") << 2;
    QTest::newRow("none is primary") << QStringLiteral("--noprimary") << 2;
    QTest::newRow("one without a monitor is") << QStringLiteral("--output DUMMY2 --primary") << 2;
    QTest::newRow("first is off") << QStringLiteral("--output DUMMY0 --off") << 1;
    QTest::newRow("the other is primary")
        << QStringLiteral("--output DUMMY1 --primary --output DUMMY0 --mode 1280x720 --pos 0x0")
        << 2;
    QTest::newRow("same place") << QStringLiteral("--output DUMMY1 --mode 1280x720 --pos 0x0") << 2;
}

void ScreenOrderTest::sameOrderAsQt()
{
    QFETCH(QString, change);
    QFETCH(int, screens);
    QVERIFY(xrandr(change));
    QString problem;
    const auto backend = X11Backend::connectToDisplay(problem);
    QVERIFY2(backend, qPrintable(problem));
    QCOMPARE(backend->screens().size(), screens);
    QCOMPARE(backend->screens(), screensOfQt());
    for (const QRect &screen : backend->screens()) {
        QVERIFY(backend->fetch(screen));
    }
}

void ScreenOrderTest::changeOfThePrimaryScreenIsTold()
{
    QVERIFY(xrandr(QStringLiteral("--output DUMMY1 --mode 1024x768 --pos 1280x0")));
    QVERIFY(xrandr(QStringLiteral("--output DUMMY0 --primary")));
    QString problem;
    const auto backend = X11Backend::connectToDisplay(problem);
    QVERIFY2(backend, qPrintable(problem));
    QVector<QRect> reversed = backend->screens();
    std::reverse(reversed.begin(), reversed.end());
    QCOMPARE(reversed.size(), 2);
    QVERIFY(xrandr(QStringLiteral("--output DUMMY1 --primary")));
    QTRY_COMPARE(backend->screens(), reversed);
    QCOMPARE(backend->screens(), screensOfQt());
}

QTEST_GUILESS_MAIN(ScreenOrderTest)
#include "screenordertest.moc"
