// Lock and unlock out of several services that come and go, one signal for each real change.

#include "desktopbridge/lockwatcher.h"
#include "fakelockers.h"
#include "privatebus.h"

#include <QDBusConnectionInterface>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

namespace
{
const QString FREEDESKTOP = QStringLiteral("org.freedesktop.ScreenSaver");
const QString GNOME = QStringLiteral("org.gnome.ScreenSaver");
const QString LOCK = QStringLiteral("lock");
const QString UNLOCK = QStringLiteral("unlock");
} // namespace

class LockWatcherTest : public QObject
{
    Q_OBJECT

public Q_SLOTS:
    void onLock() { m_heard.append(LOCK); }
    void onUnlock() { m_heard.append(UNLOCK); }

private Q_SLOTS:
    void init();
    void cleanup();

    void mergesEvents_data();
    void mergesEvents();
    void sourceThatLeavesCountsAsUnlocked_data();
    void sourceThatLeavesCountsAsUnlocked();
    void knownOnceAllHaveAnsweredOrOneIsLocked();

    void hearsFreedesktopAtBothPaths_data();
    void hearsFreedesktopAtBothPaths();
    void hearsGnome();
    void hearsLogindSignals();
    void hearsTheLockedHint();
    void otherSessionsDoNotCount();
    void sessionOfAnUnknownProcess_data();
    void sessionOfAnUnknownProcess();
    void oneLockToldByThreeServicesIsOneSignal();
    void saverThatDiesLockedUnlocks();
    void logindThatDiesLockedUnlocks();
    void saverThatComesLaterIsHeard();
    void logindThatComesLaterIsHeard();
    void lockThatHoldsAlreadyIsTold();
    void eventBeatsTheQuestionForTheState();
    void startsNoService();
    void worksWithoutTheSystemBus();

    void aCallerIsToldTheState_data();
    void aCallerIsToldTheState();
    void aCallerWaitsUntilTheStateIsKnown();
    void withoutAnyLockerACallerIsToldOfNoLock();

private:
    QString connectCaller();
    void watch();
    void takeAnswers();
    QStringList told() const { return m_told; }

    std::unique_ptr<PrivateBus> m_system;
    std::unique_ptr<FakeLogind> m_logind;
    FakeFreedesktopSaver *m_freedesktop = nullptr;
    FakeGnomeSaver *m_gnome = nullptr;
    QDBusConnection m_saverBus{QStringLiteral("savers")};
    std::unique_ptr<LockWatcher> m_watcher;
    QStringList m_told;
    QStringList m_heard; // over the bus, by a connection of its own
};

void LockWatcherTest::init()
{
    m_told.clear();
    m_heard.clear();
    m_system = std::make_unique<PrivateBus>();
    m_logind = std::make_unique<FakeLogind>(m_system->connect(QStringLiteral("logind")));
    m_saverBus =
        QDBusConnection::connectToBus(QDBusConnection::SessionBus, QStringLiteral("savers"));
    m_freedesktop = new FakeFreedesktopSaver;
    m_gnome = new FakeGnomeSaver;
    const auto all = QDBusConnection::ExportAllContents;
    QVERIFY(m_saverBus.registerObject(QStringLiteral("/org/freedesktop/ScreenSaver"), m_freedesktop,
                                      all));
    QVERIFY(m_saverBus.registerObject(QStringLiteral("/org/gnome/ScreenSaver"), m_gnome, all));
}

void LockWatcherTest::cleanup()
{
    m_watcher.reset();
    m_logind.reset();
    // Closing a connection does not wait for the bus to take its names off.
    m_saverBus.unregisterService(FREEDESKTOP);
    m_saverBus.unregisterService(GNOME);
    QDBusConnection::disconnectFromBus(QStringLiteral("logind"));
    QDBusConnection::disconnectFromBus(QStringLiteral("watched system"));
    QDBusConnection::disconnectFromBus(QStringLiteral("savers"));
    QDBusConnection::disconnectFromBus(QStringLiteral("caller"));
    m_system.reset();
    delete m_freedesktop;
    delete m_gnome;
    qunsetenv("XDG_SESSION_ID");
}

// Gives its bus name.
QString LockWatcherTest::connectCaller()
{
    QDBusConnection caller =
        QDBusConnection::connectToBus(QDBusConnection::SessionBus, QStringLiteral("caller"));
    const QString path = QStringLiteral("/");
    const QString interface = QStringLiteral("org.vesk.ScreenSaver");
    caller.connect(QString(), path, interface, LOCK, this, SLOT(onLock()));
    caller.connect(QString(), path, interface, UNLOCK, this, SLOT(onUnlock()));
    return caller.baseService();
}

