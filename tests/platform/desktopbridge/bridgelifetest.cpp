// The bridge as a process on a private bus and a virtual display: how it comes and goes, which
// names it takes, and what it is without a display.

#include "bridgeprocess.h"
#include "callerfixture.h"
#include "desktopbridge/fake/fakedesktop.h"
#include "pipereader.h"
#include "privatebus.h"

#include <QDBusConnectionInterface>
#include <QDBusError>
#include <QDBusReply>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

class BridgeLifeTest : public CallerFixture
{
    Q_OBJECT

private Q_SLOTS:
    void leavesNamesToTheirOwners_data();
    void leavesNamesToTheirOwners();
    void replacesNobodyWhoWouldAllowIt();
    void endsWhereBothNamesAreServed();
    void givesWayToAServiceThatReplacesIt();
    void withoutADisplayEveryCallIsAnError_data();
    void withoutADisplayEveryCallIsAnError();
    void displayWithoutDamageRefusesTheThreshold();
    void startedAgainByTheBusAfterAKill();
    void eitherNameStartsIt_data();
    void eitherNameStartsIt();
    void endsWithTheXServer();
    void endsWithTheBus();
    void unknownBackendIsRefused();
    void installedServiceIsStartedFromItsPrefix_data();
    void installedServiceIsStartedFromItsPrefix();
};

void BridgeLifeTest::leavesNamesToTheirOwners_data()
{
    QTest::addColumn<FakeDesktop::Names>("owned");
    QTest::addColumn<QString>("left");
    using Names = FakeDesktop::Names;
    QTest::newRow("window manager") << Names(FakeDesktop::WindowManager) << Bridge::SCREEN_SAVER;
    QTest::newRow("screen saver") << Names(FakeDesktop::ScreenSaver) << Bridge::WINDOW_MANAGER;
}

void BridgeLifeTest::leavesNamesToTheirOwners()
{
    QFETCH(FakeDesktop::Names, owned);
    QFETCH(QString, left);
    const FakeDesktop desktop(owned);
    QCOMPARE(desktop.ownsNames(), owned);
    BridgeProcess bridge;
    QVERIFY(bridge.waitForName(left));
    const QString kept =
        left == Bridge::SCREEN_SAVER ? Bridge::WINDOW_MANAGER : Bridge::SCREEN_SAVER;
    QCOMPARE(Bridge::ownerOf(kept), uint(QCoreApplication::applicationPid()));
    const QDBusReply<QStringList> queue =
        QDBusConnection::sessionBus().interface()->call(QStringLiteral("ListQueuedOwners"), kept);
    QCOMPARE(queue.value().size(), 1);
}

void BridgeLifeTest::replacesNobodyWhoWouldAllowIt()
{
    auto *bus = QDBusConnection::sessionBus().interface();
    QCOMPARE(bus->registerService(Bridge::WINDOW_MANAGER,
                                  QDBusConnectionInterface::DontQueueService,
                                  QDBusConnectionInterface::AllowReplacement)
                 .value(),
             QDBusConnectionInterface::ServiceRegistered);
    BridgeProcess bridge;
    QVERIFY(bridge.waitForName(Bridge::SCREEN_SAVER));
    QTest::qWait(200); // it has asked for the other name by then
    QCOMPARE(Bridge::ownerOf(Bridge::WINDOW_MANAGER), uint(QCoreApplication::applicationPid()));
    bus->unregisterService(Bridge::WINDOW_MANAGER);
}

void BridgeLifeTest::endsWhereBothNamesAreServed()
{
    const FakeDesktop desktop;
    BridgeProcess bridge;
    QVERIFY(bridge.process().state() == QProcess::NotRunning ||
            bridge.process().waitForFinished(5000));
    QCOMPARE(bridge.process().exitStatus(), QProcess::NormalExit);
    QCOMPARE(bridge.process().exitCode(), 1);
}

void BridgeLifeTest::givesWayToAServiceThatReplacesIt()
{
    BridgeProcess bridge;
    QVERIFY(bridge.waitForName(Bridge::WINDOW_MANAGER));
    auto *bus = QDBusConnection::sessionBus().interface();
    const auto replace = [bus](const QString &name) {
        return bus
            ->registerService(name, QDBusConnectionInterface::DontQueueService,
                              QDBusConnectionInterface::DontAllowReplacement)
            .value();
    };
    const auto takeOver = [bus](const QString &name) {
        return bus
            ->registerService(name, QDBusConnectionInterface::ReplaceExistingService,
                              QDBusConnectionInterface::DontAllowReplacement)
            .value();
    };
    QCOMPARE(replace(Bridge::WINDOW_MANAGER), QDBusConnectionInterface::ServiceNotRegistered);
    QCOMPARE(takeOver(Bridge::WINDOW_MANAGER), QDBusConnectionInterface::ServiceRegistered);
    QTest::qWait(200);
    QCOMPARE(bridge.process().state(), QProcess::Running); // it still serves the other name
    QCOMPARE(takeOver(Bridge::SCREEN_SAVER), QDBusConnectionInterface::ServiceRegistered);
    QVERIFY(bridge.process().waitForFinished(5000));
    QCOMPARE(bridge.process().exitCode(), 0);
    bus->unregisterService(Bridge::WINDOW_MANAGER);
    bus->unregisterService(Bridge::SCREEN_SAVER);
}

