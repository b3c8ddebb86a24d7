// The user guide on the bus: which page opens in which language, what is refused, and how the bus
// starts the process for a name that bears the user's id.

#include "desktopbridge/guide/userguide.h"
#include "bridgeprocess.h"
#include "desktopbridge/guide/guideactivation.h"
#include "privatebus.h"

#include <QDBusConnectionInterface>
#include <QDBusError>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>
#include <QTest>

#include <unistd.h>

namespace
{
const QString APPLICATION = QStringLiteral("tavel-ai-yestermark");
const QString INTERFACE = QStringLiteral("com.guide.hotel");
constexpr int PATIENCE = 15000; // milliseconds

QString guideName()
{
    return QStringLiteral("com.tavelUserGuide.hotel_%1").arg(::getuid());
}

QDBusMessage showGuide(const QString &application,
                       const QDBusConnection &bus = QDBusConnection::sessionBus())
{
    QDBusMessage message = QDBusMessage::createMethodCall(guideName(), QStringLiteral("/"),
                                                          INTERFACE, QStringLiteral("showGuide"));
    message << application;
    return bus.call(message);
}

QByteArray contentOf(const QString &path)
{
    QFile file(path);
    return file.open(QFile::ReadOnly) ? file.readAll() : QByteArray();
}

bool write(const QString &path, const QByteArray &text)
{
    QFile file(path);
    return QDir().mkpath(QFileInfo(path).path()) && file.open(QFile::WriteOnly) &&
           file.write(text) == text.size();
}
} // namespace

class UserGuideTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void pageOpensInTheUsersLanguage_data();
    void pageOpensInTheUsersLanguage();
    void viewerThatIsOnlyGioIsAskedToOpen();
    void unknownIdIsAnError_data();
    void unknownIdIsAnError();
    void withoutAViewerTheCallIsAnError();
    void objectOfTheScreenSaverHasTheSamePath();

    void busStartsTheGuideAfterAKill();
    void desktopWithServicesOfItsOwnRefusesAtOnce();
    void activationFileIsPrivateAndWrittenOnce();
    void programWithBlanksAndQuotesIsStarted();
    void guideOfAnotherOwnerIsLeftAlone();
    void guideThatTheBusCanStartIsLeftAlone();
    void withoutARuntimeFolderTheNameIsTaken();

private:
    void startBridge();
    QString opened() const;

    std::unique_ptr<QTemporaryDir> m_folder;
    QProcessEnvironment m_environment;
    std::unique_ptr<BridgeProcess> m_bridge;
};

void UserGuideTest::init()
{
    m_folder = std::make_unique<QTemporaryDir>();
    const QString viewer = m_folder->filePath(QStringLiteral("bin/xdg-open"));
    QVERIFY(write(viewer, "#!/bin/sh\necho \"$@\" >>\"$OPENED\"\n"));
    QVERIFY(QFile::setPermissions(viewer, QFile::ReadOwner | QFile::ExeOwner));
    m_environment = QProcessEnvironment::systemEnvironment();
    m_environment.insert(QStringLiteral("PATH"), m_folder->filePath(QStringLiteral("bin")));
    m_environment.insert(QStringLiteral("OPENED"), m_folder->filePath(QStringLiteral("opened")));
}

void UserGuideTest::cleanup()
{
    m_bridge.reset();
    Bridge::killOwners();
    QTRY_COMPARE_WITH_TIMEOUT(Bridge::ownerOf(guideName()), 0U, PATIENCE);
    QFile::remove(qEnvironmentVariable("XDG_RUNTIME_DIR") + QStringLiteral("/dbus-1/services/") +
                  guideName() + QStringLiteral(".service"));
    m_folder.reset();
}

void UserGuideTest::startBridge()
{
    m_bridge = std::make_unique<BridgeProcess>(
        QStringList{QStringLiteral("--backend"), QStringLiteral("null")}, m_environment);
    QVERIFY(m_bridge->waitForName(guideName()));
}

QString UserGuideTest::opened() const
{
    return QString::fromUtf8(contentOf(m_folder->filePath(QStringLiteral("opened")))).trimmed();
}