// Returns once the watcher hears everybody who is there and has their answers: one that came after
// a later event would count as another.
void LockWatcherTest::watch()
{
    m_watcher = std::make_unique<LockWatcher>(QDBusConnection::sessionBus(),
                                              m_system->connect(QStringLiteral("watched system")));
    connect(m_watcher.get(), &LockWatcher::lock, this, [this] { m_told.append(LOCK); });
    connect(m_watcher.get(), &LockWatcher::unlock, this, [this] { m_told.append(UNLOCK); });
    const auto *bus = m_saverBus.interface();
    if (bus->isServiceRegistered(FREEDESKTOP)) {
        QTRY_VERIFY(m_freedesktop->m_asked > 0);
    }
    if (bus->isServiceRegistered(GNOME)) {
        QTRY_VERIFY(m_gnome->m_asked > 0);
    }
    if (m_logind->isOwner()) {
        QTRY_VERIFY(m_logind->m_session.m_asked > 0);
    }
    takeAnswers();
}

// A bus keeps the order of what one connection sends, and of what it sends to one: whoever has been
// answered by the bus has sent, or received, all that was before.
void LockWatcherTest::takeAnswers()
{
    for (const QDBusConnection &connection :
         {m_saverBus, m_logind->m_bus, QDBusConnection::sessionBus(),
          QDBusConnection(QStringLiteral("watched system"))}) {
        QVERIFY(connection.interface()->registeredServiceNames().isValid());
    }
    QCoreApplication::processEvents();
}

using Event = QPair<int, bool>; // source, locked
Q_DECLARE_METATYPE(QVector<Event>)

void LockWatcherTest::mergesEvents_data()
{
    QTest::addColumn<QVector<Event>>("events");
    QTest::addColumn<QString>("changes"); // L lock, U unlock, - nothing
    constexpr auto F = LockState::Freedesktop;
    constexpr auto G = LockState::Gnome;
    constexpr auto D = LockState::Logind;
    using Events = QVector<Event>;
    QTest::newRow("lock, unlock") << Events{{F, true}, {F, false}} << "LU";
    QTest::newRow("all lock, all unlock")
        << Events{{D, true}, {F, true}, {G, true}, {D, false}, {F, false}, {G, false}} << "L--U--";
    QTest::newRow("unlocked already") << Events{{F, false}, {D, false}} << "--";
    QTest::newRow("latest wins") << Events{{F, true}, {D, false}, {G, true}} << "LUL";
    QTest::newRow("same again") << Events{{G, true}, {G, true}, {G, false}, {G, false}} << "L-U-";
}

void LockWatcherTest::mergesEvents()
{
    QFETCH(QVector<Event>, events);
    QFETCH(QString, changes);
    LockState state;
    QString seen;
    for (const Event &event : events) {
        const auto change = state.report(LockState::Source(event.first), event.second);
        seen += !change ? QLatin1Char('-') : QLatin1Char(*change ? 'L' : 'U');
    }
    QCOMPARE(seen, changes);
    QCOMPARE(state.isLocked(), events.last().second);
}

void LockWatcherTest::sourceThatLeavesCountsAsUnlocked_data()
{
    QTest::addColumn<int>("leaver");
    QTest::addColumn<bool>("unlocks");
    QTest::newRow("it had locked") << int(LockState::Gnome) << true;
    QTest::newRow("it had said nothing") << int(LockState::Freedesktop) << false;
    QTest::newRow("it had unlocked") << int(LockState::Logind) << false;
}

void LockWatcherTest::sourceThatLeavesCountsAsUnlocked()
{
    QFETCH(int, leaver);
    QFETCH(bool, unlocks);
    LockState state;
    state.report(LockState::Logind, true);
    state.report(LockState::Logind, false);
    state.report(LockState::Gnome, true);
    const auto change = state.left(LockState::Source(leaver));
    QCOMPARE(change.has_value(), unlocks);
    QCOMPARE(state.isLocked(), !unlocks);
    QVERIFY(!state.left(LockState::Source(leaver))); // only once
}

