#pragma once
// What the models ask about the stored history, and the policy of what is kept of it: deletion in
// files and databases together, and a ceiling that drops whole days, oldest first. Owner: the
// backend, by value. Thread: main; deleting and freeing block it. A search finds its hits and
// decodes them on a thread of its own: pictures are read one after the other, whoever asks.

#include "database/screenshotdata.h"
#include "database/screenshotimage.h"

#include <QList>
#include <QObject>
#include <QStringList>
#include <QVector>

class DatabaseManager;
class DataEncryptor;
class ScreenHistoryTracker;

class DataHandler : public QObject
{
    Q_OBJECT

public:
    /// @p tracker must outlive this object. Until a ceiling is set it is 0, which any stored MiB
    /// exceeds.
    explicit DataHandler(ScreenHistoryTracker &tracker, QObject *parent = nullptr);

    /// What matches in text and time, newest first. Any thread.
    QVector<ScreenShotData> getOcrScreenShotData(const SearchQuery &query,
                                                 RowTexts texts = RowTexts::Read) const;

    /// What matches in its picture, best first; an empty record for a frame whose row is gone. Any
    /// thread; blocks for the model.
    QVector<ScreenShotData> getVisualScreenShotData(const SearchQuery &query,
                                                    RowTexts texts = RowTexts::Read) const;

    /// A frame by video and its number there, counted from 1. Null if there is none.
    QImage getScreenShotImageFromVideo(const QString &videoName, unsigned int frameIndexOfVideo);

    /// A frame by day, "yyyy-MM-dd", and its number there, counted from 1. Empty, with a null
    /// picture, if there is none.
    ScreenShotImage getScreenShotImageOfDay(const QString &day, unsigned int frameIndexOfDay);

    /// A day's runs of one application in the order of capture; empty too for a text that is no
    /// day.
    QList<ActiveAppInfo> getAppListOfDay(const QString &day);

    /// The first and the last day that have anything on disk: always two texts, empty where there
    /// is none.
    QStringList getFirstAndLastDay();

    /// Whether @p day is written as "yyyy-MM-dd"; not whether the calendar has it.
    bool isValidDayFormat(const QString &day);

    /// Deletes a day's files, then its rows and vectors. Tells only whether @p day is written as a
    /// day: what could not be deleted stands on the log.
    bool deleteDataAtDate(const QString &day);

    /// Deletes from the present backwards: files, then rows, then vectors. False if the databases
    /// could not, and with nothing deleted for a number that is no TimeRange.
    bool deleteUserData(TimeRange range);

    /// Whether the frame saved last lies after the present: the clock has been set back. Logs a
    /// warning if so.
    bool backInTimeDetected();

    /// Whether the frames on disk, in whole MiB, exceed the ceiling.
    bool isStorageOverLimit() const;

    /// Deletes the oldest day. False if there is none.
    bool freeSomeSpace();

    /// Deletes days, oldest first and today too, until the ceiling holds or no day is left. A day
    /// whose folder cannot be removed is tried again and again.
    void adjustYestermarkStorage();

public Q_SLOTS:
    /// Sets the ceiling, in GB, and frees at once what lies above it.
    void setScreenshotStorageSize(qulonglong size);

Q_SIGNALS:
    void todayFrameNumberChanged(uint frameNumber);
    void activeAppChanged(QString appDesktopEntry);

private:
    QString screenshotsRoot() const;

    ScreenHistoryTracker *m_tracker;
    DatabaseManager *m_databaseManager;
    quint64 m_storageLimit = 0; ///< whole GB
    DataEncryptor *m_encryptor;
};