void UserGuideTest::pageOpensInTheUsersLanguage_data()
{
    QTest::addColumn<QString>("variable");
    QTest::addColumn<QString>("locale");
    QTest::addColumn<QString>("list"); // LANGUAGE
    QTest::addColumn<QString>("page");
    QTest::newRow("English") << "LC_ALL"
                             << "en_US.UTF-8"
                             << ""
                             << "en.html";
    QTest::newRow("Chinese") << "LC_ALL"
                             << "zh_CN.UTF-8"
                             << ""
                             << "zh_CN.html";
    QTest::newRow("messages only") << "LC_MESSAGES"
                                   << "zh_CN.UTF-8"
                                   << ""
                                   << "zh_CN.html";
    QTest::newRow("language only") << "LANG"
                                   << "zh_CN"
                                   << ""
                                   << "zh_CN.html";
    QTest::newRow("other Chinese") << "LANG"
                                   << "zh_TW.UTF-8"
                                   << ""
                                   << "zh_CN.html";
    QTest::newRow("not translated") << "LANG"
                                    << "fr_FR.UTF-8"
                                    << ""
                                    << "en.html";
    QTest::newRow("list") << "LANG"
                          << "en_GB.UTF-8"
                          << "fr:zh_CN:en"
                          << "zh_CN.html";
    QTest::newRow("list in the C locale") << "LANG"
                                          << "C"
                                          << "zh_CN"
                                          << "en.html";
    QTest::newRow("none") << "LANG"
                          << ""
                          << ""
                          << "en.html";
}

void UserGuideTest::pageOpensInTheUsersLanguage()
{
    QFETCH(QString, variable);
    QFETCH(QString, locale);
    QFETCH(QString, list);
    QFETCH(QString, page);
    for (const char *other : {"LC_ALL", "LC_MESSAGES", "LANG"}) {
        m_environment.insert(QLatin1String(other), QString());
    }
    m_environment.insert(variable, locale);
    m_environment.insert(QStringLiteral("LANGUAGE"), list);
    startBridge();
    QCOMPARE(Bridge::errorOf(showGuide(APPLICATION)), QString());
    QTRY_VERIFY_WITH_TIMEOUT(!opened().isEmpty(), PATIENCE);
    QCOMPARE(opened(), QStringLiteral(BUILD_FOLDER "/share/tavel-ai-yestermark/help/") + page);
    QVERIFY(QFileInfo(opened()).size() > 4000);
}

void UserGuideTest::viewerThatIsOnlyGioIsAskedToOpen()
{
    const QString folder = m_folder->filePath(QStringLiteral("bin/"));
    QVERIFY(QFile::rename(folder + QStringLiteral("xdg-open"), folder + QStringLiteral("gio")));
    startBridge();
    QCOMPARE(Bridge::errorOf(showGuide(APPLICATION)), QString());
    QTRY_VERIFY_WITH_TIMEOUT(!opened().isEmpty(), PATIENCE);
    QVERIFY2(opened().startsWith(QLatin1String("open /")), qPrintable(opened()));
}

void UserGuideTest::unknownIdIsAnError_data()
{
    QTest::addColumn<QString>("id");
    QTest::newRow("another application") << "tavel-calculator";
    QTest::newRow("nothing") << "";
    QTest::newRow("a way out of the folder") << "../share/tavel-ai-yestermark";
    QTest::newRow("the folder itself") << ".";
    QTest::newRow("the folder above") << "..";
    QTest::newRow("capitals") << "Tavel-AI-Yestermark";
}

void UserGuideTest::unknownIdIsAnError()
{
    QFETCH(QString, id);
    startBridge();
    const QDBusMessage reply = showGuide(id);
    QCOMPARE(Bridge::errorOf(reply), QDBusError::errorString(QDBusError::InvalidArgs));
    QVERIFY(reply.errorMessage().contains(QLatin1Char('"') + id + QLatin1Char('"')));
    QCOMPARE(Bridge::errorOf(showGuide(APPLICATION)), QString());
    QTRY_VERIFY_WITH_TIMEOUT(!opened().isEmpty(), PATIENCE);
    QCOMPARE(opened().count(QLatin1String(".html")), 1); // nothing was opened for the other id
}

