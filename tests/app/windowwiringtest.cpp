// Who hears whom once the window is there: each signal of the shell, the pages' facade and the
// tracker against what it leads to. All parts are real but the desktop; the window stands on an X
// display.

#include "app/customtitlebar.h"
#include "app/startup.h"
#include "app/trayicon.h"
#include "app/yestermarkbackend.h"
#include "capture/capturefixture.h"
#include "capture/privatemember.h"
#include "database/fileremoval.h"
#include "desktopbridge/fake/fakedesktop.h"
#include "models/videoimageprovider.h"
#include "models/videoinfo.h"
#include "settingsspy.h"
#include "support/fakeclock.h"
#include "support/logcapture.h"
#include "windowfixture.h"

#include <QAction>
#include <QDBusConnection>
#include <QDir>
#include <QProcess>
#include <QQmlContext>
#include <QQmlEngine>
#include <QQuickItem>
#include <QScreen>
#include <QSignalSpy>
#include <QSystemTrayIcon>
#include <QTest>
#include <QTimer>
#include <QWidget>

#include <unistd.h>

using CaptureFixture::storeFrameAt;

struct WindowSettingsOfBackend {
    using Type = WindowSettings YestermarkBackend::*;
    friend Type memberOf(WindowSettingsOfBackend);
};
template struct PrivateMember<WindowSettingsOfBackend, &YestermarkBackend::m_windowSettings>;

struct TrackerOfBackend {
    using Type = ScreenHistoryTracker YestermarkBackend::*;
    friend Type memberOf(TrackerOfBackend);
};
template struct PrivateMember<TrackerOfBackend, &YestermarkBackend::m_screenHistoryTracker>;

namespace
{
constexpr int waitMs = 20000;

class Guide : public QObject
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "com.guide.hotel")

public:
    QStringList asked;

public Q_SLOTS:
    void showGuide(const QString &application) { asked.append(application); }
};

/// A backend and what its pages know.
struct Shell {
    Shell() = default;
    ~Shell()
    {
        const bool isShown = view->isVisible() && view->windowState() != Qt::WindowMinimized;
        if (QQuickWindow::sceneGraphBackend() == QLatin1String("software") && isShown &&
            QTest::qWaitForWindowExposed(view, 5000)) {
            // The software renderer frees the textures of pictures with its next frame or never.
            view->setSource(QUrl());
            QSignalSpy frames(view, &QQuickWindow::frameSwapped);
            view->update();
            frames.wait(1000);
        }
    }
    Q_DISABLE_COPY_MOVE(Shell)

    YestermarkBackend backend;
    QQuickView *view = findView();
    VideoInfo *videoInfo = find<VideoInfo>("VideoInfo");
    TrayIcon *tray = find<TrayIcon>("trayIcon");
    CustomTitleBar *titleBar = find<CustomTitleBar>("CustomTitleBar");

    ScreenHistoryTracker &tracker() { return backend.*memberOf(TrackerOfBackend()); }
    WindowSettings &windowSettings() { return backend.*memberOf(WindowSettingsOfBackend()); }
    QString toolTip() const { return tray->findChild<QSystemTrayIcon *>()->toolTip(); }
    bool flag(const char *name) const { return view->rootObject()->property(name).toBool(); }
    QList<QTimer *> clockPolls() const
    {
        QList<QTimer *> polls;
        for (QTimer *timer :
             backend.findChildren<QTimer *>(QString(), Qt::FindDirectChildrenOnly)) {
            if (timer->interval() == 5000 && !timer->isSingleShot() && timer->isActive()) {
                polls.append(timer);
            }
        }
        return polls;
    }

private:
    static QQuickView *findView()
    {
        for (QWindow *window : QGuiApplication::topLevelWindows()) {
            auto *candidate = qobject_cast<QQuickView *>(window);
            if (candidate) {
                return candidate;
            }
        }
        return nullptr;
    }
    template <typename Object>
    Object *find(const char *name) const
    {
        return qobject_cast<Object *>(
            view->rootContext()->contextProperty(QLatin1String(name)).value<QObject *>());
    }
};
} // namespace