void LockWatcherTest::knownOnceAllHaveAnsweredOrOneIsLocked()
{
    LockState state;
    state.answered(LockState::Gnome);
    state.answered(LockState::Logind);
    QVERIFY(!state.isKnown());
    state.answered(LockState::Freedesktop);
    QVERIFY(state.isKnown());

    LockState locked;
    locked.report(LockState::Gnome, true);
    QVERIFY(locked.isKnown());
}

void LockWatcherTest::hearsFreedesktopAtBothPaths_data()
{
    QTest::addColumn<QString>("path");
    QTest::newRow("short") << QStringLiteral("/ScreenSaver");
    QTest::newRow("long") << QStringLiteral("/org/freedesktop/ScreenSaver");
}

void LockWatcherTest::hearsFreedesktopAtBothPaths()
{
    QFETCH(QString, path);
    QVERIFY(m_saverBus.registerService(FREEDESKTOP));
    watch();
    m_saverBus.unregisterObject(QStringLiteral("/org/freedesktop/ScreenSaver"));
    QVERIFY(m_saverBus.registerObject(path, m_freedesktop, QDBusConnection::ExportAllContents));
    Q_EMIT m_freedesktop->ActiveChanged(true);
    QTRY_COMPARE(told(), QStringList{LOCK});
    Q_EMIT m_freedesktop->ActiveChanged(false);
    QTRY_COMPARE(told(), (QStringList{LOCK, UNLOCK}));
}

void LockWatcherTest::hearsGnome()
{
    QVERIFY(m_saverBus.registerService(GNOME));
    watch();
    Q_EMIT m_gnome->ActiveChanged(true);
    Q_EMIT m_gnome->ActiveChanged(false);
    QTRY_COMPARE(told(), (QStringList{LOCK, UNLOCK}));
}

void LockWatcherTest::hearsLogindSignals()
{
    QVERIFY(m_logind->ownName());
    watch();
    Q_EMIT m_logind->m_session.Lock();
    QTRY_COMPARE(told(), QStringList{LOCK});
    Q_EMIT m_logind->m_session.Unlock();
    QTRY_COMPARE(told(), (QStringList{LOCK, UNLOCK}));
}

void LockWatcherTest::hearsTheLockedHint()
{
    QVERIFY(m_logind->ownName());
    watch();
    m_logind->m_session.setLockedHint(m_logind->m_bus, m_logind->m_sessionPath, true);
    QTRY_COMPARE(told(), QStringList{LOCK});
    m_logind->m_session.setLockedHint(m_logind->m_bus, m_logind->m_sessionPath, false);
    QTRY_COMPARE(told(), (QStringList{LOCK, UNLOCK}));
}

void LockWatcherTest::otherSessionsDoNotCount()
{
    QVERIFY(m_logind->ownName());
    watch();
    Q_EMIT m_logind->m_other.Lock();
    m_logind->m_other.setLockedHint(m_logind->m_bus,
                                    QStringLiteral("/org/freedesktop/login1/session/c2"), true);
    Q_EMIT m_logind->m_session.Unlock();
    Q_EMIT m_logind->m_session.Lock();
    Q_EMIT m_logind->m_session.Unlock();
    QTRY_COMPARE(told(), (QStringList{LOCK, UNLOCK}));
}

void LockWatcherTest::sessionOfAnUnknownProcess_data()
{
    QTest::addColumn<QByteArray>("environment");
    QTest::addColumn<QString>("asked");
    QTest::newRow("told by the environment") << QByteArray("31") << QStringLiteral("31");
    QTest::newRow("the one with the display") << QByteArray() << QStringLiteral("auto");
}

void LockWatcherTest::sessionOfAnUnknownProcess()
{
    QFETCH(QByteArray, environment);
    QFETCH(QString, asked);
    if (!environment.isEmpty()) {
        qputenv("XDG_SESSION_ID", environment);
    }
    m_logind->m_knowsProcesses = false;
    QVERIFY(m_logind->ownName());
    watch();
    QCOMPARE(m_logind->m_asked, QStringList{asked});
    Q_EMIT m_logind->m_session.Lock();
    QTRY_COMPARE(told(), QStringList{LOCK});
}