void UserGuideTest::withoutAViewerTheCallIsAnError()
{
    m_environment.insert(QStringLiteral("PATH"), m_folder->filePath(QStringLiteral("empty")));
    startBridge();
    QCOMPARE(Bridge::errorOf(showGuide(APPLICATION)), QDBusError::errorString(QDBusError::Failed));
}

void UserGuideTest::objectOfTheScreenSaverHasTheSamePath()
{
    startBridge();
    const auto introspect = [](const QString &name) {
        return QDBusConnection::sessionBus()
            .call(QDBusMessage::createMethodCall(
                name, QStringLiteral("/"), QStringLiteral("org.freedesktop.DBus.Introspectable"),
                QStringLiteral("Introspect")))
            .arguments()
            .value(0)
            .toString();
    };
    QVERIFY(introspect(guideName()).contains(INTERFACE));
    QVERIFY(introspect(Bridge::SCREEN_SAVER).contains(QLatin1String("org.vesk.ScreenSaver")));
}

void UserGuideTest::busStartsTheGuideAfterAKill()
{
    startBridge();
    const uint first = Bridge::ownerOf(guideName());
    m_bridge->process().kill();
    for (const QString &name : {guideName(), Bridge::WINDOW_MANAGER, Bridge::SCREEN_SAVER}) {
        QTRY_COMPARE_WITH_TIMEOUT(Bridge::ownerOf(name), 0U, PATIENCE);
    }
    QCOMPARE(Bridge::errorOf(showGuide(QStringLiteral("tavel-calculator"))),
             QDBusError::errorString(QDBusError::InvalidArgs));
    const uint second = Bridge::ownerOf(guideName());
    QVERIFY(second != 0 && second != first);
    QCOMPARE(Bridge::programOf(second),
             QFileInfo(QStringLiteral(BRIDGE_PROGRAM)).canonicalFilePath());
}

void UserGuideTest::desktopWithServicesOfItsOwnRefusesAtOnce()
{
    startBridge();
    m_bridge->process().kill();
    for (const QString &name : {guideName(), Bridge::WINDOW_MANAGER, Bridge::SCREEN_SAVER}) {
        QTRY_COMPARE_WITH_TIMEOUT(Bridge::ownerOf(name), 0U, PATIENCE);
    }
    QDBusConnection bus = QDBusConnection::sessionBus();
    QVERIFY(bus.registerService(Bridge::WINDOW_MANAGER));
    QVERIFY(bus.registerService(Bridge::SCREEN_SAVER));
    const QString error = Bridge::errorOf(showGuide(APPLICATION));
    QVERIFY2(error.startsWith(QLatin1String("org.freedesktop.DBus.Error.Spawn")),
             qPrintable(error));
    bus.unregisterService(Bridge::WINDOW_MANAGER);
    bus.unregisterService(Bridge::SCREEN_SAVER);
}

void UserGuideTest::activationFileIsPrivateAndWrittenOnce()
{
    const QTemporaryDir runtime;
    const QByteArray before = qgetenv("XDG_RUNTIME_DIR");
    qputenv("XDG_RUNTIME_DIR", runtime.path().toLocal8Bit());
    const QDBusConnection bus = QDBusConnection::sessionBus();
    const QString name = QStringLiteral("com.tavelUserGuide.hotel_test");
    const QString path = runtime.filePath(QStringLiteral("dbus-1/services/%1.service").arg(name));
    QVERIFY(writeGuideActivation(bus, name, QStringLiteral("/opt/bridge")));
    QCOMPARE(contentOf(path),
             QStringLiteral("[D-BUS Service]\nName=%1\nExec=\"/opt/bridge\"\n").arg(name).toUtf8());
    QCOMPARE(int(QFileInfo(path).permissions() &
                 (QFile::ReadGroup | QFile::WriteGroup | QFile::ReadOther | QFile::WriteOther)),
             0);
    QFile file(path);
    QVERIFY(file.open(QFile::ReadWrite));
    const QDateTime old = QDateTime::currentDateTime().addDays(-1);
    QVERIFY(file.setFileTime(old, QFileDevice::FileModificationTime));
    file.close();
    QVERIFY(writeGuideActivation(bus, name, QStringLiteral("/opt/bridge")));
    QCOMPARE(QFileInfo(path).lastModified().toSecsSinceEpoch(), old.toSecsSinceEpoch());
    QVERIFY(writeGuideActivation(bus, name, QStringLiteral("/usr/bridge")));
    QVERIFY(contentOf(path).contains("/usr/bridge"));
    qputenv("XDG_RUNTIME_DIR", before);
}

