// Windows of real compositors: told with title and process, raised and minimised by their ids.

#include "windowmanager/backendloader.h"
#include "windowmanager/windowmanager.h"
#include "windowmanager/wlroots/swaywindows.h"

#include "support/logcapture.h"

#include <QDir>
#include <QPainter>
#include <QProcess>
#include <QRasterWindow>
#include <QScreen>
#include <QSignalSpy>
#include <QStandardPaths>
#include <QTest>

#include <unistd.h>

namespace
{
constexpr int waitMs = 15000;

class Window : public QRasterWindow
{
public:
    explicit Window(const QString &title)
    {
        setTitle(title);
        setFlags(Qt::FramelessWindowHint);
        resize(640, 400);
    }

protected:
    void paintEvent(QPaintEvent * /*event*/) override
    {
        QPainter(this).fillRect(0, 0, width(), height(), Qt::darkCyan);
    }
};
} // namespace

class WaylandWindowsTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();

    void theCompositorsProtocolIsChosen();
    void anOwnWindowIsToldWithTitleAndProcess();
    void windowsThatWereThereAreToldFromTheEventLoop();
    void aWindowOfAnotherProcessIsToldWithItsProcess();
    void aWindowThatComesAgainIsToldAgain();
    void aWindowThatIsGoneIsUnknown();
    void anotherWindowsPlaceInFrontIsTakenByActivating();
    void aMinimisedWindowComesBackAsItWas();
    void aWindowThatIsActivatedAtOnceIsNotMinimised();
    void withoutSwaysSocketOwnWindowsAreKnownByTheirTitle();
    void windowsThatLookAlikeHaveNoProcess();

private:
    bool isOn(const char *compositor) const;
    void startManager();
    QVariant idOf(const QString &title) const;
    bool startOther(const QString &title);
    SwayWindow inSwaysTree(const QString &title) const;

    std::unique_ptr<tdk::WindowManager> m_manager;
    QVector<QVariant> m_told;
    std::vector<std::unique_ptr<QProcess>> m_others;
};

bool WaylandWindowsTest::isOn(const char *compositor) const
{
    return qgetenv("XDG_CURRENT_DESKTOP") == compositor;
}

// KWin offers its protocol to a program whose desktop file names it by its whole path.
void WaylandWindowsTest::initTestCase()
{
    const QString folder =
        QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation) + "/applications";
    QVERIFY(QDir().mkpath(folder));
    QFile file(folder + "/waylandwindowstest.desktop");
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write("[Desktop Entry]\nType=Application\nName=Test\nExec=" +
               QCoreApplication::applicationFilePath().toUtf8() +
               "\nX-KDE-Wayland-Interfaces=org_kde_plasma_window_management\n");
    file.close();
    if (isOn("KDE")) { // which looks for new desktop files now and then
        QTRY_COMPARE_WITH_TIMEOUT(loadWindowBackend()->name(), QStringLiteral("plasma"), waitMs);
    }
}

void WaylandWindowsTest::init()
{
    const QString test = QTest::currentTestFunction();
    if (isOn("weston") && test != "theCompositorsProtocolIsChosen") {
        QSKIP("Weston has no protocol for it");
    }
    startManager();
}

void WaylandWindowsTest::startManager()
{
    m_told.clear();
    m_manager = std::make_unique<tdk::WindowManager>(loadWindowBackend());
    connect(m_manager.get(), &tdk::WindowManager::windowAdded, this,
            [this](const QVariant &id) { m_told.append(id); });
}

void WaylandWindowsTest::cleanup()
{
    for (const auto &other : m_others) {
        other->kill();
        other->waitForFinished();
    }
    m_others.clear();
    m_manager.reset();
}

QVariant WaylandWindowsTest::idOf(const QString &title) const
{
    for (auto id = m_told.rbegin(); id != m_told.rend(); ++id) {
        if (m_manager->getWindowTitle(*id) == title) {
            return *id;
        }
    }
    return {};
}

