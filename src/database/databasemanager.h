#pragma once
// The one object through which the program reaches what it stores in databases; nothing else opens
// one. Owner: the process, from first use to exit. Thread: as OcrScreenshotDatabase; it has no lock
// of its own.

#include "database/embeddingscreenshotdatabase.h"
#include "database/ocrscreenshotdatabase.h"
#include "database/screenshotdata.h"

#include <QDateTime>
#include <QList>
#include <QVector>

class DatabaseManager
{
public:
    static DatabaseManager *getInstance();
    Q_DISABLE_COPY_MOVE(DatabaseManager)

    /// Inserts the row of a frame. False on failure, which the log tells.
    bool saveScreenShotData(ScreenShotData data);

    /// Fills in the recognised text of a saved frame. False on failure, which the log tells.
    bool updateScreenshotOCRText(ScreenShotData data);

    /// Stores the vector of a frame whose row was saved before. False on failure, which the log
    /// tells, and until the vector store is connected.
    bool saveScreenShotEmbedding(QVector<float> embedding, ScreenShotData data);

    /// Deletes what lies in a span of time, in seconds since the epoch; a @p start of 0 stands for
    /// everything. The rows of @p start itself stay, its vectors go. Rows that could not be deleted
    /// keep their vectors.
    bool deleteDatabase(long start, long end);

    /// Deletes from @p now backwards. False, with nothing deleted, for a number that is no
    /// TimeRange.
    bool deleteUserData(TimeRange range, const QDateTime &now = QDateTime::currentDateTime());

    /// The frames whose text or time a search asks for, the newest first.
    QVector<ScreenShotData> getOcrScreenShotData(const SearchQuery &query,
                                                 RowTexts texts = RowTexts::Read) const;

    /// The frames whose pictures match the query's text, best first, as their rows tell them; an
    /// empty record for one whose row is gone. Empty on failure, and on a thread that is asked to
    /// stop.
    QVector<ScreenShotData> getVisualScreenShotData(const SearchQuery &query,
                                                    RowTexts texts = RowTexts::Read) const;

    /// Deletes a day, "yyyy-MM-dd". This and the reads below touch nothing and give the empty value
    /// for a text that is no day of the calendar, with a warning.
    void deleteDataAtDate(const QString &day);

    /// The row of a day's frame, counted from 1, without its date. An empty record if there is
    /// none.
    ScreenShotData getScreenShotDataOfDay(const QString &day, uint frameIndexOfDay) const;

    /// A day's runs of one application in the order of capture.
    QList<ActiveAppInfo> getAppListOfDay(const QString &day);

    /// The running number of a day's newest frame, 0 if there is none.
    uint getFrameNumOfDay(const QString &day);

    /// Seconds since the epoch of the frame saved last, 0 if there is none.
    long getLastScreenshotRealTime();

private:
    DatabaseManager() = default;

    // In the order of construction; destroyed the other way round.
    OcrScreenshotDatabase m_ocrDatabase;
    EmbeddingScreenshotDatabase m_embeddingDatabase;
};