void LockWatcherTest::oneLockToldByThreeServicesIsOneSignal()
{
    QVERIFY(m_logind->ownName());
    QVERIFY(m_saverBus.registerService(FREEDESKTOP));
    QVERIFY(m_saverBus.registerService(GNOME));
    watch();
    Q_EMIT m_logind->m_session.Lock();
    QTRY_COMPARE(told(), QStringList{LOCK});
    m_logind->m_session.setLockedHint(m_logind->m_bus, m_logind->m_sessionPath, true);
    Q_EMIT m_freedesktop->ActiveChanged(true);
    Q_EMIT m_gnome->ActiveChanged(true);
    QTest::qWait(200);
    QCOMPARE(told(), QStringList{LOCK});
    Q_EMIT m_gnome->ActiveChanged(false);
    QTRY_COMPARE(told(), (QStringList{LOCK, UNLOCK}));
    Q_EMIT m_freedesktop->ActiveChanged(false);
    Q_EMIT m_logind->m_session.Unlock();
    QTest::qWait(200);
    QCOMPARE(told(), (QStringList{LOCK, UNLOCK}));
}

void LockWatcherTest::saverThatDiesLockedUnlocks()
{
    QVERIFY(m_saverBus.registerService(GNOME));
    QVERIFY(m_saverBus.registerService(FREEDESKTOP));
    watch();
    Q_EMIT m_gnome->ActiveChanged(true);
    QTRY_COMPARE(told(), QStringList{LOCK});
    m_saverBus.unregisterService(FREEDESKTOP); // it had not locked
    QTest::qWait(200);
    QCOMPARE(told(), QStringList{LOCK});
    m_saverBus.unregisterService(GNOME);
    QTRY_COMPARE(told(), (QStringList{LOCK, UNLOCK}));
}

void LockWatcherTest::logindThatDiesLockedUnlocks()
{
    QVERIFY(m_logind->ownName());
    watch();
    Q_EMIT m_logind->m_session.Lock();
    QTRY_COMPARE(told(), QStringList{LOCK});
    m_logind->giveUpName();
    QTRY_COMPARE(told(), (QStringList{LOCK, UNLOCK}));
}

void LockWatcherTest::saverThatComesLaterIsHeard()
{
    watch();
    QVERIFY(m_saverBus.registerService(FREEDESKTOP));
    QTRY_VERIFY(m_freedesktop->m_asked > 0);
    Q_EMIT m_freedesktop->ActiveChanged(true);
    QTRY_COMPARE(told(), QStringList{LOCK});
}

void LockWatcherTest::logindThatComesLaterIsHeard()
{
    watch();
    QVERIFY(m_logind->ownName());
    QTRY_COMPARE(m_logind->m_session.m_asked, 1);
    Q_EMIT m_logind->m_session.Lock();
    QTRY_COMPARE(told(), QStringList{LOCK});
    m_logind->giveUpName();
    QTRY_COMPARE(told(), (QStringList{LOCK, UNLOCK}));
    QVERIFY(m_logind->ownName());
    QTRY_COMPARE(m_logind->m_session.m_asked, 2);
    Q_EMIT m_logind->m_session.Lock();
    QTRY_COMPARE(told(), (QStringList{LOCK, UNLOCK, LOCK}));
}

void LockWatcherTest::lockThatHoldsAlreadyIsTold()
{
    m_logind->m_session.m_lockedHint = true;
    m_freedesktop->m_active = true;
    m_gnome->m_active = false;
    QVERIFY(m_logind->ownName());
    QVERIFY(m_saverBus.registerService(FREEDESKTOP));
    QVERIFY(m_saverBus.registerService(GNOME));
    watch();
    QTRY_COMPARE(told(), QStringList{LOCK});
    Q_EMIT m_freedesktop->ActiveChanged(false);
    QTRY_COMPARE(told(), (QStringList{LOCK, UNLOCK}));
}

void LockWatcherTest::eventBeatsTheQuestionForTheState()
{
    m_gnome->m_active = true;
    QVERIFY(m_saverBus.registerService(GNOME));
    m_watcher = std::make_unique<LockWatcher>(QDBusConnection::sessionBus(),
                                              m_system->connect(QStringLiteral("watched system")));
    connect(m_watcher.get(), &LockWatcher::lock, this, [this] { m_told.append(LOCK); });
    connect(m_watcher.get(), &LockWatcher::unlock, this, [this] { m_told.append(UNLOCK); });
    // Sent before the answer to the question, which waits for this thread's event loop.
    Q_EMIT m_gnome->ActiveChanged(true);
    Q_EMIT m_gnome->ActiveChanged(false);
    QTRY_COMPARE(told(), (QStringList{LOCK, UNLOCK}));
    QTest::qWait(200);
    QCOMPARE(told(), (QStringList{LOCK, UNLOCK}));
}