class TestWindowWiring : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();

    void thePageFindsItsObjectsAndPictures();
    void theWindowFillsTheScreenAndIsPinnedASecondLater();
    void besideAPanelTheWindowIsPinnedAtWhatItWasGiven();
    void aWorkAreaBecomesTheWindowsPlaceAndItsOnlySize();
    void aCloseRequestRaisesTheWindowAndAsks();
    void f1OpensTheGuide();
    void aTrayThatIsAskedShowsAndMinimisesTheWindow();
    void aClockFoundBackByTheTrackerStopsAndAsks();
    void theStartButtonOfThePageTellsTheTray();
    void theStartButtonWithTheClockBehindTellsNobody();
    void aStartFromTheTrayConfirmsThenRecordsThenEnables();
    void aStartFromTheTrayWithTheClockBehindIsRefused();
    void aPauseFromTheTrayIsWritten();
    void theTrayFollowsTheSetting();
    void theTrayAndTheTitleBarEndTheProgram();
    void theTitleBarsChoiceIsWritten();
    void aChoiceFromOutsideReachesTitleBarAndPagesAndIsNotWrittenBack();
    void deletedHistoryIsRecordedOn();
    void historyThatCannotBeDeletedLeavesRecordingOff();
    void anAdjustedClockIsPolledByATimerForEachCall();
    void storedFramesReachTheAxis();
    void theEndLeavesNoPageWithoutItsObjects();

private:
    std::unique_ptr<ConfigManager> m_settings; // as another program that writes the same keys
    std::unique_ptr<FakeDesktop> m_desktop;
    const QDateTime m_now{QDate(2024, 3, 5), QTime(14, 7, 31)};
};

void TestWindowWiring::initTestCase()
{
    registerMetaTypes();
    chooseRenderer();
    m_settings = std::make_unique<ConfigManager>();
    m_desktop = std::make_unique<FakeDesktop>();
}

void TestWindowWiring::init()
{
    FakeClock::set(m_now);
    CaptureFixture::eraseEverything();
    m_settings->setRecordingMemory(false);
    m_settings->setEnabled(false);
    m_settings->setCloseWindowOption(QStringLiteral("minimize"));
}

void TestWindowWiring::cleanup()
{
    FileRemoval::reset();
    FakeClock::reset();
}

void TestWindowWiring::thePageFindsItsObjectsAndPictures()
{
    const Shell shell;
    QVERIFY(shell.view);
    QVERIFY(shell.videoInfo && shell.tray && shell.titleBar);
    QQmlContext *context = shell.view->rootContext();
    QVERIFY(qobject_cast<VideoPreviewItem *>(
        context->contextProperty(QStringLiteral("VideoPreviewItem")).value<QObject *>()));
    QVERIFY(dynamic_cast<VideoImageProvider *>(
        shell.view->engine()->imageProvider(QStringLiteral("videoImageProvider"))));
    QCOMPARE(shell.view->title(), QStringLiteral("Yestermark"));
    QCOMPARE(shell.view->source(), QUrl(QStringLiteral("qrc:/qml/main.qml")));
    QCOMPARE(shell.view->status(), QQuickView::Ready);
    QCOMPARE(shell.view->flags() & Qt::FramelessWindowHint, Qt::FramelessWindowHint);
    for (QObject *owned :
         {static_cast<QObject *>(shell.videoInfo), static_cast<QObject *>(shell.tray),
          static_cast<QObject *>(shell.titleBar)}) {
        QCOMPARE(owned->parent(), const_cast<YestermarkBackend *>(&shell.backend));
    }
}