void UserGuideTest::programWithBlanksAndQuotesIsStarted()
{
    const QString name = QStringLiteral("com.tavelUserGuide.hotel_odd");
    const QString program = m_folder->filePath(QStringLiteral("an \"odd\" $HOME `name`/start"));
    const QString mark = m_folder->filePath(QStringLiteral("started"));
    QVERIFY(write(program, "#!/bin/sh\n: >'" + mark.toLocal8Bit() + "'\nexit 1\n"));
    QVERIFY(QFile::setPermissions(program, QFile::ReadOwner | QFile::ExeOwner));
    const QDBusConnection bus = QDBusConnection::sessionBus();
    QVERIFY(writeGuideActivation(bus, name, program));
    bus.interface()->startService(name); // an error: it ends without taking the name
    QTRY_VERIFY_WITH_TIMEOUT(QFile::exists(mark), PATIENCE);
}

void UserGuideTest::guideOfAnotherOwnerIsLeftAlone()
{
    QDBusConnection bus = QDBusConnection::sessionBus();
    QVERIFY(bus.registerService(guideName()));
    m_bridge = std::make_unique<BridgeProcess>(
        QStringList{QStringLiteral("--backend"), QStringLiteral("null")}, m_environment);
    QVERIFY(m_bridge->waitForName(Bridge::WINDOW_MANAGER));
    // Its answers come after everything of its start.
    QCOMPARE(Bridge::call(QStringLiteral("getActiveWindowPid")).type(), QDBusMessage::ErrorMessage);
    QCOMPARE(Bridge::ownerOf(guideName()), uint(QCoreApplication::applicationPid()));
    bus.unregisterService(guideName());
}

void UserGuideTest::guideThatTheBusCanStartIsLeftAlone()
{
    const QString services = m_folder->filePath(QStringLiteral("share/dbus-1/services/"));
    QVERIFY(write(services + QStringLiteral("guide.service"),
                  "[D-BUS Service]\nName=" + guideName().toLatin1() + "\nExec=/bin/false\n"));
    QVERIFY(QDir().mkpath(m_folder->filePath(QStringLiteral("run"))));
    m_environment.insert(QStringLiteral("XDG_DATA_DIRS"),
                         m_folder->filePath(QStringLiteral("share")));
    m_environment.insert(QStringLiteral("XDG_RUNTIME_DIR"),
                         m_folder->filePath(QStringLiteral("run")));
    QProcessEnvironment ofTheBus = m_environment;
    ofTheBus.insert(QStringLiteral("PATH"), qEnvironmentVariable("PATH"));
    PrivateBus bus(ofTheBus);
    const QDBusConnection connection = bus.connect(QStringLiteral("other bus"));
    QVERIFY(connection.interface()->activatableServiceNames().value().contains(guideName()));
    m_environment.insert(QStringLiteral("DBUS_SESSION_BUS_ADDRESS"), bus.address());
    const BridgeProcess bridge({QStringLiteral("--backend"), QStringLiteral("null")},
                               m_environment);
    QTRY_VERIFY_WITH_TIMEOUT(Bridge::ownerOf(Bridge::WINDOW_MANAGER, connection) != 0, PATIENCE);
    QCOMPARE(Bridge::call(QStringLiteral("getActiveWindowPid"), {}, connection).type(),
             QDBusMessage::ErrorMessage);
    QCOMPARE(Bridge::ownerOf(guideName(), connection), 0U);
    QVERIFY(QDir(m_folder->filePath(QStringLiteral("run/dbus-1/services"))).isEmpty());
    QDBusConnection::disconnectFromBus(QStringLiteral("other bus"));
}

void UserGuideTest::withoutARuntimeFolderTheNameIsTaken()
{
    m_environment.remove(QStringLiteral("XDG_RUNTIME_DIR"));
    startBridge();
    QCOMPARE(Bridge::errorOf(showGuide(APPLICATION)), QString());
}

QTEST_GUILESS_MAIN(UserGuideTest)
#include "userguidetest.moc"