void LockWatcherTest::startsNoService()
{
    const QTemporaryDir folder;
    const QString services = folder.path() + QStringLiteral("/dbus-1/services");
    QVERIFY(QDir().mkpath(services));
    const QStringList names{FREEDESKTOP, GNOME, QStringLiteral("org.freedesktop.login1")};
    for (const QString &name : names) {
        QFile file(services + QLatin1Char('/') + name + QStringLiteral(".service"));
        QVERIFY(file.open(QFile::WriteOnly));
        file.write(QStringLiteral(
                       "[D-BUS Service]\nName=%1\nExec=/bin/sh -c \"touch %2/started; exit 1\"\n")
                       .arg(name, folder.path())
                       .toLocal8Bit());
    }
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("XDG_DATA_DIRS"), folder.path());
    const PrivateBus bus(environment);
    {
        const LockWatcher watcher(bus.connect(QStringLiteral("watched")),
                                  bus.connect(QStringLiteral("watched system")));
        QTest::qWait(500);
        QVERIFY(!QFile::exists(folder.path() + QStringLiteral("/started")));
    }
    // The bus would have started them for an ordinary call.
    QDBusConnection other = bus.connect(QStringLiteral("other"));
    other.interface()->startService(GNOME);
    QTRY_VERIFY(QFile::exists(folder.path() + QStringLiteral("/started")));
    QDBusConnection::disconnectFromBus(QStringLiteral("watched"));
    QDBusConnection::disconnectFromBus(QStringLiteral("other"));
}

void LockWatcherTest::worksWithoutTheSystemBus()
{
    QVERIFY(m_saverBus.registerService(GNOME));
    QElapsedTimer timer;
    timer.start();
    const QDBusConnection none = QDBusConnection::connectToBus(
        QStringLiteral("unix:path=/nonexistent/bus"), QStringLiteral("watched system"));
    QVERIFY(!none.isConnected());
    LockWatcher watcher(QDBusConnection::sessionBus(), none);
    QVERIFY2(timer.elapsed() < 2000, qPrintable(QString::number(timer.elapsed())));
    connect(&watcher, &LockWatcher::lock, this, [this] { m_told.append(LOCK); });
    QTRY_VERIFY(m_gnome->m_asked > 0);
    watcher.tellStateTo(connectCaller());
    QTRY_COMPARE(m_heard, QStringList{UNLOCK});
    Q_EMIT m_gnome->ActiveChanged(true);
    QTRY_COMPARE(told(), QStringList{LOCK});
}

void LockWatcherTest::aCallerIsToldTheState_data()
{
    QTest::addColumn<bool>("locked");
    QTest::newRow("locked") << true;
    QTest::newRow("not locked") << false;
}

void LockWatcherTest::aCallerIsToldTheState()
{
    QFETCH(bool, locked);
    m_gnome->m_active = locked;
    m_logind->m_session.m_lockedHint = locked;
    QVERIFY(m_saverBus.registerService(GNOME));
    QVERIFY(m_logind->ownName());
    watch();
    const QStringList before = told();
    m_watcher->tellStateTo(connectCaller());
    QTRY_COMPARE(m_heard, QStringList{locked ? LOCK : UNLOCK});
    QCOMPARE(told(), before); // nobody else was told
}

void LockWatcherTest::aCallerWaitsUntilTheStateIsKnown()
{
    m_gnome->m_active = true;
    QVERIFY(m_saverBus.registerService(GNOME));
    m_watcher = std::make_unique<LockWatcher>(QDBusConnection::sessionBus(),
                                              m_system->connect(QStringLiteral("watched system")));
    QVERIFY(QDBusConnection::sessionBus().registerObject(QStringLiteral("/"), m_watcher.get()));
    m_watcher->tellStateTo(connectCaller());
    QTRY_COMPARE(m_heard, QStringList{LOCK});
    Q_EMIT m_gnome->ActiveChanged(false);
    QTRY_COMPARE(m_heard, (QStringList{LOCK, UNLOCK})); // and the lock was told only once
}

void LockWatcherTest::withoutAnyLockerACallerIsToldOfNoLock()
{
    watch();
    m_watcher->tellStateTo(connectCaller());
    QTRY_COMPARE(m_heard, QStringList{UNLOCK});
}

QTEST_GUILESS_MAIN(LockWatcherTest)
#include "lockwatchertest.moc"