void TestWindowWiring::theWindowFillsTheScreenAndIsPinnedASecondLater()
{
    Shell shell;
    const QRect screen = QGuiApplication::primaryScreen()->geometry();
    for (int round = 0; round < 2; ++round) {
        QCOMPARE(shell.view->maximumSize(), screen.size());
        QCOMPARE(shell.view->minimumSize(), QSize(0, 0));
        QCOMPARE(shell.view->windowState(), Qt::WindowMaximized);
        QTRY_VERIFY_WITH_TIMEOUT(!shell.view->minimumSize().isNull(), waitMs);
        QCOMPARE(shell.view->minimumSize(), shell.view->geometry().size());
        QCOMPARE(shell.view->maximumSize(), shell.view->geometry().size());
        QVERIFY(screen.contains(shell.view->geometry()));
        shell.backend.activateYestermark(); // and once more
    }
}

void TestWindowWiring::besideAPanelTheWindowIsPinnedAtWhatItWasGiven()
{
    const QRect screen = QGuiApplication::primaryScreen()->geometry();
    const QRect free = screen.adjusted(0, 0, 0, -40);
    QWidget panel;
    panel.setAttribute(Qt::WA_X11NetWmWindowTypeDock);
    panel.setGeometry(0, free.height(), screen.width(), 40);
    panel.show();
    QVERIFY(QTest::qWaitForWindowExposed(&panel, waitMs));
    QCOMPARE(QProcess::execute(QStringLiteral("xprop"),
                               {QStringLiteral("-id"), QString::number(panel.winId()),
                                QStringLiteral("-f"), QStringLiteral("_NET_WM_STRUT"),
                                QStringLiteral("32c"), QStringLiteral("-set"),
                                QStringLiteral("_NET_WM_STRUT"), QStringLiteral("0, 0, 0, 40")}),
             0);
    QTRY_COMPARE_WITH_TIMEOUT(WindowSettings().getWorkArea(), free, waitMs);
    Shell shell;
    for (int round = 0; round < 2; ++round) { // the first may meet the news of the panel itself
        QCOMPARE(shell.view->maximumSize(), screen.size());
        QTRY_VERIFY_WITH_TIMEOUT(!shell.view->minimumSize().isNull(), waitMs);
        QCOMPARE(shell.view->geometry(), free);
        QCOMPARE(shell.view->minimumSize(), free.size());
        QCOMPARE(shell.view->maximumSize(), free.size());
        shell.backend.activateYestermark();
    }
}

void TestWindowWiring::aWorkAreaBecomesTheWindowsPlaceAndItsOnlySize()
{
    Shell shell;
    QTRY_VERIFY_WITH_TIMEOUT(!shell.view->minimumSize().isNull(), waitMs); // pinned
    const QRect free(60, 40, 1000, 600);
    shell.view->setWindowState(Qt::WindowNoState); // else the window manager has the last word
    QTRY_VERIFY_WITH_TIMEOUT(
        !WindowFixture::hasState(*shell.view, QStringLiteral("_NET_WM_STATE_MAXIMIZED_VERT")),
        waitMs);
    Q_EMIT shell.windowSettings().workAreaChanged(free);
    QCOMPARE(shell.view->maximumSize(), free.size());
    QCOMPARE(shell.view->minimumSize(), free.size());
    QTRY_COMPARE_WITH_TIMEOUT(shell.view->geometry(), free, waitMs);
}

void TestWindowWiring::aCloseRequestRaisesTheWindowAndAsks()
{
    Shell shell;
    QVERIFY(QTest::qWaitForWindowActive(shell.view, waitMs));
    QSignalSpy asked(shell.videoInfo, &VideoInfo::quitYestermark);
    QTRY_VERIFY_WITH_TIMEOUT(!shell.view->minimumSize().isNull(), waitMs);
    QVERIFY(!shell.view->close());
    QCOMPARE(asked.count(), 1);
    QVERIFY(shell.view->isVisible());
    QVERIFY(shell.flag("closeBtnPopUpVisible"));
    QCOMPARE(shell.view->minimumSize(), QSize(0, 0)); // shown anew
}