void BridgeLifeTest::withoutADisplayEveryCallIsAnError_data()
{
    QTest::addColumn<QByteArray>("display");
    QTest::addColumn<QStringList>("arguments");
    QTest::newRow("no display told") << QByteArray() << QStringList{};
    QTest::newRow("unreachable") << QByteArray(":54321") << QStringList{};
    QTest::newRow("forced") << qgetenv("DISPLAY")
                            << QStringList{QStringLiteral("--backend"), QStringLiteral("null")};
}

void BridgeLifeTest::withoutADisplayEveryCallIsAnError()
{
    QFETCH(QByteArray, display);
    QFETCH(QStringList, arguments);
    const DisplayVariable variable(display);
    BridgeProcess bridge(arguments);
    QVERIFY(bridge.waitForName(Bridge::WINDOW_MANAGER));
    QVERIFY(bridge.waitForName(Bridge::SCREEN_SAVER));
    QElapsedTimer timer;
    timer.start();
    PipeReader reader;
    QVERIFY(!Bridge::errorOf(reader.call(0)).isEmpty());
    QCOMPARE(reader.readAll(), QByteArray());
    QVERIFY(reader.sawEnd());
    QVERIFY(!Bridge::errorOf(Bridge::call(QStringLiteral("setContentChangeThreshold"), {90.0}))
                 .isEmpty());
    QVERIFY(!Bridge::errorOf(Bridge::call(QStringLiteral("getActiveWindowPid"))).isEmpty());
    QVERIFY2(timer.elapsed() < 2000, qPrintable(QString::number(timer.elapsed())));
    QCOMPARE(bridge.process().state(), QProcess::Running);
}

void BridgeLifeTest::displayWithoutDamageRefusesTheThreshold()
{
    const PrivateXServer server({QStringLiteral("-extension"), QStringLiteral("DAMAGE")},
                                QStringLiteral("640x480x24"));
    const DisplayVariable variable(server.display());
    BridgeProcess bridge;
    QVERIFY(bridge.waitForName(Bridge::WINDOW_MANAGER));
    QCOMPARE(Bridge::errorOf(Bridge::call(QStringLiteral("setContentChangeThreshold"), {90.0})),
             QDBusError::errorString(QDBusError::NotSupported));
    QCOMPARE(PipeReader::picture(0).size(), QSize(640, 480));
}

void BridgeLifeTest::startedAgainByTheBusAfterAKill()
{
    QCOMPARE(PipeReader::picture(0).size(), SCREEN_SIZE);
    const uint first = Bridge::ownerOf(Bridge::WINDOW_MANAGER);
    QVERIFY(first != 0);
    Bridge::killOwners();
    QCOMPARE(PipeReader::picture(0).size(), SCREEN_SIZE);
    const uint second = Bridge::ownerOf(Bridge::WINDOW_MANAGER);
    QVERIFY(second != 0 && second != first);
    QCOMPARE(Bridge::ownerOf(Bridge::SCREEN_SAVER), second);
}

void BridgeLifeTest::eitherNameStartsIt_data()
{
    QTest::addColumn<QString>("name");
    QTest::newRow("window manager") << Bridge::WINDOW_MANAGER;
    QTest::newRow("screen saver") << Bridge::SCREEN_SAVER;
}

void BridgeLifeTest::eitherNameStartsIt()
{
    QFETCH(QString, name);
    QVERIFY(QDBusConnection::sessionBus().interface()->startService(name).isValid());
    QTRY_VERIFY(Bridge::ownerOf(Bridge::WINDOW_MANAGER) != 0);
    QTRY_COMPARE(Bridge::ownerOf(Bridge::SCREEN_SAVER), Bridge::ownerOf(Bridge::WINDOW_MANAGER));
    QCOMPARE(Bridge::programOf(Bridge::ownerOf(name)),
             QFileInfo(QStringLiteral(BRIDGE_PROGRAM)).canonicalFilePath());
}

