#pragma once
// The program's objects over the real handler and a real store, without window and tray. Owner: a
// test, on its stack. Main thread.

#include "app/configmanager.h"
#include "capture/screenhistorytracker.h"
#include "database/datahandler.h"
#include "models/videoimageprovider.h"
#include "models/videoinfo.h"
#include "models/videopreviewitem.h"
#include "models/videoreader.h"

/// Wired as the backend does.
struct StoredProgram {
    StoredProgram()
    {
        QObject::connect(&handler, &DataHandler::todayFrameNumberChanged, &reader,
                         &VideoReader::updateFrameNumberOfDay);
        QObject::connect(&handler, &DataHandler::activeAppChanged, &reader,
                         &VideoReader::addNewAppData);
    }

    ConfigManager settings;
    ScreenHistoryTracker tracker;
    DataHandler handler{tracker};
    VideoReader reader{&handler};
    VideoImageProvider provider{&reader};
    VideoPreviewItem shown;
    VideoInfo info{&provider, &reader, &shown, &settings};
};
