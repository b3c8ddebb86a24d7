// The window's tie to the desktop under a real X11 window manager, and on Wayland with a window
// manager of the test's own behind the same class.

#include "app/windowsettings.h"
#include "foreignwindow.h"
#include "windowfixture.h"
#include "windowmanager/fake/fakewindowbackend.h"

#include <KWindowSystem>
#include <QGuiApplication>
#include <QProcess>
#include <QScreen>
#include <QSignalSpy>
#include <QTest>
#include <QWidget>

#include <optional>
#include <unistd.h>

namespace
{
QString forcedPlatform;               // empty: the real one
FakeWindowBackend *backend = nullptr; // of the process's window manager
} // namespace

// Stands before the toolkit's own, so that one process can be on either display system.
QString QGuiApplication::platformName()
{
    return forcedPlatform.isEmpty() ? QStringLiteral("xcb") : forcedPlatform;
}

class TestWindowSettings : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void cleanup();

    void withoutPanelsTheWholeScreenIsFree();
    void aPanelThatStoodAtTheStartIsLeftFree();
    void aPanelThatComesLaterIsNotLeftFree();
    void spaceThatTheDesktopReservesIsTold();
    void keysThatAreTypedElsewhereWakeNobody_data();
    void keysThatAreTypedElsewhereWakeNobody();
    void propertiesOfOurOwnWindowsAreStillTold();
    void theWindowOfOurTitleIsMinimisedAndRaised();
    void aMinimisedWindowIsRememberedByItsId();
    void onWaylandNothingHappensBeforeTheWindowIsTold();
    void onWaylandOnlyOurOwnWindowOfOurTitleCounts();
    void onWaylandAWindowThatTheToolkitMinimisesIsMinimisedByTheDesktopToo();
    void onX11TheToolkitsMinimisingIsEnough();

private:
    static std::unique_ptr<QWidget> panel(const QRect &geometry);
};

void TestWindowSettings::initTestCase()
{
    backend = FakeWindowBackend::install();
}

void TestWindowSettings::cleanup()
{
    forcedPlatform.clear();
    backend->clear();
}

std::unique_ptr<QWidget> TestWindowSettings::panel(const QRect &geometry)
{
    auto widget = std::make_unique<QWidget>();
    widget->setAttribute(Qt::WA_X11NetWmWindowTypeDock);
    widget->setGeometry(geometry);
    widget->show();
    if (!QTest::qWaitForWindowExposed(widget.get())) {
        return {};
    }
    return widget;
}

void TestWindowSettings::withoutPanelsTheWholeScreenIsFree()
{
    const WindowSettings settings;
    QCOMPARE(settings.getWorkArea(), QGuiApplication::primaryScreen()->geometry());
}

void TestWindowSettings::aPanelThatStoodAtTheStartIsLeftFree()
{
    const QSize screen = QGuiApplication::primaryScreen()->size();
    const auto bottom = panel({0, screen.height() - 48, screen.width(), 48});
    QVERIFY(bottom);
    const auto isLeftFree = [&] {
        const WindowSettings settings;
        return settings.getWorkArea() == QRect(0, 0, screen.width(), screen.height() - 48);
    };
    QTRY_VERIFY_WITH_TIMEOUT(isLeftFree(), 10000);
}

void TestWindowSettings::aPanelThatComesLaterIsNotLeftFree()
{
    const auto hasNoPanel = [] {
        const WindowSettings settings;
        return settings.getWorkArea() == QGuiApplication::primaryScreen()->geometry();
    };
    QTRY_VERIFY_WITH_TIMEOUT(hasNoPanel(), 10000);
    const WindowSettings before;
    const QSize screen = QGuiApplication::primaryScreen()->size();
    const auto top = panel({0, 0, screen.width(), 30});
    QVERIFY(top);
    const auto isSeenByANewOne = [] {
        const WindowSettings settings;
        return settings.getWorkArea() != QGuiApplication::primaryScreen()->geometry();
    };
    QTRY_VERIFY_WITH_TIMEOUT(isSeenByANewOne(), 10000);
    QCOMPARE(before.getWorkArea(), QGuiApplication::primaryScreen()->geometry());
}

