// The settings store against the real GSettings, with the real schema and the real `gsettings` as
// the program from outside.

#include "app/configmanager.h"
#include "settingsspy.h"
#include "support/logcapture.h"

#include <QFile>
#include <QGSettings>
#include <QProcess>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QtTest>
#include <gio/gio.h>
#include <map>
#include <memory>

namespace
{
const QString SCHEMA = QStringLiteral("com.tavel.yestermark");

// One setting as the program sees it.
struct Setting {
    std::function<QVariant(const ConfigManager &)> get;
    std::function<void(ConfigManager &, const QVariant &)> set;
    std::function<std::unique_ptr<QSignalSpy>(const ConfigManager &)> spy;
};

template <typename Signal>
auto spyOn(Signal signal)
{
    return [signal](const ConfigManager &manager) {
        return std::make_unique<QSignalSpy>(&manager, signal);
    };
}

// By its key.
const std::map<QString, Setting> &settings()
{
    using M = ConfigManager;
    static const std::map<QString, Setting> all{
        {"enabled",
         {[](const M &m) { return m.getEnabled(); },
          [](M &m, const QVariant &value) { m.setEnabled(value.toBool()); },
          spyOn(&M::enabledChanged)}},
        {"screenshot-interval",
         {[](const M &m) { return m.getScreenshotInterval(); },
          [](M &m, const QVariant &value) { m.setScreenshotInterval(value.toUInt()); },
          spyOn(&M::screenshotIntervalChanged)}},
        {"max-storage-size-gb",
         {[](const M &m) { return m.getMaxStorageSize(); },
          [](M &m, const QVariant &value) { m.setMaxStorageSize(value.toUInt()); },
          spyOn(&M::maxStorageSizeChanged)}},
        {"exclude-apps",
         {[](const M &m) { return m.getExcludeApps(); },
          [](M &m, const QVariant &value) { m.setExcludeApps(value.toStringList()); },
          spyOn(&M::excludeAppsChanged)}},
        {"close-window-option",
         {[](const M &m) { return m.getCloseWindowOption(); },
          [](M &m, const QVariant &value) { m.setCloseWindowOption(value.toString()); },
          spyOn(&M::closeWindowOptionChanged)}},
        {"recording-memory",
         {[](const M &m) { return m.getRecordingMemory(); },
          [](M &m, const QVariant &value) { m.setRecordingMemory(value.toBool()); },
          spyOn(&M::recordingMemoryChanged)}},
    };
    return all;
}

// A spy on each signal of a store, by the setting's key.
class Signals
{
public:
    explicit Signals(const ConfigManager &manager)
        : m_resultNumber(&manager, &ConfigManager::maxResultNumberChanged)
    {
        for (const auto &[key, setting] : settings()) {
            m_spies[key] = setting.spy(manager);
        }
    }

    const QSignalSpy &of(const QString &key) const { return *m_spies.at(key); }

    int total() const
    {
        int count = m_resultNumber.count();
        for (const auto &entry : m_spies) {
            count += entry.second->count();
        }
        return count;
    }

private:
    std::map<QString, std::unique_ptr<QSignalSpy>> m_spies;
    QSignalSpy m_resultNumber;
};

struct Output {
    int exitCode;
    QString text;
};

// Another program that works on the settings.
Output outside(const QString &program, const QStringList &arguments)
{
    QProcess process;
    process.setProcessChannelMode(QProcess::MergedChannels);
    process.start(program, arguments);
    process.waitForFinished();
    return {process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1,
            QString::fromUtf8(process.readAll()).trimmed()};
}
} // namespace

