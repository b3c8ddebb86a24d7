#include "app/yestermarkbackend.h"

#include "models/videoreader.h"

#include <QDebug>
#include <QGuiApplication>
#include <QScreen>
#include <QTimer>

namespace
{
constexpr int clockPollMs = 5000;
constexpr int sizePinningMs = 1000; // by then the window manager has placed the window
} // namespace

YestermarkBackend::YestermarkBackend(QObject *parent) : QObject(parent)
{
    // Before anything is recorded: without a ceiling any stored frame lies above it.
    m_dataHandler.setScreenshotStorageSize(m_configManager.getMaxStorageSize());
    connectStoredFrames();
    connectSettings();
    initView();
    initYestermarkParameters();
}

YestermarkBackend::~YestermarkBackend()
{
    m_view.setSource(QUrl()); // the page goes before what it is bound to
}

void YestermarkBackend::connectStoredFrames()
{
    connect(&m_dataHandler, &DataHandler::todayFrameNumberChanged, this,
            [this](uint number) { m_videoReader->updateFrameNumberOfDay(number); });
    connect(&m_dataHandler, &DataHandler::activeAppChanged, this,
            [this](const QString &entry) { m_videoReader->addNewAppData(entry); });
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

void YestermarkBackend::initYestermarkParameters()
{
    m_screenHistoryTracker.setRecordingMemory(m_configManager.getRecordingMemory());
    m_screenHistoryTracker.setScreenshotInterval(m_configManager.getScreenshotInterval());
}

void YestermarkBackend::showYestermark()
{
    const QRect screen = QGuiApplication::primaryScreen()->geometry();
    m_view.setMaximumSize(screen.size());
    m_view.setMinimumSize(QSize(0, 0));
    m_view.setPosition(screen.topLeft());
    m_view.showMaximized();
    QTimer::singleShot(sizePinningMs, this, [this] {
        m_view.setMaximumSize(m_view.geometry().size());
        m_view.setMinimumSize(m_view.geometry().size());
    });
}

void YestermarkBackend::activateYestermark()
{
    showYestermark();
    m_windowSettings.raiseWindow();
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