void TestWindowSettings::spaceThatTheDesktopReservesIsTold()
{
    WindowSettings settings;
    QSignalSpy changed(&settings, &WindowSettings::workAreaChanged);
    const QSize screen = QGuiApplication::primaryScreen()->size();
    const auto left = panel({0, 0, 60, screen.height()});
    QVERIFY(left);
    QCOMPARE(QProcess::execute(QStringLiteral("xprop"),
                               {QStringLiteral("-id"), QString::number(left->winId()),
                                QStringLiteral("-f"), QStringLiteral("_NET_WM_STRUT"),
                                QStringLiteral("32c"), QStringLiteral("-set"),
                                QStringLiteral("_NET_WM_STRUT"), QStringLiteral("60, 0, 0, 0")}),
             0);
    const QRect free(60, 0, screen.width() - 60, screen.height());
    QTRY_VERIFY_WITH_TIMEOUT(!changed.isEmpty() && changed.last().first().toRect() == free, 10000);
}

void TestWindowSettings::keysThatAreTypedElsewhereWakeNobody_data()
{
    QTest::addColumn<bool>("isThereBefore");
    QTest::newRow("in a window that was there before") << true;
    QTest::newRow("in a window that comes later") << false;
}

void TestWindowSettings::keysThatAreTypedElsewhereWakeNobody()
{
    QFETCH(bool, isThereBefore);
    std::optional<WindowSettings> settings(std::in_place); // lets KWindowSystem watch all windows
    // The server gives a number again that an earlier window had.
    QTRY_VERIFY_WITH_TIMEOUT(KWindowSystem::windows().isEmpty(), 10000);
    if (isThereBefore) {
        settings.reset();
    }
    ForeignWindow window;
    QTRY_VERIFY_WITH_TIMEOUT(KWindowSystem::windows().contains(window.id()), 10000);
    if (isThereBefore) {
        settings.emplace();
    }
    const ToldEvents told(window);
    for (int key = 0; key < 20; ++key) {
        window.noteKeyPress();
    }
    window.widen();
    QTRY_VERIFY_WITH_TIMEOUT(told.resizes() > 0, 10000);
    QCOMPARE(told.keyPresses(), 0);
}

void TestWindowSettings::propertiesOfOurOwnWindowsAreStillTold()
{
    const WindowSettings settings;
    QWindow ours;
    ours.resize(400, 300);
    ours.show();
    QVERIFY(QTest::qWaitForWindowExposed(&ours));
    QTRY_VERIFY_WITH_TIMEOUT(KWindowSystem::windows().contains(ours.winId()), 10000);
    // The toolkit learns of this by a property.
    QCOMPARE(QProcess::execute(QStringLiteral("xdotool"),
                               {QStringLiteral("windowminimize"), QString::number(ours.winId())}),
             0);
    QTRY_VERIFY_WITH_TIMEOUT(ours.windowStates() & Qt::WindowMinimized, 10000);
}

void TestWindowSettings::theWindowOfOurTitleIsMinimisedAndRaised()
{
    WindowSettings settings;
    QWindow ours;
    ours.setTitle(QStringLiteral("Yestermark"));
    ours.resize(400, 300);
    ours.show();
    QWindow other;
    other.setTitle(QStringLiteral("Yestermark tips"));
    other.resize(400, 300);
    other.show();
    QVERIFY(QTest::qWaitForWindowExposed(&ours));
    QVERIFY(QTest::qWaitForWindowExposed(&other));
    settings.raiseWindow();
    QTRY_COMPARE_WITH_TIMEOUT(WindowFixture::activeWindow(), quint64(ours.winId()), 10000);
    settings.requestShowMinimized();
    QTRY_VERIFY_WITH_TIMEOUT(WindowFixture::hasState(ours, QStringLiteral("_NET_WM_STATE_HIDDEN")),
                             10000);
    QVERIFY(!WindowFixture::hasState(other, QStringLiteral("_NET_WM_STATE_HIDDEN")));
    settings.raiseWindow();
    QTRY_COMPARE_WITH_TIMEOUT(WindowFixture::activeWindow(), quint64(ours.winId()), 10000);
}

