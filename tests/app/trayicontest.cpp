// The tray icon: its menu and looks, what each entry asks for, and a real tray that comes late.

#include "app/trayicon.h"
#include "windowfixture.h"

#include <QAction>
#include <QMenu>
#include <QProcess>
#include <QQuickView>
#include <QSignalSpy>
#include <QTest>

#include <utility>

namespace
{
const QStringList startLook = {QStringLiteral("Yestermark"), QStringLiteral("Start Memorizing")};
const QStringList pauseLook = {QStringLiteral("Yestermark-Memorizing..."),
                               QStringLiteral("Pause Memory")};
QString forcedPlatform; // empty: the real one
} // namespace

// Stands before the toolkit's own, so that a click can be judged as on Wayland.
QString QGuiApplication::platformName()
{
    return forcedPlatform.isEmpty() ? QStringLiteral("xcb") : forcedPlatform;
}

namespace
{
/// Writes down which signals of a tray icon came, in their order.
class Trace
{
public:
    explicit Trace(TrayIcon &tray)
    {
        follow(tray, &TrayIcon::trayiconRequestToStartMemory, "request start");
        follow(tray, &TrayIcon::startMemory, "start");
        follow(tray, &TrayIcon::pauseMemory, "pause");
        follow(tray, &TrayIcon::quitMemory, "quit");
        follow(tray, &TrayIcon::openSettings, "settings");
        follow(tray, &TrayIcon::programExit, "exit");
        follow(tray, &TrayIcon::activateYestermark, "activate");
        follow(tray, &TrayIcon::requestMinimizeYestermark, "minimize");
    }
    bool contains(const char *name) const { return m_told.contains(QLatin1String(name)); }
    QStringList take() { return std::exchange(m_told, {}); }

private:
    void follow(TrayIcon &tray, void (TrayIcon::*signal)(), const char *name)
    {
        QObject::connect(&tray, signal, &m_context,
                         [this, name] { m_told.append(QLatin1String(name)); });
    }
    QObject m_context;
    QStringList m_told;
};

QAction *actionOf(const TrayIcon &tray, const char *name)
{
    return tray.findChild<QAction *>(QLatin1String("tavel-ai-yestermark_QAction_") +
                                     QLatin1String(name));
}

/// Tool tip and text of the entry that pauses or starts.
QStringList lookOf(const TrayIcon &tray)
{
    return {tray.findChild<QSystemTrayIcon *>()->toolTip(), actionOf(tray, "pause")->text()};
}

/// Whether an icon is that of a file.
bool isOf(const QIcon &icon, const char *file)
{
    const QImage expected = QIcon(QLatin1String(file)).pixmap(64).toImage();
    return !expected.isNull() && icon.pixmap(64).toImage() == expected;
}
} // namespace

class TestTrayIcon : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void theMenuHasItsEntriesInOrder();
    void theMenuHasItsNamesAndIcons();
    void theLookFollowsTheState();
    void theTraysOwnIconIsAlwaysTheSame();
    void anEntryAsksForWhatItSays_data();
    void anEntryAsksForWhatItSays();
    void pausingChangesTheLookBeforeAnySetting();
    void aRefusedStartGivesNoStartAndKeepsTheStartLook();
    void aConfirmedStartTellsThePages();
    void theStartButtonOfThePageEndsInTheStartLookUntilTheSettingComesBack();
    void onlyAPlainClickCounts_data();
    void onlyAPlainClickCounts();
    void aClickMinimisesTheShownWindowAndBringsTheOthersBack();
    void onWaylandAClickBringsAWindowWithoutTheKeyboardBack();
    void aClickThatMinimisesPaintsTheWindowAnew();
    void aTrayThatComesLateShowsTheIconAndItsClicks();

private:
    QAction *action(const char *name) const { return actionOf(*m_tray, name); }
    QStringList look() const { return lookOf(*m_tray); }

    std::unique_ptr<QQuickView> m_view;
    std::unique_ptr<TrayIcon> m_tray;
    QSystemTrayIcon *m_icon = nullptr;
};

void TestTrayIcon::init()
{
    m_view = std::make_unique<QQuickView>();
    m_tray = std::make_unique<TrayIcon>(m_view.get(), false, nullptr);
    m_icon = m_tray->findChild<QSystemTrayIcon *>();
    QVERIFY(m_icon);
}

void TestTrayIcon::cleanup()
{
    forcedPlatform.clear();
    m_tray.reset();
    m_view.reset();
}

void TestTrayIcon::theMenuHasItsEntriesInOrder()
{
    QVERIFY(m_icon->isVisible());
    const QMenu *menu = m_icon->contextMenu();
    QVERIFY(menu);
    QVERIFY(!menu->parent());
    QCOMPARE(menu->accessibleName(), QStringLiteral("tavel-ai-yestermark_QMenu_trayIcon"));
    QStringList entries;
    for (const QAction *entry : menu->actions()) {
        entries.append(entry->isSeparator() ? QStringLiteral("-") : entry->text());
    }
    QCOMPARE(entries,
             QStringList({"Open Yestermark", "Start Memorizing", "Settings", "-", "Exit"}));
    QCOMPARE(menu->actions().at(0), action("open"));
    QCOMPARE(menu->actions().at(1), action("pause"));
    QCOMPARE(menu->actions().at(2), action("settings"));
    QCOMPARE(menu->actions().at(4), action("exit"));
}

