#pragma once
// The one object that owns every long-lived object of the program and wires them together.
// Owner: main, on its stack, so that it lives exactly as long as the event loop. Thread: main.

#include "app/configmanager.h"
#include "capture/screenhistorytracker.h"
#include "database/datahandler.h"

#include <QObject>

class YestermarkBackend : public QObject
{
    Q_OBJECT

public:
    /// Brings everything up, tests the clock against the newest stored frame and applies the
    /// settings: recording starts by itself if it is on there.
    explicit YestermarkBackend(QObject *parent = nullptr);

    /// Whether the newest stored frame lies after the present. If so recording has been switched
    /// off in the settings and backInTimeDetected() was given.
    bool isBackInTime();

    /// The user went to adjust the clock: looks every 5 seconds, without an end, whether it is
    /// right again and then switches recording on. Each call starts a poll of its own.
    void checkTimeAndReMemory();

public Q_SLOTS:
    /// Another start of the program, or a finding that needs the user, asks for attention.
    void activateYestermark();

Q_SIGNALS:
    void programExit();
    void backInTimeDetected();

private:
    void connectSettings();
    void connectClockCheck();
    void initYestermarkParameters();

    // The order of construction matters: the tracker brings up the stores that the handler asks.
    ConfigManager m_configManager;
    ScreenHistoryTracker m_screenHistoryTracker;
    DataHandler m_dataHandler{m_screenHistoryTracker};
};
