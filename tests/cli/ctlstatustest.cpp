// What "yestermarkctl status" tells of a running recorder and its desktop, and the reason that it
// gives where nothing is stored.

#include "cli/ctlworld.h"
#include "database/ocrscreenshotdatabase.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusContext>
#include <QDBusReply>
#include <QDir>
#include <QLocalServer>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>

#include <memory>
#include <unistd.h>

namespace
{
const QString OWN_ENTRY = QStringLiteral("/usr/share/applications/writer.desktop");

/// The desktop's service of windows, as far as the command asks it.
class Windows : public QObject, protected QDBusContext
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.vesk.KWin")

public:
    uint active = 1;
    bool seesNothing = false;

public Q_SLOTS:
    uint getActiveWindowPid()
    {
        if (seesNothing) {
            sendErrorReply(QDBusError::Failed);
        }
        return active;
    }
};

class ScreenSaver : public QObject
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.ScreenSaver")

public:
    bool isActive = false;

public Q_SLOTS:
    bool GetActive() const { return isActive; }
};

/// Where the program would listen.
QString socketPath()
{
    return qEnvironmentVariable("XDG_RUNTIME_DIR") + "/tavel-ai-yestermark/instance.socket";
}
} // namespace

class TestCtlStatus : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();

    void newFrameIsARecording();
    void programThatDoesNotRunIsTheReason();
    void socketOfAKilledProgramIsNone();
    void switchedOffRecordingIsTheReason();
    void lockedSessionIsTheReason();
    void ownWindowInFrontIsTheReason();
    void clockBehindTheNewestFrameIsTheReason();
    void stillScreenIsTheReason();
    void missingSettingsAreTheReason();
    void missingRuntimeIsTheReason();
    void serviceOfTheDesktopIsTold();
    void noServiceIsStartedForTheQuestion();
    void withoutABusThereIsAnAnswer();
    void bridgeTellsItsBackend(); // last: it stays on the bus

private:
    void setRecording(bool isOn);
    void storeFrame(qint64 time);
    QString reason() const { return status()["reason"].toString(); }
    QJsonObject status() const { return m_ctl->run({"status", "--json"}).object(); }

    std::unique_ptr<QTemporaryDir> m_home;
    std::unique_ptr<CtlWorld> m_ctl;
    std::unique_ptr<QLocalServer> m_program;
    Windows m_windows;
    ScreenSaver m_screenSaver;
};

void TestCtlStatus::initTestCase()
{
    QDBusConnection bus = QDBusConnection::sessionBus();
    QVERIFY(bus.registerObject("/KWin", &m_windows, QDBusConnection::ExportAllSlots));
    QVERIFY(bus.registerObject("/org/freedesktop/ScreenSaver", &m_screenSaver,
                               QDBusConnection::ExportAllSlots));
    QVERIFY(QDir().mkpath(QFileInfo(socketPath()).path()));
}

void TestCtlStatus::init()
{
    m_home = std::make_unique<QTemporaryDir>();
    qputenv("HOME", QFile::encodeName(m_home->path()));
    m_ctl = std::make_unique<CtlWorld>(m_home->path());
    m_ctl->set("GSETTINGS_BACKEND", "keyfile");
    QDBusConnection bus = QDBusConnection::sessionBus();
    QVERIFY(bus.registerService("org.vesk.KWin"));
    QVERIFY(bus.registerService("org.freedesktop.ScreenSaver"));
    m_windows.active = 1;
    m_windows.seesNothing = false;
    m_screenSaver.isActive = false;
    m_program = std::make_unique<QLocalServer>();
    QLocalServer::removeServer(socketPath());
    QVERIFY(m_program->listen(socketPath()));
    setRecording(true);
    storeFrame(QDateTime::currentSecsSinceEpoch());
    const QJsonObject engines = status()["engines"].toObject();
    if (!engines["reading"].toBool() || !engines["textMeaning"].toBool()) {
        QSKIP("this build has no engines, which is the first of all reasons");
    }
}