bool WaylandWindowsTest::startOther(const QString &title)
{
    const int before = m_told.size();
    auto other = std::make_unique<QProcess>();
    other->setStandardErrorFile(QProcess::nullDevice());
    other->start(QCoreApplication::applicationFilePath(), {"--window", title});
    const bool isStarted = other->waitForStarted();
    m_others.push_back(std::move(other));
    const auto isTold = [&] {
        return m_told.size() > before && m_manager->getWindowTitle(m_told.last()) == title;
    };
    return isStarted && QTest::qWaitFor(isTold, waitMs);
}

SwayWindow WaylandWindowsTest::inSwaysTree(const QString &title) const
{
    QProcess question;
    question.start("swaymsg", {"-r", "-t", "get_tree"});
    question.waitForFinished();
    for (const SwayWindow &window : swayWindowsIn(question.readAllStandardOutput())) {
        if (window.title == title) {
            return window;
        }
    }
    return {};
}

void WaylandWindowsTest::theCompositorsProtocolIsChosen()
{
    const LogCapture log;
    const QString name = loadWindowBackend()->name();
    if (isOn("KDE")) {
        QCOMPARE(name, QStringLiteral("plasma"));
        QCOMPARE(log.texts(), QStringList());
    } else if (isOn("sway")) {
        QCOMPARE(name, QStringLiteral("wlroots"));
        QCOMPARE(log.texts(), QStringList());
    } else {
        QCOMPARE(name, QStringLiteral("null"));
        QCOMPARE(log.texts(),
                 QStringList("No window can be raised or minimised: \"the compositor offers this "
                             "program no protocol for it\""));
    }
}

void WaylandWindowsTest::anOwnWindowIsToldWithTitleAndProcess()
{
    Window window("own window 窗口");
    window.show();
    QTRY_VERIFY_WITH_TIMEOUT(idOf(window.title()).isValid(), waitMs);
    QCOMPARE(m_manager->getPid(idOf(window.title())), ::getpid());
}

void WaylandWindowsTest::windowsThatWereThereAreToldFromTheEventLoop()
{
    Window window("early");
    window.show();
    QTRY_VERIFY_WITH_TIMEOUT(idOf("early").isValid(), waitMs);
    startManager();
    QCOMPARE(m_told.size(), 0);
    QTRY_VERIFY_WITH_TIMEOUT(idOf("early").isValid(), waitMs);
    QCOMPARE(m_manager->getPid(idOf("early")), ::getpid());
}

void WaylandWindowsTest::aWindowOfAnotherProcessIsToldWithItsProcess()
{
    QVERIFY(startOther("somebody else's"));
    QCOMPARE(m_manager->getWindowTitle(m_told.last()), QStringLiteral("somebody else's"));
    QCOMPARE(m_manager->getPid(m_told.last()), int(m_others.front()->processId()));
}

void WaylandWindowsTest::aWindowThatComesAgainIsToldAgain()
{
    Window window("again");
    window.show();
    QTRY_VERIFY_WITH_TIMEOUT(idOf("again").isValid(), waitMs);
    const QVariant first = idOf("again");
    window.hide();
    QTRY_COMPARE_WITH_TIMEOUT(m_manager->getPid(first), 0, waitMs);
    window.show();
    QTRY_VERIFY_WITH_TIMEOUT(idOf("again").isValid(), waitMs);
    QVERIFY(idOf("again") != first);
}

void WaylandWindowsTest::aWindowThatIsGoneIsUnknown()
{
    QVERIFY(startOther("short"));
    const QVariant id = m_told.last();
    m_others.front()->kill();
    QTRY_COMPARE_WITH_TIMEOUT(m_manager->getPid(id), 0, waitMs);
    QCOMPARE(m_manager->getWindowTitle(id), QString());
    m_manager->activateWindow(id);
    m_manager->minimizeWindow(id);
    Window window("after"); // the connection still stands
    window.show();
    QTRY_VERIFY_WITH_TIMEOUT(idOf("after").isValid(), waitMs);
}

void WaylandWindowsTest::anotherWindowsPlaceInFrontIsTakenByActivating()
{
    Window window("behind");
    window.show();
    QTRY_VERIFY_WITH_TIMEOUT(window.isActive() && idOf("behind").isValid(), waitMs);
    QVERIFY(startOther("in front"));
    QTRY_VERIFY_WITH_TIMEOUT(!window.isActive(), waitMs);
    m_manager->activateWindow(idOf("behind"));
    QTRY_VERIFY_WITH_TIMEOUT(window.isActive(), waitMs);
    m_manager->activateWindow(idOf("in front"));
    QTRY_VERIFY_WITH_TIMEOUT(!window.isActive(), waitMs);
}