void TestWindowWiring::f1OpensTheGuide()
{
    Guide guide;
    QDBusConnection bus = QDBusConnection::sessionBus();
    const QString service = QStringLiteral("com.tavelUserGuide.hotel_%1").arg(getuid());
    QVERIFY(bus.registerService(service));
    QVERIFY(bus.registerObject(QStringLiteral("/"), &guide, QDBusConnection::ExportAllSlots));
    Shell shell;
    QVERIFY(QTest::qWaitForWindowActive(shell.view, waitMs));
    QTest::keyClick(shell.view, Qt::Key_F1);
    QTRY_COMPARE_WITH_TIMEOUT(guide.asked, QStringList(QStringLiteral("tavel-ai-yestermark")),
                              waitMs);
    bus.unregisterObject(QStringLiteral("/"));
    QVERIFY(bus.unregisterService(service));
}

void TestWindowWiring::aTrayThatIsAskedShowsAndMinimisesTheWindow()
{
    Shell shell;
    QVERIFY(QTest::qWaitForWindowActive(shell.view, waitMs));
    Q_EMIT shell.tray->requestMinimizeYestermark();
    QTRY_VERIFY_WITH_TIMEOUT(
        WindowFixture::hasState(*shell.view, QStringLiteral("_NET_WM_STATE_HIDDEN")), waitMs);
    Q_EMIT shell.tray->activateYestermark();
    QTRY_COMPARE_WITH_TIMEOUT(WindowFixture::activeWindow(), quint64(shell.view->winId()), waitMs);
    shell.titleBar->hideTheWindow();
    QVERIFY(!shell.view->isVisible());
    Q_EMIT shell.tray->activateYestermark();
    QVERIFY(shell.view->isVisible());
    QTRY_COMPARE_WITH_TIMEOUT(WindowFixture::activeWindow(), quint64(shell.view->winId()), waitMs);
}

void TestWindowWiring::aClockFoundBackByTheTrackerStopsAndAsks()
{
    m_settings->setRecordingMemory(true);
    Shell shell;
    QVERIFY(QTest::qWaitForWindowActive(shell.view, waitMs));
    shell.titleBar->hideTheWindow();
    QSignalSpy told(&shell.backend, &YestermarkBackend::backInTimeDetected);
    QSignalSpy toldToThePage(shell.videoInfo, &VideoInfo::backInTimeDetected);
    Q_EMIT shell.tracker().backInTimeDetected();
    QCOMPARE(told.count(), 1);
    QCOMPARE(toldToThePage.count(), 1);
    QVERIFY(!m_settings->getRecordingMemory());
    QVERIFY(shell.view->isVisible());
    QVERIFY(shell.flag("timeChangeTipVisible"));
}

void TestWindowWiring::theStartButtonOfThePageTellsTheTray()
{
    Shell shell;
    QSignalSpy told(shell.tray, &TrayIcon::uiClickStartMemoryBtn);
    Q_EMIT shell.videoInfo->startMemoryScreen();
    QCOMPARE(told.count(), 1);
    QVERIFY(!m_settings->getRecordingMemory()); // the page itself wrote the settings
}

void TestWindowWiring::theStartButtonWithTheClockBehindTellsNobody()
{
    Shell shell;
    QVERIFY(storeFrameAt(m_now.addSecs(600)));
    QSignalSpy told(shell.tray, &TrayIcon::uiClickStartMemoryBtn);
    QSignalSpy back(&shell.backend, &YestermarkBackend::backInTimeDetected);
    shell.videoInfo->startMemory();
    QCOMPARE(told.count(), 0);
    QCOMPARE(back.count(), 1);
    QVERIFY(!m_settings->getRecordingMemory());
    QVERIFY(m_settings->getEnabled());
    QVERIFY(shell.flag("timeChangeTipVisible"));
}

