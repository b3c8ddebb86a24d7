#pragma once
// A history made of numbers in the place of the stored one: DataHandler's own definitions in the
// programs that link this double, so that every pixel of many days can be asked for. Main thread;
// searches and the decoding of their hits run on the thread that asks.

#include "database/datahandler.h"

#include <QMap>
#include <QVector>

#include <functional>

namespace DataHandlerDouble
{
struct FrameRequest {
    QString day;
    unsigned int frame;
};

struct State {
    QMap<QString, QList<ActiveAppInfo>> days;         ///< by "yyyy-MM-dd"
    std::function<QStringList()> firstAndLastDay;     ///< if set, instead of what days hold
    std::function<bool(TimeRange)> deleteUserData;    ///< if set; true otherwise
    std::function<QImage(const FrameRequest &)> draw; ///< if set; a null picture otherwise
    // If set; nothing is found and a null picture is decoded otherwise.
    std::function<QVector<ScreenShotData>(const SearchQuery &)> searchTexts;
    std::function<QVector<ScreenShotData>(const SearchQuery &)> searchPictures;
    std::function<QImage(const QString &video, unsigned int frame)> decode;
    /// The application of every frame.
    QString desktopEntry;
    /// Of frame 0 of each day; a frame is taken every second.
    qint64 firstTime = 0;

    // What was asked for.
    QStringList askedDays;
    QVector<FrameRequest> askedFrames;
    int askedForFirstAndLast = 0;
};

/// What the handler answers and was asked, of all handlers of the process.
State &state();

/// A new state, and a handler that gives it.
void reset();
DataHandler &handler();
} // namespace DataHandlerDouble