void TestWindowSettings::aMinimisedWindowIsRememberedByItsId()
{
    WindowSettings settings;
    settings.requestShowMinimized(); // no window of ours: nothing happens
    QWindow ours;
    ours.setTitle(QStringLiteral("Yestermark"));
    ours.resize(400, 300);
    ours.show();
    QVERIFY(QTest::qWaitForWindowExposed(&ours));
    settings.requestShowMinimized();
    QTRY_VERIFY_WITH_TIMEOUT(WindowFixture::hasState(ours, QStringLiteral("_NET_WM_STATE_HIDDEN")),
                             10000);
    settings.raiseWindow();
    QTRY_COMPARE_WITH_TIMEOUT(WindowFixture::activeWindow(), quint64(ours.winId()), 10000);
    ours.setTitle(QStringLiteral("Another title"));
    settings.requestShowMinimized();
    QTRY_VERIFY_WITH_TIMEOUT(WindowFixture::hasState(ours, QStringLiteral("_NET_WM_STATE_HIDDEN")),
                             10000);
}

void TestWindowSettings::onWaylandNothingHappensBeforeTheWindowIsTold()
{
    forcedPlatform = QStringLiteral("wayland");
    backend->addWindow(QStringLiteral("Another program's"), ::getpid() + 1);
    WindowSettings settings;
    backend->addWindow(QStringLiteral("A later one's"), ::getpid() + 1);
    settings.raiseWindow();
    settings.requestShowMinimized();
    QCOMPARE(backend->requests(), QStringList());
}

void TestWindowSettings::onWaylandOnlyOurOwnWindowOfOurTitleCounts()
{
    forcedPlatform = QStringLiteral("wayland-egl");
    WindowSettings settings;
    backend->addWindow(QStringLiteral("Yestermark"), ::getpid() + 1);
    backend->addWindow(QStringLiteral("About"), ::getpid());
    settings.raiseWindow();
    settings.requestShowMinimized();
    QCOMPARE(backend->requests(), QStringList());
    const QVariant ours = backend->addWindow(QStringLiteral("Yestermark"), ::getpid());
    backend->addWindow(QStringLiteral("Yestermark"), ::getpid() + 1);
    backend->rename(ours, QStringLiteral("ours"));
    settings.raiseWindow();
    settings.requestShowMinimized();
    QCOMPARE(backend->requests(), QStringList({"activate ours", "minimize ours"}));
}

void TestWindowSettings::onWaylandAWindowThatTheToolkitMinimisesIsMinimisedByTheDesktopToo()
{
    forcedPlatform = QStringLiteral("wayland");
    WindowSettings settings;
    backend->addWindow(QStringLiteral("Yestermark"), ::getpid());
    settings.onWindowStateChanged(Qt::WindowMaximized);
    settings.onWindowStateChanged(Qt::WindowNoState);
    QCOMPARE(backend->requests(), QStringList());
    settings.onWindowStateChanged(Qt::WindowMinimized);
    QCOMPARE(backend->requests(), QStringList("minimize Yestermark"));
}

void TestWindowSettings::onX11TheToolkitsMinimisingIsEnough()
{
    WindowSettings settings;
    QWindow ours;
    ours.setTitle(QStringLiteral("Yestermark"));
    ours.resize(400, 300);
    ours.show();
    QVERIFY(QTest::qWaitForWindowExposed(&ours));
    settings.onWindowStateChanged(Qt::WindowMinimized);
    settings.raiseWindow(); // is answered after the other, had there been one
    QTRY_COMPARE_WITH_TIMEOUT(WindowFixture::activeWindow(), quint64(ours.winId()), 10000);
    QCOMPARE(ours.windowState(), Qt::WindowNoState);
    QCOMPARE(backend->requests(), QStringList());
}

QTEST_MAIN(TestWindowSettings)
#include "windowsettingstest.moc"
