// The index of a screen means the same to the bridge as to Qt, on an X server with two outputs.

#include "desktopbridge/x11/x11backend.h"
#include "twooutputs.h"

#include <QSignalSpy>
#include <QTest>

#include <algorithm>

namespace
{
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
    std::unique_ptr<TwoOutputs> m_server;
};

void ScreenOrderTest::initTestCase()
{
    m_server = std::make_unique<TwoOutputs>();
    if (!m_server->isRunning()) {
        QSKIP("no X server with several outputs: Xorg with the dummy driver does not start");
    }
    QVERIFY(m_server->arrange());
}

void ScreenOrderTest::cleanupTestCase()
{
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
    QVERIFY(TwoOutputs::xrandr(change));
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
    QVERIFY(TwoOutputs::xrandr(QStringLiteral("--output DUMMY1 --mode 1024x768 --pos 1280x0")));
    QVERIFY(TwoOutputs::xrandr(QStringLiteral("--output DUMMY0 --primary")));
    QString problem;
    const auto backend = X11Backend::connectToDisplay(problem);
    QVERIFY2(backend, qPrintable(problem));
    QVector<QRect> reversed = backend->screens();
    std::reverse(reversed.begin(), reversed.end());
    QCOMPARE(reversed.size(), 2);
    QVERIFY(TwoOutputs::xrandr(QStringLiteral("--output DUMMY1 --primary")));
    QTRY_COMPARE(backend->screens(), reversed);
    QCOMPARE(backend->screens(), screensOfQt());
}

QTEST_GUILESS_MAIN(ScreenOrderTest)
#include "screenordertest.moc"