class TestConfigManager : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void defaultsOfTheSchema_data();
    void defaultsOfTheSchema();
    void schemaFixesTypesBoundsAndPath_data();
    void schemaFixesTypesBoundsAndPath();
    void setterStoresAndTheSignalFollows_data();
    void setterStoresAndTheSignalFollows();
    void presentValueIsNeitherWrittenNorSignalled_data();
    void presentValueIsNeitherWrittenNorSignalled();
    void listsAreEqualOnlyInTheSameOrder();
    void valueOutsideTheSchemasBoundsIsRefused_data();
    void valueOutsideTheSchemasBoundsIsRefused();
    void storedValueOutsideTheBoundsReadsAsTheDefault();
    void changeFromOutsideGivesTheMatchingSignalOnly_data();
    void changeFromOutsideGivesTheMatchingSignalOnly();
    void getterReadsAnewEachTime();
    void startReadsInOrder();
    void getUserConfigReadsAllSixInOrder();
    void setConfigWritesFourInOrderAndLeavesTheOtherTwo();
    void startAndStopMemorySetEnabled();
    void unknownKeyIsIgnored();
    void withoutSchemaTwoLinesAreLoggedAndTheProcessDoesNotComeUp();

private:
    std::unique_ptr<ConfigManager> m_manager;
};

void TestConfigManager::initTestCase()
{
    QVERIFY2(QGSettings::isSchemaInstalled(SCHEMA.toUtf8()), qgetenv("GSETTINGS_SCHEMA_DIR"));
}

void TestConfigManager::init()
{
    m_manager.reset();
    QGSettings stored(SCHEMA.toUtf8());
    for (const QString &key : stored.keys()) {
        stored.reset(key);
    }
    // The store of a desktop writes behind the caller's back, and tells a newcomer of every key
    // that was still on its way.
    g_settings_sync();
    m_manager = std::make_unique<ConfigManager>();
    SettingsSpy::clear();
}

void TestConfigManager::defaultsOfTheSchema_data()
{
    QTest::addColumn<QVariant>("value");
    QTest::newRow("enabled") << QVariant(false);
    QTest::newRow("screenshot-interval") << QVariant(5U);
    QTest::newRow("max-storage-size-gb") << QVariant(10U);
    QTest::newRow("exclude-apps") << QVariant(QStringList());
    QTest::newRow("close-window-option") << QVariant("minimize");
    QTest::newRow("recording-memory") << QVariant(false);
}

void TestConfigManager::defaultsOfTheSchema()
{
    QFETCH(QVariant, value);
    QCOMPARE(settings().at(QTest::currentDataTag()).get(*m_manager), value);
}

void TestConfigManager::schemaFixesTypesBoundsAndPath_data()
{
    QTest::addColumn<QString>("range");
    QTest::newRow("enabled") << "type b";
    QTest::newRow("screenshot-interval") << "range u 1 86400";
    QTest::newRow("max-storage-size-gb") << "range u 1 1024";
    QTest::newRow("exclude-apps") << "type as";
    QTest::newRow("close-window-option") << "enum\n'minimize'\n'exit'";
    QTest::newRow("recording-memory") << "type b";
}

void TestConfigManager::schemaFixesTypesBoundsAndPath()
{
    QFETCH(QString, range);
    QCOMPARE(outside("gsettings", {"range", SCHEMA, QTest::currentDataTag()}).text, range);
    QVERIFY(outside("gsettings", {"list-schemas", "--print-paths"})
                .text.contains(SCHEMA + " /com/tavel/yestermark/"));
    QCOMPARE(outside("gsettings", {"list-keys", SCHEMA}).text.split('\n').size(), 6);
}

void TestConfigManager::setterStoresAndTheSignalFollows_data()
{
    QTest::addColumn<QVariant>("value");
    QTest::addColumn<QString>("stored");
    QTest::newRow("enabled") << QVariant(true) << "true";
    QTest::newRow("screenshot-interval") << QVariant(60U) << "uint32 60";
    QTest::newRow("max-storage-size-gb") << QVariant(15U) << "uint32 15";
    QTest::newRow("exclude-apps") << QVariant(QStringList{"/a.desktop", QString::fromUtf8("/应用")})
                                  << QString::fromUtf8("['/a.desktop', '/应用']");
    QTest::newRow("close-window-option") << QVariant("exit") << "'exit'";
    QTest::newRow("recording-memory") << QVariant(true) << "true";
}

