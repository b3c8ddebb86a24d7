#include "datahandlerdouble.h"

namespace
{
// Only its address is ever taken.
ScreenHistoryTracker &noTracker()
{
    alignas(std::max_align_t) static char place = 0;
    return reinterpret_cast<ScreenHistoryTracker &>(place);
}
} // namespace

namespace DataHandlerDouble
{
State &state()
{
    static State instance;
    return instance;
}

void reset()
{
    state() = State();
}

DataHandler &handler()
{
    static DataHandler instance(noTracker());
    return instance;
}
} // namespace DataHandlerDouble

using DataHandlerDouble::state;

DataHandler::DataHandler(ScreenHistoryTracker &tracker, QObject *parent)
    : QObject(parent), m_tracker(&tracker), m_databaseManager(nullptr), m_encryptor(nullptr)
{
}

QStringList DataHandler::getFirstAndLastDay()
{
    ++state().askedForFirstAndLast;
    if (state().firstAndLastDay) {
        return state().firstAndLastDay();
    }
    if (state().days.isEmpty()) {
        return {QString(), QString()};
    }
    return {state().days.firstKey(), state().days.lastKey()};
}

QList<ActiveAppInfo> DataHandler::getAppListOfDay(const QString &day)
{
    state().askedDays.append(day);
    return state().days.value(day);
}

ScreenShotImage DataHandler::getScreenShotImageOfDay(const QString &day,
                                                     unsigned int frameIndexOfDay)
{
    const DataHandlerDouble::FrameRequest request{day, frameIndexOfDay};
    state().askedFrames.append(request);
    return {state().firstTime + frameIndexOfDay, state().desktopEntry,
            state().draw ? state().draw(request) : QImage()};
}

QVector<ScreenShotData> DataHandler::getOcrScreenShotData(const SearchQuery &query, RowTexts) const
{
    return state().searchTexts ? state().searchTexts(query) : QVector<ScreenShotData>();
}

QVector<ScreenShotData> DataHandler::getVisualScreenShotData(const SearchQuery &query,
                                                             RowTexts) const
{
    return state().searchPictures ? state().searchPictures(query) : QVector<ScreenShotData>();
}

QImage DataHandler::getScreenShotImageFromVideo(const QString &videoName,
                                                unsigned int frameIndexOfVideo)
{
    return state().decode ? state().decode(videoName, frameIndexOfVideo) : QImage();
}

bool DataHandler::deleteUserData(TimeRange range)
{
    return state().deleteUserData ? state().deleteUserData(range) : true;
}

void DataHandler::setScreenshotStorageSize(qulonglong size)
{
    Q_UNUSED(size)
    qFatal("the models set no ceiling");
}
