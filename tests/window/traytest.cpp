// The icon in a real tray: the host is not there at first; a click takes the window away and brings
// it back; the menu opens what it says.

#include "window/desktop.h"
#include "window/shownprogram.h"

#include <QElapsedTimer>
#include <QTest>

#include <memory>
#include <utility>

namespace
{
constexpr int waitMs = 10000;
constexpr int doubleClickMs = 600; // the toolkit's 400 and the time that a click is on its way
const QString question = QStringLiteral("Please select the state after closing:");
} // namespace

class TrayTest : public QObject
{
    Q_OBJECT

    enum Entry { Open, StartOrPause, Settings, Exit };

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanupTestCase();

    void theIconAppearsWithTheTray();
    void aClickMinimisesTheWindowAndTheNextShowsIt();
    void aClickBringsUpAHiddenWindow();
    void theMenuStartsAndPausesRecording();
    void theMenuOpensTheWindow_data();
    void theMenuOpensTheWindow();
    void theMenuOpensTheSettings();
    void theMenusExitAsks();
    void aMiddleClickDoesNothing();
    void theMenuComesAfterAMiddleClick();
    void theIconComesBackWithANewTray();

private:
    QRect icon() const;
    bool clickIcon(int button = 1);
    bool choose(Entry entry);
    bool startHost();
    void endHost();

    std::unique_ptr<Desktop> m_desktop;
    std::unique_ptr<ShownProgram> m_program;
    QProcess m_host;
    QElapsedTimer m_clicked;
};

/// The program's only small window.
QRect TrayTest::icon() const
{
    for (const quint32 window : m_desktop->windowsOf(m_program->processId())) {
        const QRect place = m_desktop->geometryOf(window);
        if (place.width() < 100 && place.left() > 100 && place.width() > 4) {
            return place;
        }
    }
    return {};
}

bool TrayTest::startHost()
{
    m_host.setProcessEnvironment(m_desktop->environment());
    m_host.setStandardErrorFile(QProcess::nullDevice());
    // A panel keeps its place, else the window that is raised lies on it.
    m_host.start("trayer",
                 {"--edge", "bottom", "--align", "right", "--widthtype", "request", "--height",
                  "32", "--SetDockType", "true", "--SetPartialStrut", "true"});
    QRect before;
    const auto isSettled = [&] { // the host moves an icon after it has taken it in
        const QRect now = icon();
        QTest::qWait(300);
        return !now.isEmpty() && std::exchange(before, now) == now;
    };
    return m_host.waitForStarted() && QTest::qWaitFor(isSettled, 20000);
}

void TrayTest::endHost()
{
    m_host.terminate();
    QVERIFY(m_host.waitForFinished());
}

/// Clicks when the click before is so long ago that the two are no double click: the toolkit opens
/// no menu for the second half of one, and tells the program nothing of it.
bool TrayTest::clickIcon(int button)
{
    if (m_clicked.isValid()) {
        QTest::qWait(static_cast<int>(qMax<qint64>(0, doubleClickMs - m_clicked.elapsed())));
    }
    const bool isSent = m_desktop->click(icon().center(), button);
    m_clicked.start();
    return isSent && m_desktop->movePointer({683, 300}); // else the tool tip comes, a window too
}

/// Opens the icon's menu and walks down to an entry.
bool TrayTest::choose(Entry entry)
{
    const QVector<quint32> before = m_desktop->windowsOf(m_program->processId());
    quint32 menu = 0;
    const auto isOpen = [&] {
        for (const quint32 window : m_desktop->windowsOf(m_program->processId())) {
            menu = before.contains(window) ? menu : window;
        }
        return menu != 0;
    };
    if (!clickIcon(3) || !QTest::qWaitFor(isOpen, waitMs)) {
        return false;
    }
    for (int step = 0; step <= entry; ++step) {
        m_desktop->key("Down");
    }
    const auto isGone = [&] {
        return !m_desktop->windowsOf(m_program->processId()).contains(menu);
    };
    return m_desktop->key("Return") && QTest::qWaitFor(isGone, waitMs);
}

void TrayTest::initTestCase()
{
    m_desktop = std::make_unique<Desktop>();
    QVERIFY(m_desktop->start());
    QVERIFY(m_desktop->setSetting("enabled", "true"));
    m_program = std::make_unique<ShownProgram>(*m_desktop);
    QVERIFY(m_program->start());
}

void TrayTest::init()
{
    QTRY_VERIFY_WITH_TIMEOUT(m_program->isInFront(), waitMs);
}

void TrayTest::cleanupTestCase()
{
    if (m_program) {
        QVERIFY(m_program->stop());
    }
    endHost();
    m_program.reset();
    m_desktop.reset();
}

void TrayTest::theIconAppearsWithTheTray()
{
    QVERIFY(icon().isEmpty());
    QVERIFY(startHost());
    QVERIFY(m_program->hasWindow("Yestermark"));
}