void TestConfigManager::setterStoresAndTheSignalFollows()
{
    QFETCH(QVariant, value);
    QFETCH(QString, stored);
    const QString key = QTest::currentDataTag();
    const Setting &setting = settings().at(key);
    const Signals signals_(*m_manager);
    setting.set(*m_manager, value);
    QTRY_COMPARE(signals_.of(key).count(), 1);
    QCOMPARE(signals_.of(key).first().first(), value);
    QCOMPARE(signals_.total(), 1);
    QCOMPARE(setting.get(*m_manager), value);
    QTRY_COMPARE(outside("gsettings", {"get", SCHEMA, key}).text, stored);
}

void TestConfigManager::presentValueIsNeitherWrittenNorSignalled_data()
{
    setterStoresAndTheSignalFollows_data();
}

void TestConfigManager::presentValueIsNeitherWrittenNorSignalled()
{
    QFETCH(QVariant, value);
    const QString key = QTest::currentDataTag();
    const Setting &setting = settings().at(key);
    const Signals signals_(*m_manager);
    setting.set(*m_manager, value);
    QTRY_COMPARE(signals_.total(), 1);
    setting.set(*m_manager, value);
    QCOMPARE(SettingsSpy::writes(), QStringList{key});
    // What a further change brings comes after what the equal value would have brought.
    const QString other = key == "enabled" ? "recording-memory" : "enabled";
    settings().at(other).set(*m_manager, true);
    QTRY_COMPARE(signals_.of(other).count(), 1);
    QCOMPARE(signals_.total(), 2);
}

void TestConfigManager::listsAreEqualOnlyInTheSameOrder()
{
    const Signals signals_(*m_manager);
    int changes = 0;
    const QStringList steps[] = {{"a", "b"}, {"b", "a"}, {"b"}, {"B"}, {}};
    for (const QStringList &list : steps) {
        m_manager->setExcludeApps(list);
        m_manager->setExcludeApps(list);
        ++changes;
        QTRY_COMPARE(signals_.of("exclude-apps").count(), changes);
        QCOMPARE(signals_.of("exclude-apps").last().first().toStringList(), list);
        QCOMPARE(SettingsSpy::writes().size(), changes);
    }
}

void TestConfigManager::valueOutsideTheSchemasBoundsIsRefused_data()
{
    QTest::addColumn<QVariant>("value");
    QTest::addColumn<QString>("text");
    QTest::newRow("screenshot-interval") << QVariant(0U) << "0";
    QTest::newRow("max-storage-size-gb") << QVariant(0U) << "0";
    QTest::newRow("close-window-option") << QVariant("hide") << "hide";
}

void TestConfigManager::valueOutsideTheSchemasBoundsIsRefused()
{
    QFETCH(QVariant, value);
    QFETCH(QString, text);
    const QString key = QTest::currentDataTag();
    const Setting &setting = settings().at(key);
    const QVariant before = setting.get(*m_manager);
    setting.set(*m_manager, value);
    QCOMPARE(setting.get(*m_manager), before);
    QVERIFY(outside("gsettings", {"set", SCHEMA, key, text}).exitCode != 0);
    QCOMPARE(setting.get(*m_manager), before);
}