void TestTrayIcon::theMenuHasItsNamesAndIcons()
{
    QStringList names;
    for (const QAction *entry : m_icon->contextMenu()->actions()) {
        names.append(entry->objectName());
    }
    QCOMPARE(names,
             QStringList({"tavel-ai-yestermark_QAction_open", "tavel-ai-yestermark_QAction_pause",
                          "tavel-ai-yestermark_QAction_settings", QString(),
                          "tavel-ai-yestermark_QAction_exit"}));
    QVERIFY(isOf(action("open")->icon(), ":/image/yestermarktrayicon.svg"));
    QVERIFY(isOf(action("pause")->icon(), ":/image/menustartmemoryicon.svg"));
    QVERIFY(isOf(action("settings")->icon(), ":/image/settings.svg"));
    QVERIFY(isOf(action("exit")->icon(), ":/image/exit.svg"));
}

void TestTrayIcon::theTraysOwnIconIsAlwaysTheSame()
{
    for (const bool isRecording : {false, true, false}) {
        m_tray->updateTrayIcon(isRecording);
        QVERIFY(isOf(m_icon->icon(), ":/image/yestermarktrayicon.svg"));
        QVERIFY(isOf(action("pause")->icon(),
                     isRecording ? ":/image/pausememory.svg" : ":/image/menustartmemoryicon.svg"));
        QVERIFY(!isOf(action("pause")->icon(),
                      isRecording ? ":/image/menustartmemoryicon.svg" : ":/image/pausememory.svg"));
    }
}

void TestTrayIcon::theLookFollowsTheState()
{
    QCOMPARE(look(), startLook);
    m_tray->updateTrayIcon(true);
    QCOMPARE(look(), pauseLook);
    m_tray->updateTrayIcon(false);
    QCOMPARE(look(), startLook);
    const TrayIcon recording(m_view.get(), true, nullptr);
    QCOMPARE(lookOf(recording), pauseLook);
}

void TestTrayIcon::anEntryAsksForWhatItSays_data()
{
    QTest::addColumn<bool>("isRecording");
    QTest::addColumn<QByteArray>("entry");
    QTest::addColumn<QStringList>("asked");
    QTest::newRow("open") << true << QByteArray("open") << QStringList("activate");
    QTest::newRow("pause") << true << QByteArray("pause") << QStringList("pause");
    QTest::newRow("start") << false << QByteArray("pause") << QStringList("request start");
    QTest::newRow("settings, behind the window")
        << true << QByteArray("settings") << QStringList({"activate", "settings"});
    QTest::newRow("exit, behind the window")
        << false << QByteArray("exit") << QStringList({"activate", "quit"});
}

void TestTrayIcon::anEntryAsksForWhatItSays()
{
    QFETCH(bool, isRecording);
    QFETCH(QByteArray, entry);
    QFETCH(QStringList, asked);
    m_tray->updateTrayIcon(isRecording);
    Trace trace(*m_tray);
    action(entry.constData())->trigger();
    QCOMPARE(trace.take(), asked);
}

void TestTrayIcon::pausingChangesTheLookBeforeAnySetting()
{
    m_tray->updateTrayIcon(true);
    QStringList lookAtSignal;
    connect(m_tray.get(), &TrayIcon::pauseMemory, this,
            [this, &lookAtSignal] { lookAtSignal = look(); });
    action("pause")->trigger();
    QCOMPARE(lookAtSignal, startLook);
    QCOMPARE(look(), startLook);
}

void TestTrayIcon::aRefusedStartGivesNoStartAndKeepsTheStartLook()
{
    connect(m_tray.get(), &TrayIcon::trayiconRequestToStartMemory, this,
            [this] { m_tray->updateTrayIcon(false); });
    Trace trace(*m_tray);
    action("pause")->trigger();
    QCOMPARE(trace.take(), QStringList("request start"));
    QCOMPARE(look(), startLook);
}

void TestTrayIcon::aConfirmedStartTellsThePages()
{
    Trace trace(*m_tray);
    m_tray->confirmStartMemory();
    QCOMPARE(trace.take(), QStringList("start"));
    QCOMPARE(look(), pauseLook);
    action("pause")->trigger();
    QCOMPARE(trace.take(), QStringList("pause"));
}

void TestTrayIcon::theStartButtonOfThePageEndsInTheStartLookUntilTheSettingComesBack()
{
    Q_EMIT m_tray->uiClickStartMemoryBtn();
    QCOMPARE(look(), startLook);
    Trace trace(*m_tray);
    action("pause")->trigger(); // it counts as recording all the same
    QCOMPARE(trace.take(), QStringList("pause"));
    Q_EMIT m_tray->uiClickStartMemoryBtn();
    m_tray->updateTrayIcon(true);
    QCOMPARE(look(), pauseLook);
}

