// What is free of the primary screen, on an X server with two outputs, at any scale of each.

#include "support/commandoutput.h"
#include "twooutputs.h"

#include <QProcessEnvironment>
#include <QTest>

#include <memory>

namespace
{
constexpr int waitMs = 20000;

QString rootProperty(const char *name)
{
    return outputOf(QStringLiteral("xprop"), {QStringLiteral("-root"), QLatin1String(name)});
}

/// A program with the window's tie to the desktop, and all that it told so far.
class Watcher
{
public:
    /// @p scales of the two outputs.
    explicit Watcher(const QString &scales)
    {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("xcb"));
        environment.insert(QStringLiteral("QT_SCREEN_SCALE_FACTORS"), scales);
        m_process.setProcessEnvironment(environment);
        m_process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        m_process.start(QStringLiteral(WORKAREA_WATCHER), QStringList());
        m_process.waitForReadyRead();
    }
    ~Watcher()
    {
        m_process.closeWriteChannel();
        m_process.waitForFinished();
    }
    Q_DISABLE_COPY(Watcher)

    QStringList told()
    {
        while (m_process.canReadLine()) {
            m_told.append(QString::fromUtf8(m_process.readLine()).trimmed());
        }
        return m_told;
    }

private:
    ChildProcess m_process;
    QStringList m_told;
};
} // namespace

class TestScreens : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanupTestCase();

    void thePrimaryScreenIsFree_data();
    void thePrimaryScreenIsFree();
    void aPanelIsLeftFree_data();
    void aPanelIsLeftFree();
    void anotherPrimaryScreenIsTold();
    void aPrimaryScreenThatGoesLeavesTheOther();

private:
    std::unique_ptr<TwoOutputs> m_server;
    ChildProcess m_windowManager;
};

void TestScreens::initTestCase()
{
    m_server = std::make_unique<TwoOutputs>();
    if (!m_server->isRunning()) {
        QSKIP("no X server with several outputs: Xorg with the dummy driver does not start");
    }
    m_windowManager.setStandardErrorFile(QProcess::nullDevice());
    m_windowManager.start(QStringLiteral("openbox"), {QStringLiteral("--sm-disable")});
    QTRY_VERIFY_WITH_TIMEOUT(rootProperty("_NET_SUPPORTING_WM_CHECK").contains("window id"),
                             waitMs);
}

void TestScreens::init()
{
    QVERIFY(m_server->arrange());
    QTRY_VERIFY_WITH_TIMEOUT(rootProperty("_NET_WORKAREA").contains("= 0, 0, 2304, 768,"), waitMs);
}

void TestScreens::cleanupTestCase()
{
    m_windowManager.terminate();
    m_windowManager.waitForFinished();
    m_server.reset();
}

void TestScreens::thePrimaryScreenIsFree_data()
{
    QTest::addColumn<QString>("primary");
    QTest::addColumn<QString>("scales");
    QTest::addColumn<QString>("free");
    QTest::newRow("left") << "DUMMY0"
                          << "1;1"
                          << "0 0 1280 720";
    QTest::newRow("right") << "DUMMY1"
                           << "1;1"
                           << "1280 0 1024 768";
    QTest::newRow("left at 2") << "DUMMY0"
                               << "DUMMY0=2;DUMMY1=2"
                               << "0 0 640 360";
    QTest::newRow("right at 2") << "DUMMY1"
                                << "DUMMY0=2;DUMMY1=2"
                                << "1280 0 512 384";
    QTest::newRow("right at 2, left at 1") << "DUMMY1"
                                           << "DUMMY0=1;DUMMY1=2"
                                           << "1280 0 512 384";
    QTest::newRow("right at 1, left at 2") << "DUMMY1"
                                           << "DUMMY0=2;DUMMY1=1"
                                           << "1280 0 1024 768";
}

void TestScreens::thePrimaryScreenIsFree()
{
    QFETCH(QString, primary);
    QFETCH(QString, scales);
    QFETCH(QString, free);
    QVERIFY(TwoOutputs::xrandr("--output " + primary + " --primary"));
    QCOMPARE(Watcher(scales).told().value(0), free);
}

void TestScreens::aPanelIsLeftFree_data()
{
    QTest::addColumn<QString>("scales");
    QTest::addColumn<QString>("free");
    QTest::newRow("panel") << "DUMMY0=1;DUMMY1=1"
                           << "0 40 1280 680";
    QTest::newRow("panel at scale 2") << "DUMMY0=2;DUMMY1=2"
                                      << "0 20 640 340";
}

void TestScreens::aPanelIsLeftFree()
{
    QFETCH(QString, scales);
    QFETCH(QString, free);
    ChildProcess panel;
    panel.setStandardErrorFile(QProcess::nullDevice());
    panel.start("trayer", {"--edge", "top", "--widthtype", "percent", "--width", "100",
                           "--heighttype", "pixel", "--height", "40", "--SetDockType", "true",
                           "--SetPartialStrut", "true", "--expand", "true"});
    QVERIFY(panel.waitForStarted());
    QTRY_VERIFY_WITH_TIMEOUT(rootProperty("_NET_WORKAREA").contains("= 0, 40, 2304, 728,"), waitMs);
    QCOMPARE(Watcher(scales).told().value(0), free);
    panel.terminate();
    QVERIFY(panel.waitForFinished());
}

void TestScreens::anotherPrimaryScreenIsTold()
{
    Watcher watcher("1;1");
    QCOMPARE(watcher.told(), QStringList("0 0 1280 720"));
    QVERIFY(TwoOutputs::xrandr("--output DUMMY1 --primary"));
    QTRY_COMPARE_WITH_TIMEOUT(watcher.told().last(), QString("1280 0 1024 768"), waitMs);
    // It is the one that is followed now: the window manager is ahead of the toolkit here.
    QVERIFY(TwoOutputs::xrandr("--addmode DUMMY1 800x600"));
    QVERIFY(TwoOutputs::xrandr("--output DUMMY1 --mode 800x600"));
    QTRY_COMPARE_WITH_TIMEOUT(watcher.told().last(), QString("1280 0 800 600"), waitMs);
}

void TestScreens::aPrimaryScreenThatGoesLeavesTheOther()
{
    Watcher watcher("1;1");
    QCOMPARE(watcher.told(), QStringList("0 0 1280 720"));
    QVERIFY(TwoOutputs::xrandr("--output DUMMY0 --off")); // the other one moves to the left
    QTRY_COMPARE_WITH_TIMEOUT(watcher.told().last(), QString("0 0 1024 768"), waitMs);
}

QTEST_GUILESS_MAIN(TestScreens)
#include "screenstest.moc"
