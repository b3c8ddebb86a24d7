#include "cli/framejson.h"

#include "cli/appnames.h"
#include "cli/framename.h"
#include "cli/timetext.h"

QJsonObject FrameJson::of(const ScreenShotData &frame, AppNames &names)
{
    return {{QStringLiteral("frame"), FrameName::ofVideo(frame.videoName, frame.frameIndexOfVideo)},
            {QStringLiteral("video"), frame.videoName},
            {QStringLiteral("index"), static_cast<int>(frame.frameIndexOfVideo)},
            {QStringLiteral("day"), frame.date},
            {QStringLiteral("numberOfDay"), static_cast<int>(frame.frameIndexOfDay)},
            {QStringLiteral("time"), TimeText::iso(frame.realTime)},
            {QStringLiteral("epoch"), frame.realTime},
            {QStringLiteral("desktopEntry"), frame.desktopFilePath},
            {QStringLiteral("application"), names.nameOf(frame.desktopFilePath)},
            {QStringLiteral("text"), frame.ocrText}};
}
