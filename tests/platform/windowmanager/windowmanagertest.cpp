// The service's own class on windows that come on command, and what stands in without a protocol.

#include "windowmanager/windowmanager.h"
#include "support/logcapture.h"
#include "windowmanager/backendloader.h"
#include "windowmanager/fake/fakewindowbackend.h"
#include "windowmanager/latewindowbackend.h"

#include <QSignalSpy>
#include <QTest>

#include <unistd.h>

class WindowManagerTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();

    void addedWindowIsToldWithTitleAndProcess();
    void ownWindowAmongOthersIsFoundByTitleAndProcess();
    void requestsReachTheWindowOfTheId();
    void unknownAndInvalidIdsHaveNoEffect_data();
    void unknownAndInvalidIdsHaveNoEffect();
    void renamedWindowGivesItsPresentTitle();
    void goneWindowIsUnknown();
    void selfIsOneForTheProcess();
    void withoutAProtocolNothingIsToldAndNothingHappens();
    void forcedBackendGoesWithTheForce();
    void aCompositorThatAnswersLateIsServedFromThenOn();
    void aCompositorThatNeverAnswersIsAskedNoMore();

private:
    FakeWindowBackend *m_windows = nullptr;
};

void WindowManagerTest::initTestCase()
{
    m_windows = FakeWindowBackend::install();
    QVERIFY(m_windows != nullptr);
}

void WindowManagerTest::init()
{
    m_windows->clear();
}

void WindowManagerTest::addedWindowIsToldWithTitleAndProcess()
{
    const QSignalSpy added(tdk::WindowManager::self(), &tdk::WindowManager::windowAdded);
    const QVariant id = m_windows->addWindow(QStringLiteral("Notes"), 4711);
    QCOMPARE(added.size(), 1);
    QCOMPARE(added.first().first().value<QVariant>(), id);
    QCOMPARE(tdk::WindowManager::self()->getWindowTitle(id), QStringLiteral("Notes"));
    QCOMPARE(tdk::WindowManager::self()->getPid(id), 4711);
}

void WindowManagerTest::ownWindowAmongOthersIsFoundByTitleAndProcess()
{
    auto *manager = tdk::WindowManager::self();
    QVariant own;
    const auto connection =
        connect(manager, &tdk::WindowManager::windowAdded, this, [&](const QVariant &id) {
            if (manager->getPid(id) == ::getpid() &&
                manager->getWindowTitle(id) == QLatin1String("Yestermark")) {
                own = id;
            }
        });
    m_windows->addWindow(QStringLiteral("Yestermark"), ::getpid() + 1);
    m_windows->addWindow(QStringLiteral("Settings"), ::getpid());
    QVERIFY(!own.isValid());
    const QVariant id = m_windows->addWindow(QStringLiteral("Yestermark"), ::getpid());
    disconnect(connection);
    QCOMPARE(own, id);
}

void WindowManagerTest::requestsReachTheWindowOfTheId()
{
    const QVariant first = m_windows->addWindow(QStringLiteral("first"), 1);
    const QVariant second = m_windows->addWindow(QStringLiteral("second"), 2);
    tdk::WindowManager::self()->minimizeWindow(second);
    tdk::WindowManager::self()->activateWindow(first);
    QCOMPARE(m_windows->requests(),
             (QStringList{QStringLiteral("minimize second"), QStringLiteral("activate first")}));
}

void WindowManagerTest::unknownAndInvalidIdsHaveNoEffect_data()
{
    QTest::addColumn<QVariant>("id");
    QTest::newRow("before any window was told") << QVariant();
    QTest::newRow("never given") << QVariant(1000000);
    QTest::newRow("of another type") << QVariant(QStringLiteral("window"));
}

void WindowManagerTest::unknownAndInvalidIdsHaveNoEffect()
{
    QFETCH(QVariant, id);
    m_windows->addWindow(QStringLiteral("other"), 1);
    auto *manager = tdk::WindowManager::self();
    manager->activateWindow(id);
    manager->minimizeWindow(id);
    QCOMPARE(m_windows->requests(), QStringList());
    QCOMPARE(manager->getWindowTitle(id), QString());
    QCOMPARE(manager->getPid(id), 0);
}

