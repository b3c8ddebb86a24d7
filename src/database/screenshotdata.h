#pragma once
// The plain records that cross folders: one kept frame, a search, what to clear, a run of frames.
// Owner: whoever holds the copy. Thread: any; all are values whose texts are implicitly shared.

#include <QMetaType>
#include <QString>

/// One kept frame. The pair (videoName, frameIndexOfVideo) is its identity everywhere.
struct ScreenShotData {
    /// Bare file name of the day's video; its first 10 characters are the day, its first 7 the
    /// month.
    QString videoName;
    quint32 frameIndexOfVideo = 0; ///< place in that video, counted from 1
    QString date;                  ///< "yyyy-MM-dd"; never stored, only some reads fill it
    quint32 frameIndexOfDay = 0;   ///< running number in its day, counted from 1
    qint64 realTime = 0;           ///< seconds since the epoch
    QString desktopFilePath;       ///< desktop entry of the application in front
    QString ocrText;               ///< recognised text; empty until the frame has been read
};
Q_DECLARE_METATYPE(ScreenShotData)

/// What to look for, in text, in pictures or by time alone.
struct SearchQuery {
    QString text;
    quint64 startTime = 0; ///< seconds since the epoch, inclusive
    quint64 endTime = 0;   ///< seconds since the epoch, inclusive; 0 means no time bound at all
    QString extraText;     ///< always empty, read by nobody
    quint32 limit = 0;     ///< most results; 0: all of a text search, 5000 of a picture search
};

/// Whether the records that a search finds are to bear their text. A year's texts take 700 MB, and
/// more time than to find them.
enum class RowTexts {
    Read,
    Left, ///< empty in every record
};

/// What the user may clear. The width is fixed because the pages pass any number.
enum TimeRange : int {
    LastHour = 0,
    LastDay = 1,
    LastWeek = 2,
    LastMonth = 3,
    AllTime = 4,
};

/// Consecutive frames of one application within a day.
struct ActiveAppInfo {
    QString desktopFilePath;
    quint32 frameCount = 0;
};