void TestConfigManager::storedValueOutsideTheBoundsReadsAsTheDefault()
{
    const Signals signals_(*m_manager);
    m_manager->setScreenshotInterval(60);
    QTRY_COMPARE(signals_.of("screenshot-interval").count(), 1);
    if (qgetenv("GSETTINGS_BACKEND") == "dconf") {
        QCOMPARE(
            outside("dconf", {"write", "/com/tavel/yestermark/screenshot-interval", "uint32 0"})
                .exitCode,
            0);
    } else {
        QFile store(qEnvironmentVariable("HOME") + "/.config/glib-2.0/settings/keyfile");
        QVERIFY(store.open(QIODevice::WriteOnly));
        store.write("[com/tavel/yestermark]\nscreenshot-interval=uint32 0\n");
    }
    QTRY_COMPARE(signals_.of("screenshot-interval").count(), 2);
    QCOMPARE(signals_.of("screenshot-interval").last().first(), QVariant(5U));
    QCOMPARE(m_manager->getScreenshotInterval(), 5U);
}

void TestConfigManager::changeFromOutsideGivesTheMatchingSignalOnly_data()
{
    setterStoresAndTheSignalFollows_data();
}

void TestConfigManager::changeFromOutsideGivesTheMatchingSignalOnly()
{
    QFETCH(QVariant, value);
    QFETCH(QString, stored);
    const QString key = QTest::currentDataTag();
    const Signals signals_(*m_manager);
    QCOMPARE(outside("gsettings", {"set", SCHEMA, key, stored}).exitCode, 0);
    QTRY_COMPARE(signals_.of(key).count(), 1);
    QCOMPARE(signals_.of(key).first().first(), value);
    QCOMPARE(signals_.total(), 1);
    QCOMPARE(settings().at(key).get(*m_manager), value);
}

void TestConfigManager::getterReadsAnewEachTime()
{
    for (const auto &[key, setting] : settings()) {
        SettingsSpy::clear();
        setting.get(*m_manager);
        setting.get(*m_manager);
        QCOMPARE(SettingsSpy::reads(), QStringList({key, key}));
    }
}

void TestConfigManager::startReadsInOrder()
{
    const ConfigManager another;
    QCOMPARE(SettingsSpy::reads(), QStringList({"recording-memory", "screenshot-interval",
                                                "max-storage-size-gb", "exclude-apps"}));
    QCOMPARE(SettingsSpy::writes(), QStringList());
}

void TestConfigManager::getUserConfigReadsAllSixInOrder()
{
    m_manager->setEnabled(true);
    m_manager->setScreenshotInterval(7);
    m_manager->setMaxStorageSize(15);
    m_manager->setExcludeApps({"a"});
    m_manager->setCloseWindowOption("exit");
    m_manager->setRecordingMemory(true);
    SettingsSpy::clear();
    const UserConfig config = m_manager->getUserConfig();
    QCOMPARE(SettingsSpy::reads(),
             QStringList({"enabled", "screenshot-interval", "max-storage-size-gb", "exclude-apps",
                          "close-window-option", "recording-memory"}));
    QCOMPARE(config.enabled, true);
    QCOMPARE(config.screenshotInterval, 7U);
    QCOMPARE(config.maxStorageSizeGb, 15U);
    QCOMPARE(config.excludeApps, QStringList{"a"});
    QCOMPARE(config.closeWindowOption, QString("exit"));
    QCOMPARE(config.recordingMemory, true);
}

void TestConfigManager::setConfigWritesFourInOrderAndLeavesTheOtherTwo()
{
    UserConfig config;
    config.enabled = true;
    config.screenshotInterval = 9;
    config.maxResultNumber = 3;
    config.maxStorageSizeGb = 5;
    config.excludeApps = QStringList{"a", "b"};
    config.closeWindowOption = "exit";
    config.recordingMemory = true;
    const Signals signals_(*m_manager);
    m_manager->setConfig(config);
    QCOMPARE(SettingsSpy::writes(), QStringList({"enabled", "screenshot-interval",
                                                 "max-storage-size-gb", "exclude-apps"}));
    QCOMPARE(m_manager->getExcludeApps(), config.excludeApps);
    QCOMPARE(m_manager->getCloseWindowOption(), QString("minimize"));
    QCOMPARE(m_manager->getRecordingMemory(), false);
    QTRY_COMPARE(signals_.of("exclude-apps").count(), 1);
    QCOMPARE(signals_.total(), 4);
}