void WindowManagerTest::renamedWindowGivesItsPresentTitle()
{
    const QVariant id = m_windows->addWindow(QStringLiteral("before"), 1);
    m_windows->rename(id, QStringLiteral("after"));
    QCOMPARE(tdk::WindowManager::self()->getWindowTitle(id), QStringLiteral("after"));
}

void WindowManagerTest::goneWindowIsUnknown()
{
    const QVariant id = m_windows->addWindow(QStringLiteral("short"), 1);
    m_windows->removeWindow(id);
    tdk::WindowManager::self()->activateWindow(id);
    QCOMPARE(m_windows->requests(), QStringList());
    QCOMPARE(tdk::WindowManager::self()->getPid(id), 0);
}

void WindowManagerTest::selfIsOneForTheProcess()
{
    QCOMPARE(tdk::WindowManager::self(), tdk::WindowManager::self());
}

void WindowManagerTest::withoutAProtocolNothingIsToldAndNothingHappens()
{
    const LogCapture log;
    tdk::WindowManager manager(loadWindowBackend());
    const QSignalSpy added(&manager, &tdk::WindowManager::windowAdded);
    manager.activateWindow(QVariant(1));
    manager.minimizeWindow(QVariant(1));
    QCOMPARE(manager.getWindowTitle(QVariant(1)), QString());
    QCOMPARE(manager.getPid(QVariant(1)), 0);
    QCoreApplication::processEvents();
    QCOMPARE(added.size(), 0);
    QCOMPARE(log.texts(), QStringList()); // no warning where the program needs no such service
}

void WindowManagerTest::forcedBackendGoesWithTheForce()
{
    forceWindowBackend([] { return std::make_unique<FakeWindowBackend>(); });
    QCOMPARE(loadWindowBackend()->name(), QStringLiteral("fake"));
    forceWindowBackend({});
    QCOMPARE(loadWindowBackend()->name(), QGuiApplication::platformName());
}

void WindowManagerTest::aCompositorThatAnswersLateIsServedFromThenOn()
{
    int asked = 0;
    FakeWindowBackend *real = nullptr;
    tdk::WindowManager manager(std::make_unique<LateWindowBackend>(
        [&]() -> std::unique_ptr<WindowBackend> {
            if (++asked < 3) {
                return nullptr;
            }
            auto backend = std::make_unique<FakeWindowBackend>();
            real = backend.get();
            return backend;
        },
        1));
    const QSignalSpy added(&manager, &tdk::WindowManager::windowAdded);
    manager.activateWindow(QVariant(1));
    QCOMPARE(manager.getPid(QVariant(1)), 0);
    QCOMPARE(asked, 0);
    QTRY_VERIFY_WITH_TIMEOUT(real, 10000);
    const QVariant id = real->addWindow(QStringLiteral("late"), 4711);
    QCOMPARE(added.size(), 1);
    QCOMPARE(manager.getWindowTitle(id), QStringLiteral("late"));
    QCOMPARE(manager.getPid(id), 4711);
    manager.minimizeWindow(id);
    manager.activateWindow(id);
    QCOMPARE(real->requests(),
             (QStringList{QStringLiteral("minimize late"), QStringLiteral("activate late")}));
    QCOMPARE(asked, 3);
}

void WindowManagerTest::aCompositorThatNeverAnswersIsAskedNoMore()
{
    int asked = 0;
    const LateWindowBackend backend(
        [&] {
            ++asked;
            return std::unique_ptr<WindowBackend>();
        },
        1, 4);
    QTRY_VERIFY_WITH_TIMEOUT(asked == 4, 10000);
    QTest::qWait(50);
    QCOMPARE(asked, 4);
}

QTEST_MAIN(WindowManagerTest)
#include "windowmanagertest.moc"
