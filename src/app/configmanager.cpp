#include "app/configmanager.h"

#include <QDebug>
#include <QGSettings>

namespace
{
const QByteArray YESTERMARK_SCHEMA = QByteArrayLiteral("com.tavel.yestermark");

const QString ENABLED_KEY = QStringLiteral("enabled");
const QString SCREENSHOT_INTERVAL_KEY = QStringLiteral("screenshot-interval");
const QString MAX_STORAGE_SIZE_KEY = QStringLiteral("max-storage-size-gb");
const QString EXCLUDE_APPS_KEY = QStringLiteral("exclude-apps");
const QString CLOSE_WINDOW_OPTION_KEY = QStringLiteral("close-window-option");
const QString RECORDING_MEMORY_KEY = QStringLiteral("recording-memory");

// gsettings-qt takes both spellings and tells changes in this one.
const QString ENABLED_KEY_QT = QStringLiteral("enabled");
const QString SCREENSHOT_INTERVAL_KEY_QT = QStringLiteral("screenshotInterval");
const QString MAX_STORAGE_SIZE_KEY_QT = QStringLiteral("maxStorageSizeGb");
const QString EXCLUDE_APPS_KEY_QT = QStringLiteral("excludeApps");
const QString CLOSE_WINDOW_OPTION_KEY_QT = QStringLiteral("closeWindowOption");
const QString RECORDING_MEMORY_KEY_QT = QStringLiteral("recordingMemory");
} // namespace

ConfigManager::ConfigManager(QObject *parent) : QObject(parent)
{
    initConfig();
    emitAllStatusOnStartup();
}

ConfigManager::~ConfigManager()
{
    delete m_settings;
}

void ConfigManager::initConfig()
{
    if (QGSettings::isSchemaInstalled(YESTERMARK_SCHEMA)) {
        m_settings = new QGSettings(YESTERMARK_SCHEMA, QByteArray(), nullptr);
    } else {
        qDebug() << "Yestermark Schema not installed";
    }
    if (m_settings) {
        connect(m_settings, &QGSettings::changed, this, &ConfigManager::configChanged);
        return;
    }
    qDebug() << "Failed to create Yestermark GSettings";
}

void ConfigManager::emitAllStatusOnStartup() const
{
    Q_EMIT recordingMemoryChanged(getRecordingMemory());
    Q_EMIT screenshotIntervalChanged(getScreenshotInterval());
    Q_EMIT maxStorageSizeChanged(getMaxStorageSize());
    Q_EMIT excludeAppsChanged(getExcludeApps());
}

void ConfigManager::configChanged(const QString &key)
{
    if (key == ENABLED_KEY_QT) {
        Q_EMIT enabledChanged(getEnabled());
    } else if (key == SCREENSHOT_INTERVAL_KEY_QT) {
        Q_EMIT screenshotIntervalChanged(getScreenshotInterval());
    } else if (key == MAX_STORAGE_SIZE_KEY_QT) {
        Q_EMIT maxStorageSizeChanged(getMaxStorageSize());
    } else if (key == EXCLUDE_APPS_KEY_QT) {
        Q_EMIT excludeAppsChanged(getExcludeApps());
    } else if (key == CLOSE_WINDOW_OPTION_KEY_QT) {
        Q_EMIT closeWindowOptionChanged(getCloseWindowOption());
    } else if (key == RECORDING_MEMORY_KEY_QT) {
        Q_EMIT recordingMemoryChanged(getRecordingMemory());
    }
}

void ConfigManager::onStartMemory()
{
    qDebug() << "config start yestermark";
    setEnabled(true);
}

void ConfigManager::onStopMemory()
{
    qDebug() << "config stop yestermark";
    setEnabled(false);
}

bool ConfigManager::getEnabled() const
{
    return m_settings->get(ENABLED_KEY).toBool();
}

uint ConfigManager::getScreenshotInterval() const
{
    return m_settings->get(SCREENSHOT_INTERVAL_KEY).toUInt();
}

uint ConfigManager::getMaxStorageSize() const
{
    return m_settings->get(MAX_STORAGE_SIZE_KEY).toUInt();
}

QStringList ConfigManager::getExcludeApps() const
{
    return m_settings->get(EXCLUDE_APPS_KEY).toStringList();
}

QString ConfigManager::getCloseWindowOption() const
{
    return m_settings->get(CLOSE_WINDOW_OPTION_KEY).toString();
}

bool ConfigManager::getRecordingMemory() const
{
    return m_settings->get(RECORDING_MEMORY_KEY).toBool();
}

UserConfig ConfigManager::getUserConfig() const
{
    UserConfig config;
    config.enabled = getEnabled();
    config.screenshotInterval = getScreenshotInterval();
    config.maxStorageSizeGb = getMaxStorageSize();
    config.excludeApps = getExcludeApps();
    config.closeWindowOption = getCloseWindowOption();
    config.recordingMemory = getRecordingMemory();
    return config;
}

void ConfigManager::setEnabled(bool enabled)
{
    if (getEnabled() != enabled) {
        m_settings->set(ENABLED_KEY, enabled);
    }
}

void ConfigManager::setScreenshotInterval(uint interval)
{
    if (getScreenshotInterval() != interval) {
        m_settings->set(SCREENSHOT_INTERVAL_KEY, interval);
    }
}

void ConfigManager::setMaxStorageSize(uint maxSize)
{
    if (getMaxStorageSize() != maxSize) {
        m_settings->set(MAX_STORAGE_SIZE_KEY, maxSize);
    }
}

void ConfigManager::setExcludeApps(const QStringList &excludeApps)
{
    if (getExcludeApps() != excludeApps) {
        m_settings->set(EXCLUDE_APPS_KEY, excludeApps);
    }
}

void ConfigManager::setCloseWindowOption(const QString &option)
{
    if (getCloseWindowOption() != option) {
        m_settings->set(CLOSE_WINDOW_OPTION_KEY, option);
    }
}

void ConfigManager::setRecordingMemory(bool isRecordingMemory)
{
    if (getRecordingMemory() != isRecordingMemory) {
        m_settings->set(RECORDING_MEMORY_KEY, isRecordingMemory);
    }
}

void ConfigManager::setConfig(const UserConfig &config)
{
    setEnabled(config.enabled);
    setScreenshotInterval(config.screenshotInterval);
    setMaxStorageSize(config.maxStorageSizeGb);
    setExcludeApps(config.excludeApps);
}