void TestWindowWiring::aStartFromTheTrayConfirmsThenRecordsThenEnables()
{
    Shell shell;
    QStringList writesAtTheConfirmation;
    QSignalSpy confirmed(shell.tray, &TrayIcon::startMemory);
    connect(shell.tray, &TrayIcon::startMemory, this,
            [&] { writesAtTheConfirmation = SettingsSpy::writes(); });
    SettingsSpy::clear();
    Q_EMIT shell.tray->trayiconRequestToStartMemory();
    QCOMPARE(confirmed.count(), 1);
    QCOMPARE(writesAtTheConfirmation, QStringList());
    QCOMPARE(SettingsSpy::writes(),
             QStringList({QStringLiteral("recording-memory"), QStringLiteral("enabled")}));
    QVERIFY(m_settings->getRecordingMemory());
    QVERIFY(m_settings->getEnabled());
    QVERIFY(!shell.flag("startScreenVisible")); // the page heard of it
}

void TestWindowWiring::aStartFromTheTrayWithTheClockBehindIsRefused()
{
    Shell shell;
    QVERIFY(storeFrameAt(m_now.addSecs(600)));
    shell.tray->setTrayIconToPauseMemory();
    QSignalSpy confirmed(shell.tray, &TrayIcon::startMemory);
    Q_EMIT shell.tray->trayiconRequestToStartMemory();
    QCOMPARE(confirmed.count(), 0);
    QCOMPARE(shell.toolTip(), QStringLiteral("Yestermark"));
    QVERIFY(!m_settings->getRecordingMemory());
    QVERIFY(!m_settings->getEnabled());
}

void TestWindowWiring::aPauseFromTheTrayIsWritten()
{
    m_settings->setRecordingMemory(true);
    Shell shell;
    Q_EMIT shell.tray->pauseMemory();
    QVERIFY(!m_settings->getRecordingMemory());
}

void TestWindowWiring::theTrayFollowsTheSetting()
{
    Shell shell;
    QCOMPARE(shell.toolTip(), QStringLiteral("Yestermark"));
    m_settings->setRecordingMemory(true);
    QTRY_COMPARE_WITH_TIMEOUT(shell.toolTip(), QStringLiteral("Yestermark-Memorizing..."), waitMs);
    m_settings->setRecordingMemory(false);
    QTRY_COMPARE_WITH_TIMEOUT(shell.toolTip(), QStringLiteral("Yestermark"), waitMs);
}

void TestWindowWiring::theTrayAndTheTitleBarEndTheProgram()
{
    Shell shell;
    QSignalSpy ended(&shell.backend, &YestermarkBackend::programExit);
    Q_EMIT shell.tray->programExit();
    QCOMPARE(ended.count(), 1);
    shell.titleBar->closeTheWindow();
    QCOMPARE(ended.count(), 2);
}

void TestWindowWiring::theTitleBarsChoiceIsWritten()
{
    m_settings->setCloseWindowOption(QStringLiteral("exit"));
    Shell shell;
    QVERIFY(!shell.titleBar->isCloseWindowMinimize());
    shell.titleBar->setCloseWindowOption(true);
    QCOMPARE(m_settings->getCloseWindowOption(), QStringLiteral("minimize"));
    shell.titleBar->setCloseWindowOption(false);
    QCOMPARE(m_settings->getCloseWindowOption(), QStringLiteral("exit"));
}

