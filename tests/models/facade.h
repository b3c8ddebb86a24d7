#pragma once
// The pages' way in with all that it needs, over the double of the stored history. Owner: a test.
// Main thread.

#include "app/configmanager.h"
#include "datahandlerdouble.h"
#include "models/videoimageprovider.h"
#include "models/videoinfo.h"
#include "models/videopreviewitem.h"
#include "models/videoreader.h"

struct Facade {
    ConfigManager settings;
    VideoReader reader{&DataHandlerDouble::handler()};
    VideoImageProvider provider{&reader};
    VideoPreviewItem shown;
    VideoInfo info{&provider, &reader, &shown, &settings};
};