void TestTrayIcon::onlyAPlainClickCounts_data()
{
    QTest::addColumn<int>("reason");
    QTest::newRow("unknown") << int(QSystemTrayIcon::Unknown);
    QTest::newRow("right") << int(QSystemTrayIcon::Context);
    QTest::newRow("double") << int(QSystemTrayIcon::DoubleClick);
    QTest::newRow("middle") << int(QSystemTrayIcon::MiddleClick);
}

void TestTrayIcon::onlyAPlainClickCounts()
{
    QFETCH(int, reason);
    Trace trace(*m_tray);
    Q_EMIT m_icon->activated(QSystemTrayIcon::ActivationReason(reason));
    QCOMPARE(trace.take(), QStringList());
}

void TestTrayIcon::aClickMinimisesTheShownWindowAndBringsTheOthersBack()
{
    Trace trace(*m_tray);
    Q_EMIT m_icon->activated(QSystemTrayIcon::Trigger);
    QCOMPARE(trace.take(), QStringList("activate"));
    m_view->show();
    QVERIFY(QTest::qWaitForWindowExposed(m_view.get()));
    Q_EMIT m_icon->activated(QSystemTrayIcon::Trigger);
    QCOMPARE(trace.take(), QStringList("minimize"));
    m_view->showMinimized();
    QTRY_COMPARE(m_view->windowState(), Qt::WindowMinimized);
    Q_EMIT m_icon->activated(QSystemTrayIcon::Trigger);
    QCOMPARE(trace.take(), QStringList("activate"));
}

void TestTrayIcon::onWaylandAClickBringsAWindowWithoutTheKeyboardBack()
{
    m_view->show();
    QTRY_VERIFY_WITH_TIMEOUT(m_view->isActive(), 10000);
    QWindow other;
    other.resize(200, 100);
    other.show();
    QTRY_VERIFY_WITH_TIMEOUT(other.isActive() && !m_view->isActive(), 10000);
    Trace trace(*m_tray);
    Q_EMIT m_icon->activated(QSystemTrayIcon::Trigger);
    QCOMPARE(trace.take(), QStringList("minimize"));
    forcedPlatform = QStringLiteral("wayland");
    Q_EMIT m_icon->activated(QSystemTrayIcon::Trigger);
    QCOMPARE(trace.take(), QStringList("activate"));
    m_view->requestActivate();
    QTRY_VERIFY_WITH_TIMEOUT(m_view->isActive(), 10000);
    Q_EMIT m_icon->activated(QSystemTrayIcon::Trigger);
    QCOMPARE(trace.take(), QStringList("minimize"));
}

void TestTrayIcon::aClickThatMinimisesPaintsTheWindowAnew()
{
    m_view->show();
    QVERIFY(QTest::qWaitForWindowExposed(m_view.get()));
    QSignalSpy frames(m_view.get(), &QQuickWindow::frameSwapped);
    const auto isStill = [&frames] {
        const int before = frames.count();
        QTest::qWait(200);
        return frames.count() == before;
    };
    QTRY_VERIFY_WITH_TIMEOUT(isStill(), 10000);
    const int before = frames.count();
    Q_EMIT m_icon->activated(QSystemTrayIcon::Trigger); // nobody minimises it here
    QTRY_VERIFY_WITH_TIMEOUT(frames.count() > before, 10000);
}

void TestTrayIcon::aTrayThatComesLateShowsTheIconAndItsClicks()
{
    QVERIFY(!m_icon->geometry().isValid() || m_icon->geometry().isEmpty());
    QProcess host;
    host.setProcessChannelMode(QProcess::ForwardedChannels);
    host.start(QStringLiteral("trayer"), {QStringLiteral("--edge"), QStringLiteral("top"),
                                          QStringLiteral("--height"), QStringLiteral("32")});
    QVERIFY(host.waitForStarted());
    QTRY_VERIFY_WITH_TIMEOUT(!m_icon->geometry().isEmpty(), 20000);
    Trace trace(*m_tray);
    // The host may move the icon after it has taken it in.
    const auto isAskedByAClick = [&] {
        return WindowFixture::click(m_icon->geometry().center()) &&
               QTest::qWaitFor([&] { return trace.contains("activate"); }, 500);
    };
    QTRY_VERIFY_WITH_TIMEOUT(isAskedByAClick(), 10000);
    trace.take();
    host.terminate();
    QVERIFY(host.waitForFinished());
    // Gone again: the menu and the next tray still work.
    Q_EMIT m_icon->activated(QSystemTrayIcon::Trigger);
    QCOMPARE(trace.take(), QStringList("activate"));
}

QTEST_MAIN(TestTrayIcon)
#include "trayicontest.moc"