void TestConfigManager::startAndStopMemorySetEnabled()
{
    const LogCapture log;
    m_manager->onStartMemory();
    QCOMPARE(m_manager->getEnabled(), true);
    QCOMPARE(log.texts(QtDebugMsg), QStringList{"config start yestermark"});
    m_manager->onStopMemory();
    QCOMPARE(m_manager->getEnabled(), false);
    QCOMPARE(log.texts(QtDebugMsg),
             QStringList({"config start yestermark", "config stop yestermark"}));
    QCOMPARE(m_manager->getRecordingMemory(), false);
}

void TestConfigManager::unknownKeyIsIgnored()
{
    // A schema of a later version, with one key more.
    const QTemporaryDir schemas;
    QFile installed(qEnvironmentVariable("GSETTINGS_SCHEMA_DIR") + '/' + SCHEMA + ".gschema.xml");
    QVERIFY(installed.open(QIODevice::ReadOnly));
    QFile later(schemas.filePath(SCHEMA + ".gschema.xml"));
    QVERIFY(later.open(QIODevice::WriteOnly));
    later.write(installed.readAll().replace(
        "</schema>", "<key name=\"later-key\" type=\"b\"><default>false</default></key></schema>"));
    later.close();
    QCOMPARE(outside("glib-compile-schemas", {schemas.path()}).exitCode, 0);

    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert("GSETTINGS_SCHEMA_DIR", schemas.path());
    QProcess watcher;
    watcher.setProcessEnvironment(environment);
    watcher.start(QCoreApplication::applicationDirPath() + "/settingswatcher", QStringList());
    const auto line = [&watcher] {
        [&] { QTRY_VERIFY(watcher.canReadLine()); }();
        return watcher.readLine().trimmed();
    };
    QCOMPARE(line(), QByteArray("ready"));
    for (const char *key : {"later-key", "recording-memory"}) {
        QProcess writer;
        writer.setProcessEnvironment(environment);
        writer.start("gsettings", {"set", SCHEMA, key, "true"});
        QVERIFY(writer.waitForFinished());
        QCOMPARE(writer.exitCode(), 0);
    }
    QCOMPARE(line(), QByteArray("recordingMemory")); // and nothing before it
    watcher.closeWriteChannel();
    QVERIFY(watcher.waitForFinished());
    QCOMPARE(watcher.readAll(), QByteArray());
}

void TestConfigManager::withoutSchemaTwoLinesAreLoggedAndTheProcessDoesNotComeUp()
{
    const QTemporaryDir schemas; // with another program's schema only
    QFile other(schemas.filePath("org.example.other.gschema.xml"));
    QVERIFY(other.open(QIODevice::WriteOnly));
    other.write("<schemalist><schema id='org.example.other'/></schemalist>");
    other.close();
    QCOMPARE(outside("glib-compile-schemas", {schemas.path()}).exitCode, 0);
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert("GSETTINGS_SCHEMA_DIR", schemas.path());
    environment.insert("XDG_DATA_DIRS", schemas.path()); // none from an installation either
    QProcess program;
    program.setProcessEnvironment(environment);
    program.start(QCoreApplication::applicationDirPath() + "/settingswatcher", QStringList());
    program.closeWriteChannel();
    QVERIFY(program.waitForFinished());
    QVERIFY(program.exitStatus() == QProcess::CrashExit || program.exitCode() != 0);
    QCOMPARE(program.readAllStandardOutput(), QByteArray());
    const QByteArray log = program.readAllStandardError();
    QVERIFY2(log.startsWith("Yestermark Schema not installed\n"
                            "Failed to create Yestermark GSettings\n"),
             log.constData());
}

QTEST_GUILESS_MAIN(TestConfigManager)
#include "configmanagertest.moc"
