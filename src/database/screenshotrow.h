#pragma once
// From a row of "SELECT * FROM screenshots" to a record, by the positions of its columns. Owner:
// the reading half of OcrScreenshotDatabase. Thread: the statement's.

#include "database/daytext.h"
#include "database/screenshotdata.h"
#include "database/statement.h"

namespace ScreenshotRow
{
/// The record of the current row, without its date.
inline ScreenShotData read(const Statement &row)
{
    ScreenShotData data;
    data.videoName = row.text(1);
    data.ocrText = row.text(2);
    data.frameIndexOfVideo = static_cast<quint32>(row.int32(3));
    data.frameIndexOfDay = static_cast<quint32>(row.int32(4));
    data.realTime = row.int32(5); // the lower 32 bits, as every reader of frames expects them
    data.desktopFilePath = row.text(6);
    return data;
}

/// "yyyy-MM-dd" of a record's time.
inline QString dateOf(const ScreenShotData &data)
{
    return DayText::ofDate(QDateTime::fromSecsSinceEpoch(data.realTime).date());
}
} // namespace ScreenshotRow
