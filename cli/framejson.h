#pragma once
// A stored frame as the JSON object that every command and every export writes (docs/formats.md).
// Plain function, any thread.

#include "database/screenshotdata.h"

#include <QJsonObject>

class AppNames;

namespace FrameJson
{
QJsonObject of(const ScreenShotData &frame, AppNames &names);
}