void TestCtlStatus::cleanup()
{
    m_program.reset();
    QDBusConnection::sessionBus().unregisterService("org.vesk.KWin");
    QDBusConnection::sessionBus().unregisterService("org.freedesktop.ScreenSaver");
}

void TestCtlStatus::setRecording(bool isOn)
{
    QProcess process;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert("HOME", m_home->path());
    environment.insert("GSETTINGS_BACKEND", "keyfile");
    process.setProcessEnvironment(environment);
    process.start("gsettings",
                  {"set", "com.tavel.yestermark", "recording-memory", isOn ? "true" : "false"});
    QVERIFY(process.waitForFinished());
    QCOMPARE(process.exitCode(), 0);
}

void TestCtlStatus::storeFrame(qint64 time)
{
    OcrScreenshotDatabase store;
    ScreenShotData frame;
    frame.realTime = time;
    frame.videoName = QDateTime::fromSecsSinceEpoch(time).toString("yyyy-MM-dd_hh-mm-ss'.mp4'");
    frame.frameIndexOfVideo = 1;
    frame.frameIndexOfDay = 1;
    frame.desktopFilePath = OWN_ENTRY;
    QVERIFY(store.saveScreenshotData(frame));
}

void TestCtlStatus::newFrameIsARecording()
{
    const QJsonObject told = status();
    QVERIFY2(told["reason"].isNull(), qPrintable(told["reason"].toString()));
    QVERIFY(told["running"].toBool());
    QVERIFY(told["recordingWanted"].toBool());
    QVERIFY(told["recording"].toBool());
    QVERIFY(told["lastFrame"].toObject()["ageSeconds"].toInt() < 60);
    const QStringList lines = m_ctl->run({"status"}).lines();
    QVERIFY(lines.contains("Recording:  yes"));
    QVERIFY(lines.filter("Not stored:").isEmpty());
    QVERIFY(m_program->isListening());
}

void TestCtlStatus::programThatDoesNotRunIsTheReason()
{
    m_program.reset();
    const QJsonObject told = status();
    QCOMPARE(told["reason"].toString(), QString("the program is not running"));
    QCOMPARE(told["running"].toBool(true), false);
    QCOMPARE(told["recording"].toBool(true), false);
    QCOMPARE(told["recordingWanted"].toBool(), true);
}

void TestCtlStatus::socketOfAKilledProgramIsNone()
{
    m_program.reset();
    const QTemporaryDir elsewhere;
    QLocalServer killed;
    QVERIFY(killed.listen(elsewhere.filePath("socket")));
    QVERIFY(::link(QFile::encodeName(killed.fullServerName()).constData(),
                   QFile::encodeName(socketPath()).constData()) == 0);
    killed.close();
    QVERIFY(QFileInfo::exists(socketPath()));
    QCOMPARE(reason(), QString("the program is not running"));
}

void TestCtlStatus::switchedOffRecordingIsTheReason()
{
    setRecording(false);
    const QJsonObject told = status();
    QCOMPARE(told["reason"].toString(), QString("recording is switched off"));
    QCOMPARE(told["recording"].toBool(true), false);
    QVERIFY(m_ctl->run({"status"}).lines().contains("Not stored: recording is switched off"));
}

void TestCtlStatus::lockedSessionIsTheReason()
{
    m_screenSaver.isActive = true;
    QCOMPARE(reason(), QString("the session is locked"));
}

void TestCtlStatus::ownWindowInFrontIsTheReason()
{
    m_windows.active = static_cast<uint>(::getpid()); // who listens is the program
    QCOMPARE(reason(), QString("the program's own window is in front"));
}

void TestCtlStatus::clockBehindTheNewestFrameIsTheReason()
{
    storeFrame(QDateTime::currentSecsSinceEpoch() + 3000);
    QCOMPARE(reason(), QString("the clock is behind the newest frame"));
}

void TestCtlStatus::stillScreenIsTheReason()
{
    QVERIFY(QDir(m_ctl->root()).removeRecursively());
    storeFrame(QDateTime::currentSecsSinceEpoch() - 7200);
    QVERIFY(reason().startsWith("the screen has hardly changed"));
    QVERIFY(!m_ctl->run({"status"})
                 .lines()
                 .filter(QRegularExpression("^Last frame: .* 2 hours ago$"))
                 .isEmpty());
}