void BridgeLifeTest::endsWithTheXServer()
{
    PrivateXServer server({}, QStringLiteral("640x480x24"));
    const DisplayVariable variable(server.display());
    BridgeProcess bridge;
    QVERIFY(bridge.waitForName(Bridge::WINDOW_MANAGER));
    PipeReader stuck; // a picture under way does not hold it up
    QCOMPARE(Bridge::errorOf(stuck.call(0)), QString());
    server.kill();
    QVERIFY(bridge.process().waitForFinished(3000));
    QCOMPARE(bridge.process().exitStatus(), QProcess::NormalExit);
    QCOMPARE(bridge.process().exitCode(), 0);
}

void BridgeLifeTest::endsWithTheBus()
{
    PrivateBus bus;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("DBUS_SESSION_BUS_ADDRESS"), bus.address());
    BridgeProcess bridge({}, environment);
    const QDBusConnection connection = bus.connect(QStringLiteral("other bus"));
    QTRY_COMPARE(Bridge::ownerOf(Bridge::SCREEN_SAVER, connection),
                 uint(bridge.process().processId()));
    bus.stop();
    QVERIFY(bridge.process().waitForFinished(3000));
    QCOMPARE(bridge.process().exitStatus(), QProcess::NormalExit);
    QDBusConnection::disconnectFromBus(QStringLiteral("other bus"));
}

void BridgeLifeTest::unknownBackendIsRefused()
{
    BridgeProcess bridge({QStringLiteral("--backend"), QStringLiteral("mirror")});
    QVERIFY(bridge.process().state() == QProcess::NotRunning ||
            bridge.process().waitForFinished(5000));
    QCOMPARE(bridge.process().exitCode(), 1);
}

void BridgeLifeTest::installedServiceIsStartedFromItsPrefix_data()
{
    QTest::addColumn<QString>("prefix");
    QTest::addColumn<QString>("stage");
    QTest::newRow("prefix") << QStringLiteral("/opt of the test") << QString();
    QTest::newRow("staged") << QStringLiteral("/usr") << QStringLiteral("/stage");
}

void BridgeLifeTest::installedServiceIsStartedFromItsPrefix()
{
    if (!QFileInfo(QStringLiteral(BUILD_FOLDER)).isWritable()) {
        QSKIP("an installation writes into the build folder, which is another user's");
    }
    QFETCH(QString, prefix);
    QFETCH(QString, stage);
    const QTemporaryDir folder;
    const bool staged = !stage.isEmpty();
    const QString told = staged ? prefix : folder.path() + prefix; // where it will stand
    const QString root = staged ? folder.path() + stage + prefix : told;
    QProcess install;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    if (staged) {
        environment.insert(QStringLiteral("DESTDIR"), folder.path() + stage);
    }
    install.setProcessEnvironment(environment);
    install.start(QStringLiteral("cmake"),
                  {QStringLiteral("--install"), QStringLiteral(BUILD_FOLDER),
                   QStringLiteral("--component"), QStringLiteral("desktopbridge"),
                   QStringLiteral("--prefix"), told});
    QVERIFY(install.waitForFinished(60000));
    QCOMPARE(install.exitCode(), 0);

    const QString program =
        QStringLiteral("/libexec/tavel-ai-yestermark/yestermark-desktop-bridge");
    QVERIFY(QFileInfo(root + program).isExecutable());
    for (const QString &name : {Bridge::WINDOW_MANAGER, Bridge::SCREEN_SAVER}) {
        QFile file(root + QStringLiteral("/share/dbus-1/services/%1.service").arg(name));
        QVERIFY(file.open(QFile::ReadOnly));
        const QByteArray text = file.readAll();
        QVERIFY(text.contains("Name=" + name.toLocal8Bit() + '\n'));
        QVERIFY2(text.contains((told + program).toLocal8Bit()), text.constData());
    }
    if (staged) {
        return;
    }
    QProcessEnvironment busEnvironment = QProcessEnvironment::systemEnvironment();
    busEnvironment.insert(QStringLiteral("XDG_DATA_DIRS"), root + QStringLiteral("/share"));
    PrivateBus bus(busEnvironment);
    const QDBusConnection connection = bus.connect(QStringLiteral("installed"));
    QCOMPARE(Bridge::errorOf(Bridge::call(QStringLiteral("getActiveWindowPid"), {}, connection)),
             QString());
    QCOMPARE(Bridge::programOf(Bridge::ownerOf(Bridge::WINDOW_MANAGER, connection)),
             QFileInfo(root + program).canonicalFilePath());
    QDBusConnection::disconnectFromBus(QStringLiteral("installed"));
}

QTEST_GUILESS_MAIN(BridgeLifeTest)
#include "bridgelifetest.moc"