void WaylandWindowsTest::aMinimisedWindowComesBackAsItWas()
{
    Window window("up and down");
    window.showMaximized();
    QTRY_VERIFY_WITH_TIMEOUT(window.isActive() && idOf("up and down").isValid(), waitMs);
    QTRY_COMPARE_WITH_TIMEOUT(window.size(), window.screen()->size(), waitMs);
    for (int round = 0; round < 2; ++round) {
        m_manager->minimizeWindow(idOf("up and down"));
        QTRY_VERIFY_WITH_TIMEOUT(!window.isActive(), waitMs);
        if (isOn("sway")) {
            QVERIFY(inSwaysTree("up and down").isStowed);
        }
        m_manager->activateWindow(idOf("up and down"));
        QTRY_VERIFY_WITH_TIMEOUT(window.isActive(), waitMs);
        QTRY_COMPARE_WITH_TIMEOUT(window.size(), window.screen()->size(), waitMs);
        if (isOn("sway")) {
            QVERIFY(!inSwaysTree("up and down").isFloating);
        }
    }
}

void WaylandWindowsTest::aWindowThatIsActivatedAtOnceIsNotMinimised()
{
    Window window("hasty");
    window.show();
    QTRY_VERIFY_WITH_TIMEOUT(window.isActive() && idOf("hasty").isValid(), waitMs);
    m_manager->minimizeWindow(idOf("hasty"));
    m_manager->activateWindow(idOf("hasty"));
    QVERIFY(startOther("later")); // by then both requests have been answered
    m_manager->activateWindow(idOf("hasty"));
    QTRY_VERIFY_WITH_TIMEOUT(window.isActive(), waitMs);
    if (isOn("sway")) {
        QVERIFY(!inSwaysTree("hasty").isStowed);
        QVERIFY(!inSwaysTree("hasty").isFloating);
    }
}

void WaylandWindowsTest::withoutSwaysSocketOwnWindowsAreKnownByTheirTitle()
{
    if (!isOn("sway")) {
        QSKIP("only sway has such a socket");
    }
    const QByteArray socket = qgetenv("SWAYSOCK");
    qunsetenv("SWAYSOCK");
    startManager();
    qputenv("SWAYSOCK", socket);
    Window window("mine");
    window.show();
    QTRY_VERIFY_WITH_TIMEOUT(idOf("mine").isValid(), waitMs);
    QCOMPARE(m_manager->getPid(idOf("mine")), ::getpid());
    const QVariant mine = idOf("mine");
    QVERIFY(startOther("mine")); // of another application
    QCOMPARE(m_manager->getPid(m_told.last()), 0);
    QTRY_VERIFY_WITH_TIMEOUT(!window.isActive(), waitMs);
    m_manager->activateWindow(mine);
    QTRY_VERIFY_WITH_TIMEOUT(window.isActive(), waitMs);
}

void WaylandWindowsTest::windowsThatLookAlikeHaveNoProcess()
{
    if (!isOn("sway")) {
        QSKIP("elsewhere the protocol tells the process");
    }
    QVERIFY(startOther("twin"));
    const QVariant first = m_told.last();
    QVERIFY(startOther("twin"));
    QCOMPARE(m_manager->getPid(first), int(m_others.front()->processId()));
    QCOMPARE(m_manager->getPid(m_told.last()), 0);
}

/// The window of another process and another application.
int showWindow(int argc, char **argv)
{
    QGuiApplication application(argc, argv);
    QGuiApplication::setDesktopFileName("another-application");
    Window window(QGuiApplication::arguments().value(2));
    window.show();
    return QGuiApplication::exec();
}

int main(int argc, char **argv)
{
    if (argc == 3 && qstrcmp(argv[1], "--window") == 0) {
        return showWindow(argc, argv);
    }
    QGuiApplication application(argc, argv);
    WaylandWindowsTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "waylandwindowstest.moc"