void TrayTest::aClickMinimisesTheWindowAndTheNextShowsIt()
{
    QVERIFY(clickIcon());
    QTRY_VERIFY_WITH_TIMEOUT(!m_program->isInFront(), waitMs);
    QTRY_VERIFY_WITH_TIMEOUT(m_desktop->windowsOf(m_program->processId()).size() == 1, waitMs);
    QVERIFY(clickIcon());
    QTRY_VERIFY_WITH_TIMEOUT(m_program->isInFront() && m_program->hasWindow("Yestermark"), waitMs);
}

void TrayTest::aClickBringsUpAHiddenWindow()
{
    QVERIFY(m_program->click("Button_close"));
    QVERIFY(m_program->click("Button_confirm", question)); // minimises to the tray
    QTRY_VERIFY_WITH_TIMEOUT(!m_program->hasWindow("Yestermark"), waitMs);
    QVERIFY(clickIcon());
    QTRY_VERIFY_WITH_TIMEOUT(m_program->isInFront() && m_program->hasWindow("Yestermark"), waitMs);
}

void TrayTest::aMiddleClickDoesNothing()
{
    QVERIFY(clickIcon(2));
    QVERIFY(m_program->choose("about")); // what came of the click is over
    QTRY_VERIFY_WITH_TIMEOUT(m_program->hasWindow("About"), waitMs);
    QVERIFY(m_desktop->key("Escape"));
    QTRY_VERIFY_WITH_TIMEOUT(!m_program->hasWindow("About"), waitMs);
}

void TrayTest::theMenuComesAfterAMiddleClick()
{
    QVERIFY(clickIcon(2));
    QVERIFY(choose(Exit));
    QTRY_VERIFY_WITH_TIMEOUT(m_program->hasWindow(question), waitMs);
    QVERIFY(m_program->click("Button_cancel", question));
    QTRY_VERIFY_WITH_TIMEOUT(!m_program->hasWindow(question), waitMs);
}

void TrayTest::theMenuStartsAndPausesRecording()
{
    QVERIFY(choose(StartOrPause));
    QTRY_COMPARE_WITH_TIMEOUT(m_desktop->setting("recording-memory"), QStringLiteral("true"),
                              waitMs);
    // Out of the way: the icon is all that is left.
    QTRY_VERIFY_WITH_TIMEOUT(m_desktop->windowsOf(m_program->processId()).size() == 1, waitMs);
    QVERIFY(choose(StartOrPause));
    QTRY_COMPARE_WITH_TIMEOUT(m_desktop->setting("recording-memory"), QStringLiteral("false"),
                              waitMs);
    QVERIFY(choose(Open));
    QTRY_VERIFY_WITH_TIMEOUT(m_program->isInFront() && m_program->hasWindow("Yestermark"), waitMs);
}

void TrayTest::theMenuOpensTheWindow_data()
{
    QTest::addColumn<bool>("hidden");
    QTest::newRow("minimised") << false;
    QTest::newRow("hidden") << true;
}

void TrayTest::theMenuOpensTheWindow()
{
    QFETCH(bool, hidden);
    QVERIFY(m_program->click(hidden ? "Button_close" : "Button_minimize"));
    if (hidden) {
        QVERIFY(m_program->click("Button_confirm", question));
    }
    QTRY_VERIFY_WITH_TIMEOUT(m_desktop->windowsOf(m_program->processId()).size() == 1, waitMs);
    QVERIFY(choose(Open));
    QTRY_VERIFY_WITH_TIMEOUT(m_program->isInFront() && m_program->hasWindow("Yestermark"), waitMs);
}

void TrayTest::theMenuOpensTheSettings()
{
    QVERIFY(m_program->click("Button_minimize"));
    QTRY_VERIFY_WITH_TIMEOUT(m_desktop->windowsOf(m_program->processId()).size() == 1, waitMs);
    QVERIFY(choose(Settings));
    QTRY_VERIFY_WITH_TIMEOUT(m_program->hasWindow("Settings") && m_program->isInFront(), waitMs);
    QVERIFY(m_program->click("Button_cancel", "Settings"));
    QTRY_VERIFY_WITH_TIMEOUT(!m_program->hasWindow("Settings"), waitMs);
}

void TrayTest::theMenusExitAsks()
{
    QVERIFY(choose(Exit));
    QTRY_VERIFY_WITH_TIMEOUT(m_program->hasWindow(question), waitMs);
    QVERIFY(m_program->click("Button_cancel", question));
    QTRY_VERIFY_WITH_TIMEOUT(!m_program->hasWindow(question), waitMs);
    QVERIFY(m_program->isRunning());
}

void TrayTest::theIconComesBackWithANewTray()
{
    endHost();
    QTRY_VERIFY_WITH_TIMEOUT(icon().isEmpty(), waitMs);
    QVERIFY(startHost());
}

QTEST_GUILESS_MAIN(TrayTest)
#include "traytest.moc"