void TestWindowWiring::aChoiceFromOutsideReachesTitleBarAndPagesAndIsNotWrittenBack()
{
    Shell shell;
    const QString state = QStringLiteral("curMinimizeBtnCheckedState");
    const QObject *dialogs = nullptr;
    for (const QObject *object : shell.view->rootObject()->findChildren<QObject *>()) {
        dialogs = object->property(qPrintable(state)).isValid() ? object : dialogs;
    }
    QVERIFY(dialogs && shell.titleBar->isCloseWindowMinimize());
    SettingsSpy::clear();
    for (const QString &option : {QStringLiteral("exit"), QStringLiteral("minimize")}) {
        const bool isMinimize = option == QLatin1String("minimize");
        QCOMPARE(QProcess::execute(QStringLiteral("gsettings"),
                                   {QStringLiteral("set"), QStringLiteral("com.tavel.yestermark"),
                                    QStringLiteral("close-window-option"), option}),
                 0);
        QTRY_COMPARE_WITH_TIMEOUT(shell.titleBar->isCloseWindowMinimize(), isMinimize, waitMs);
        QCOMPARE(dialogs->property(qPrintable(state)).toBool(), isMinimize);
    }
    QCOMPARE(SettingsSpy::writes(), QStringList());
}

void TestWindowWiring::deletedHistoryIsRecordedOn()
{
    QVERIFY(storeFrameAt(m_now.addSecs(600))); // what the user is asked about
    Shell shell;
    QVERIFY(shell.backend.isBackInTime());
    const LogCapture log;
    shell.videoInfo->deleteHistory();
    QCOMPARE(log.count(QtDebugMsg, QStringLiteral("deleted all history as requested.")), 1);
    QCOMPARE(CaptureFixture::storedRows().size(), 0);
    QVERIFY(m_settings->getRecordingMemory());
    QVERIFY(!shell.backend.isBackInTime());
}

void TestWindowWiring::historyThatCannotBeDeletedLeavesRecordingOff()
{
    QVERIFY(storeFrameAt(m_now));
    Shell shell;
    FileRemoval::refuse(
        QDir::homePath() + QLatin1String("/.cache/tavel-ai-yestermark/traditional_database/"), 1);
    const LogCapture log;
    shell.videoInfo->deleteHistory();
    QCOMPARE(FileRemoval::stillToRefuse(), 0);
    QCOMPARE(log.count(QtDebugMsg, QStringLiteral("failed to delete all history")), 1);
    QCOMPARE(log.count(QtDebugMsg, QStringLiteral("deleted all history")), 0);
    QVERIFY(!m_settings->getRecordingMemory());
}

void TestWindowWiring::anAdjustedClockIsPolledByATimerForEachCall()
{
    Shell shell;
    QCOMPARE(shell.clockPolls().size(), 0);
    Q_EMIT shell.videoInfo->calledAdjustSystemTime();
    Q_EMIT shell.videoInfo->calledAdjustSystemTime();
    QCOMPARE(shell.clockPolls().size(), 2);
    QVERIFY(!m_settings->getRecordingMemory());
    QTRY_COMPARE_WITH_TIMEOUT(shell.clockPolls().size(), 0, waitMs); // the clock is right
    QVERIFY(m_settings->getRecordingMemory());
}

void TestWindowWiring::storedFramesReachTheAxis()
{
    Shell shell;
    QAbstractListModel *days = shell.videoInfo->dayAppModel();
    QCOMPARE(days->rowCount(), 0);
    Q_EMIT shell.tracker().activeAppChanged(QStringLiteral("/a.desktop"));
    QCOMPARE(days->rowCount(), 1);
    const auto *runs = days->index(0).data(DayAppModel::AppModelRole).value<QAbstractListModel *>();
    const auto length = [runs] {
        return runs->index(0).data().value<QObject *>()->property("timeLength").toInt();
    };
    QCOMPARE(runs->rowCount(), 1);
    QCOMPARE(length(), 8);
    Q_EMIT shell.tracker().todayFrameNumberChanged(2);
    QCOMPARE(length(), 16);
}

void TestWindowWiring::theEndLeavesNoPageWithoutItsObjects()
{
    const LogCapture log;
    {
        const YestermarkBackend backend;
    }
    QCOMPARE(log.texts().filter(QStringLiteral("qrc:")), QStringList());
}

QTEST_MAIN(TestWindowWiring)
#include "windowwiringtest.moc"
