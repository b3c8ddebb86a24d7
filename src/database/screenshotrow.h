#pragma once
// From a row of "SELECT * FROM screenshots" to a record, by the positions of its columns. Owner:
// the reading half of OcrScreenshotDatabase. Thread: the statement's.

#include "database/daytext.h"
#include "database/screenshotdata.h"
#include "database/statement.h"

namespace ScreenshotRow
{
/// The record of the current row, without its date.
inline ScreenShotData read(const Statement &row, RowTexts texts = RowTexts::Read)
{
    ScreenShotData data;
    data.videoName = row.text(1);
    if (texts == RowTexts::Read) {
        data.ocrText = row.text(2);
    }
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

/// The same for rows that mostly come day by day: to ask for the local time of each costs system
/// calls. Thread: one.
class Dates
{
public:
    QString of(const ScreenShotData &data)
    {
        if (data.realTime < m_bounds.start || data.realTime > m_bounds.end) {
            m_text = dateOf(data);
            m_bounds = DayText::boundsOfDay(DayText::toDate(m_text));
        }
        return m_text;
    }

private:
    QString m_text;
    DayText::Bounds m_bounds{1, 0};
};
} // namespace ScreenshotRow
