// The backend's half that brings up the window: what the page shows, the tray, and who hears whom.

#include "app/yestermarkbackend.h"

#include "app/customtitlebar.h"
#include "app/startup.h"
#include "app/trayicon.h"
#include "models/videoimageprovider.h"
#include "models/videoinfo.h"
#include "models/videoreader.h"

#include <QCoreApplication>
#include <QDebug>
#include <QQmlContext>
#include <QQmlEngine>

namespace
{
QString privateQmlFolder()
{
    return QCoreApplication::applicationDirPath() + QLatin1String("/../" YESTERMARK_QMLDIR);
}
} // namespace

void YestermarkBackend::initView()
{
    m_videoReader = new VideoReader(&m_dataHandler, this);
    m_videoImageProvider = new VideoImageProvider(m_videoReader);
    m_videoInfo = new VideoInfo(m_videoImageProvider, m_videoReader, &m_videoPreviewItem,
                                &m_configManager, this);
    m_trayIcon = new TrayIcon(&m_view, m_configManager.getRecordingMemory(), this);
    m_customTitleBar = new CustomTitleBar(&m_view, m_configManager.getCloseWindowOption(), this);
    connectClockCheck();
    connectTray();
    loadPage();
    m_view.setFlags(Qt::FramelessWindowHint);
    m_view.setWindowState(Qt::WindowMaximized);
    if (!startsHidden()) {
        showYestermark();
    }
    connectWindow();
    // Last, so that a clock that stands before the newest frame is caught before any is taken.
    isBackInTime();
}

void YestermarkBackend::connectClockCheck()
{
    connect(&m_screenHistoryTracker, &ScreenHistoryTracker::backInTimeDetected, this,
            &YestermarkBackend::backInTimeDetected);
    connect(this, &YestermarkBackend::backInTimeDetected, this, [this] {
        m_configManager.setRecordingMemory(false);
        activateYestermark();
    });
    connect(this, &YestermarkBackend::backInTimeDetected, m_videoInfo,
            &VideoInfo::backInTimeDetected);
}

void YestermarkBackend::connectTray()
{
    connect(m_trayIcon, &TrayIcon::activateYestermark, this,
            &YestermarkBackend::activateYestermark);
    connect(m_trayIcon, &TrayIcon::requestMinimizeYestermark, this,
            [this] { m_windowSettings.requestShowMinimized(); });
    connect(m_videoInfo, &VideoInfo::startMemoryScreen, this, [this] {
        if (!isBackInTime()) {
            Q_EMIT m_trayIcon->uiClickStartMemoryBtn();
        }
    });
    connect(&m_configManager, &ConfigManager::recordingMemoryChanged, m_trayIcon,
            &TrayIcon::updateTrayIcon);
    connect(m_trayIcon, &TrayIcon::trayiconRequestToStartMemory, this, [this] {
        if (isBackInTime()) {
            m_trayIcon->updateTrayIcon(false);
            return;
        }
        m_trayIcon->confirmStartMemory();
        m_configManager.setRecordingMemory(true);
        m_configManager.setEnabled(true);
    });
    connect(m_trayIcon, &TrayIcon::pauseMemory, this,
            [this] { m_configManager.setRecordingMemory(false); });
    connect(m_trayIcon, &TrayIcon::programExit, this, &YestermarkBackend::programExit);
    connect(m_customTitleBar, &CustomTitleBar::closeWindowOptionChanged, this,
            [this](const QString &option) { m_configManager.setCloseWindowOption(option); });
    // Another program's choice; the title bar's own comes back equal and ends here.
    connect(&m_configManager, &ConfigManager::closeWindowOptionChanged, m_customTitleBar,
            &CustomTitleBar::updateCloseWindowOption);
}

void YestermarkBackend::loadPage()
{
    QQmlEngine *engine = m_view.engine();
    // Last, so that a desktop's own module of that name comes first.
    engine->setImportPathList(engine->importPathList() << privateQmlFolder());
    engine->addImageProvider(QStringLiteral("videoImageProvider"), m_videoImageProvider);
    QQmlContext *context = m_view.rootContext();
    context->setContextProperty(QStringLiteral("VideoPreviewItem"), &m_videoPreviewItem);
    context->setContextProperty(QStringLiteral("VideoInfo"), m_videoInfo);
    context->setContextProperty(QStringLiteral("trayIcon"), m_trayIcon);
    connect(m_customTitleBar, &CustomTitleBar::programExit, this, &YestermarkBackend::programExit);
    context->setContextProperty(QStringLiteral("CustomTitleBar"), m_customTitleBar);
    m_view.setTitle(tr("Yestermark"));
    m_view.setResizeMode(QQuickView::SizeRootObjectToView);
    m_view.setSource(QUrl(QStringLiteral("qrc:/qml/main.qml")));
}

void YestermarkBackend::connectWindow()
{
    connect(&m_windowSettings, &WindowSettings::workAreaChanged, this, [this](const QRect &area) {
        m_view.setGeometry(area);
        m_view.setMaximumSize(area.size());
        m_view.setMinimumSize(area.size());
    });
    connect(&m_view, &QWindow::windowStateChanged, &m_windowSettings,
            &WindowSettings::onWindowStateChanged);
    connect(&m_view, &YestermarkView::confirmQuit, this, &YestermarkBackend::activateYestermark);
    connect(&m_view, &YestermarkView::confirmQuit, m_videoInfo, &VideoInfo::quitYestermark);
    connect(&m_view, &YestermarkView::keyF1Pressed, m_videoInfo, &VideoInfo::showGuide);
    connect(m_videoInfo, &VideoInfo::deleteHistoryAndReMemory, this,
            &YestermarkBackend::deleteHistory);
    connect(m_videoInfo, &VideoInfo::calledAdjustSystemTime, this,
            &YestermarkBackend::checkTimeAndReMemory);
}

void YestermarkBackend::deleteHistory()
{
    if (!m_videoInfo->clearUserData(AllTime)) {
        qDebug() << "failed to delete all history";
        return;
    }
    qDebug() << "deleted all history as requested.";
    m_configManager.setRecordingMemory(true);
}
