#include "app/yestermarkbackend.h"

#include <QDebug>
#include <QTimer>

namespace
{
constexpr int clockPollMs = 5000;
}

YestermarkBackend::YestermarkBackend(QObject *parent) : QObject(parent)
{
    // Before anything is recorded: without a ceiling any stored frame lies above it.
    m_dataHandler.setScreenshotStorageSize(m_configManager.getMaxStorageSize());
    connectSettings();
    connectClockCheck();
    isBackInTime();
    initYestermarkParameters();
}

void YestermarkBackend::connectSettings()
{
    connect(&m_configManager, &ConfigManager::recordingMemoryChanged, &m_screenHistoryTracker,
            &ScreenHistoryTracker::setRecordingMemory);
    connect(&m_configManager, &ConfigManager::screenshotIntervalChanged, &m_screenHistoryTracker,
            &ScreenHistoryTracker::setScreenshotInterval);
    connect(&m_configManager, &ConfigManager::maxStorageSizeChanged, &m_dataHandler,
            &DataHandler::setScreenshotStorageSize);
}

void YestermarkBackend::connectClockCheck()
{
    connect(&m_screenHistoryTracker, &ScreenHistoryTracker::backInTimeDetected, this,
            &YestermarkBackend::backInTimeDetected);
    connect(this, &YestermarkBackend::backInTimeDetected, this, [this] {
        m_configManager.setRecordingMemory(false);
        activateYestermark();
    });
}

void YestermarkBackend::initYestermarkParameters()
{
    m_screenHistoryTracker.setRecordingMemory(m_configManager.getRecordingMemory());
    m_screenHistoryTracker.setScreenshotInterval(m_configManager.getScreenshotInterval());
}

bool YestermarkBackend::isBackInTime()
{
    if (!m_dataHandler.backInTimeDetected()) {
        return false;
    }
    m_configManager.setRecordingMemory(false);
    Q_EMIT backInTimeDetected();
    return true;
}

void YestermarkBackend::checkTimeAndReMemory()
{
    auto *poll = new QTimer(this);
    poll->setInterval(clockPollMs);
    connect(poll, &QTimer::timeout, this, [this, poll] {
        if (m_dataHandler.backInTimeDetected()) {
            qWarning() << "still not the right time";
            return;
        }
        m_configManager.setRecordingMemory(true);
        poll->stop();
        poll->deleteLater();
    });
    poll->start();
}

void YestermarkBackend::activateYestermark()
{
    qDebug() << "asked to come to the front";
}