void TestCtlStatus::missingSettingsAreTheReason()
{
    m_ctl->set("GSETTINGS_SCHEMA_DIR", m_home->path());
    m_ctl->set("XDG_DATA_DIRS", m_home->path());
    const QJsonObject told = status();
    QCOMPARE(told["reason"].toString(), QString("the program's settings are not installed"));
    QVERIFY(told["recordingWanted"].isNull());
    QVERIFY(told["store"].toObject()["ceilingBytes"].isNull());
}

void TestCtlStatus::missingRuntimeIsTheReason()
{
    QVERIFY(QDir(m_home->path()).mkdir("bin"));
    const QString program = m_home->filePath("bin/yestermarkctl");
    QVERIFY(QFile::copy(CtlWorld::program(), program));
    QProcess process;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert("XDG_DATA_DIRS", "/nonexistent");
    process.setProcessEnvironment(environment);
    process.start(program, {"status"});
    QTRY_COMPARE_WITH_TIMEOUT(process.state(), QProcess::NotRunning, 30000);
    QVERIFY(process.readAllStandardOutput().contains(
        "Not stored: the on-device AI runtime is not installed\n"));
}

void TestCtlStatus::serviceOfTheDesktopIsTold()
{
    m_ctl->set("DISPLAY", ":7");
    QJsonObject desktop = status()["desktop"].toObject();
    QCOMPARE(desktop["provider"].toString(), QString("desktop"));
    QCOMPARE(desktop["seesScreen"].toBool(), true);
    QCOMPARE(desktop["session"].toString(), QString("x11"));
    m_windows.seesNothing = true;
    QCOMPARE(status()["desktop"].toObject()["seesScreen"].toBool(true), false);
    m_ctl->set("WAYLAND_DISPLAY", "wayland-7");
    QCOMPARE(status()["desktop"].toObject()["session"].toString(), QString("wayland"));
}

void TestCtlStatus::noServiceIsStartedForTheQuestion()
{
    QDBusConnection::sessionBus().unregisterService("org.vesk.KWin");
    QDBusConnection::sessionBus().unregisterService("org.freedesktop.ScreenSaver");
    const QJsonObject desktop = status()["desktop"].toObject();
    QCOMPARE(desktop["provider"].toString(), QString());
    for (const char *name : {"org.vesk.KWin", "org.freedesktop.ScreenSaver"}) {
        QVERIFY(!QDBusConnection::sessionBus().interface()->isServiceRegistered(name));
    }
}

void TestCtlStatus::withoutABusThereIsAnAnswer()
{
    m_ctl->set("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nonexistent");
    const CtlRun run = m_ctl->run({"status", "--json"});
    QCOMPARE(run.status, 0);
    QCOMPARE(run.object()["desktop"].toObject()["provider"].toString(), QString());
    QVERIFY(run.object()["recording"].toBool());
}

void TestCtlStatus::bridgeTellsItsBackend()
{
    // A bus without a display: the bridge sees nothing.
    QDBusConnection bus = QDBusConnection::sessionBus();
    bus.unregisterService("org.vesk.KWin");
    bus.unregisterService("org.freedesktop.ScreenSaver");
    const QDBusReply<uint> started =
        bus.interface()->call("StartServiceByName", "org.vesk.KWin", 0U);
    QVERIFY2(started.isValid(), qPrintable(started.error().message()));
    const QJsonObject told = status();
    QCOMPARE(told["desktop"].toObject()["provider"].toString(), QString("bridge"));
    QCOMPARE(told["desktop"].toObject()["backend"].toString(), QString("null"));
    QCOMPARE(told["desktop"].toObject()["seesScreen"].toBool(true), false);
    QCOMPARE(told["reason"].toString(), QString("the desktop does not show its screen"));
    QVERIFY(
        m_ctl->run({"status"}).out.contains("by the desktop bridge (null), which sees no screen"));
}

QTEST_GUILESS_MAIN(TestCtlStatus)
#include "ctlstatustest.moc"
