#pragma once
// The one object that owns every long-lived object of the program and wires them together.
// Owner: main, on its stack, so that it lives exactly as long as the event loop. Thread: main.

#include "app/configmanager.h"
#include "app/windowsettings.h"
#include "app/yestermarkview.h"
#include "capture/screenhistorytracker.h"
#include "database/datahandler.h"
#include "models/videopreviewitem.h"

#include <QObject>

class CustomTitleBar;
class TrayIcon;
class VideoImageProvider;
class VideoInfo;
class VideoReader;

class YestermarkBackend : public QObject
{
    Q_OBJECT

public:
    /// Brings everything up, shows the window, tests the clock against the newest stored frame and
    /// applies the settings: recording starts by itself if it is on there.
    explicit YestermarkBackend(QObject *parent = nullptr);
    ~YestermarkBackend() override;

    /// Makes the models, the tray and the title bar, and shows the page.
    void initView();
    void initYestermarkParameters();

    /// The window over the whole primary screen; a second later it is fixed at the size that the
    /// window manager gave it, until the next call.
    void showYestermark();

    /// Whether the newest stored frame lies after the present. If so recording has been switched
    /// off in the settings and backInTimeDetected() was given.
    bool isBackInTime();

    /// The user went to adjust the clock: looks every 5 seconds, without an end, whether it is
    /// right again and then switches recording on. Each call starts a poll of its own.
    void checkTimeAndReMemory();

public Q_SLOTS:
    /// Another start of the program, or a finding that needs the user: the window comes to the
    /// front.
    void activateYestermark();

Q_SIGNALS:
    void programExit();
    void backInTimeDetected();

private:
    // In windowwiring.cpp, in the order of their calls.
    void connectClockCheck();
    void connectTray();
    void loadPage();
    void connectWindow();
    void deleteHistory();

    void connectStoredFrames();
    void connectSettings();

    // The order of construction matters: the tracker brings up the stores that the handler asks.
    // At the end m_videoPreviewItem goes before the view and the models, children, after all of
    // these; so the destructor takes the page down first, and a search that runs has been ended
    // when the event loop was about to (VideoInfo::deleteSearchThread).
    WindowSettings m_windowSettings;
    ConfigManager m_configManager;
    ScreenHistoryTracker m_screenHistoryTracker;
    DataHandler m_dataHandler{m_screenHistoryTracker};
    YestermarkView m_view;
    VideoReader *m_videoReader = nullptr;
    VideoImageProvider *m_videoImageProvider = nullptr; ///< the QML engine's
    VideoPreviewItem m_videoPreviewItem;
    VideoInfo *m_videoInfo = nullptr;
    TrayIcon *m_trayIcon = nullptr;
    CustomTitleBar *m_customTitleBar = nullptr;
};
