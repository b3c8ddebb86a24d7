#pragma once
// One row a kept frame in SQLite, one database file a calendar month. Owner: DatabaseManager, by
// value. Thread: reads from any; saving, updating and deleting from one thread at a time.
// Nothing throws: a failure is a line on the debug log and a false, a null or an empty value.

#include "database/lockwait.h"
#include "database/screenshotdata.h"

#include <QFileInfoList>
#include <QList>
#include <QVector>

#include <memory>
#include <mutex>
#include <string>
#include <unordered_map>

class DataEncryptor;
class SQLite3Connection;

class OcrScreenshotDatabase
{
public:
    /// Settles the directory for good, in the encrypted box or below the user's cache, and opens
    /// the present month.
    OcrScreenshotDatabase();

    /// Whether the encrypted box is in use.
    bool hasEncryption() const;

    /// Makes the directory with its parents; a new one is open to the user alone.
    void createDatabaseDirectory();

    /// Forgets every connection and opens the present month, making directory, file and table.
    void initDatabase();

    /// Whether the current connection can be read and has the table.
    bool hasValidDatabaseAndTable();

    /// Makes table and index on the current connection. A file that has its table already is a
    /// logged failure that harms nothing.
    void initDatabaseTable();

    /// The connection of @p month ("yyyy-MM"), opened once and then kept; makes a missing file.
    /// Never null: where the file cannot be opened the statements on the connection fail.
    std::shared_ptr<SQLite3Connection> openDatabase(const QString &month) const;

    /// As openDatabase(), but null if the month has no file.
    std::shared_ptr<SQLite3Connection> readDatabase(const QString &month) const;

    /// Every database file, the newest month first.
    QFileInfoList getDatabaseFileInfo() const;

    /// Inserts a row in the month of its time. True also if an equal row is there already. Writing
    /// follows the frames' time: a later month makes its file, an earlier one must have it.
    bool saveScreenshotData(ScreenShotData data);

    /// Fills in the text of a saved frame. It looks in the month that is saved to at present, and
    /// finding no such row counts as success.
    bool updateScreenshotOCRText(ScreenShotData data);

    /// Deletes the rows after @p start up to and including @p end, both in seconds since the epoch.
    /// A @p start of 0 stands for everything. False if any month failed; the others are done.
    bool deleteOcrDatabase(long start, long end);

    /// Removes every month file and begins anew. False if a file could not be removed.
    bool deleteAllDatabase();

    /// The frames that a search asks for, the newest first as long as each file holds its own month
    /// alone. The text goes into the SQL as it stands: "%", "_" and a quote keep their meaning
    /// there, and one that cannot be prepared ends the search. Scans every month's file until the
    /// limit is met; a QThread that is asked to stop by requestInterruption() gets what the months
    /// so far have given. The main thread's scan always ends by itself. Without a limit a second
    /// thread scans with the calling one.
    QVector<ScreenShotData> getOcrScreenshotData(const SearchQuery &query,
                                                 RowTexts texts = RowTexts::Read) const;

    /// The row of a video's frame, counted from 1. An empty record if there is none.
    ScreenShotData getScreenShotDataOfVideo(const QString &videoName, uint frameIndexOfVideo) const;

    /// What getScreenShotDataOfVideo() gives for each of @p frames, of which videoName and
    /// frameIndexOfVideo count, in their order, but read once a video. A QThread that is asked to
    /// stop by requestInterruption() gets nothing.
    QVector<ScreenShotData> getScreenShotDataOfVideos(const QVector<ScreenShotData> &frames,
                                                      RowTexts texts = RowTexts::Read) const;

    /// The row of a day's frame, counted from 1, without its date. An empty record if there is
    /// none.
    ScreenShotData getScreenShotDataOfDay(const QString &day, uint frameIndexOfDay) const;

    /// A day's runs of one application in the order of capture. Frames without an application count
    /// into the run after them. Empty if the month has no file.
    QList<ActiveAppInfo> getAppListOfDay(const QString &day);

    /// The running number of a day's newest frame, 0 if there is none.
    uint getFrameNumOfDay(const QString &day);

    /// The months from the one of @p start to the last that begins before @p end, ascending.
    QVector<QString> getDatabasesInTimeRange(long start, long end);

    /// Time of the row that was inserted last in the newest file, in seconds since the epoch. 0 if
    /// that file is empty, whatever the older ones hold.
    long getLastScreenshotRealTime();

private:
    using ConnectionMap = std::unordered_map<std::string, std::shared_ptr<SQLite3Connection>>;

    void forgetConnections();
    void followMonth(const QString &month);
    bool createOnCurrent(const char *sql, const char *failureText);
    bool deleteRows(const SQLite3Connection &connection, long start, long end) const;
    QString databasePath(const QString &month) const;

    QString m_currentMonth;         ///< "yyyy-MM" of m_currentConnection
    mutable std::mutex m_openMutex; ///< over everything that replaces m_connections
    QString m_databaseDirectory;    ///< with its closing "/"
    std::shared_ptr<SQLite3Connection> m_currentConnection; ///< null: the month has no file
    /// By month. A map is never changed once it stands here, only replaced, and is taken and put
    /// with std::atomic_load and std::atomic_store: look-ups need no lock.
    mutable std::shared_ptr<const ConnectionMap> m_connections =
        std::make_shared<const ConnectionMap>();
    DataEncryptor *m_encryptor;
    /// Frames and texts come to the main thread one by one. Where another program keeps the month
    /// for long, a dozen texts would else hold that thread for a minute. Reading and erasing wait.
    LockWait::Memory m_savingLockMemory{false};
};
