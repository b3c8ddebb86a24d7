#include "database/ocrscreenshotdatabase.h"

#include "database/dataencryptor.h"
#include "database/daytext.h"
#include "database/sqlite3connection.h"
#include "database/statement.h"

#include <QDebug>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>

#include <sqlite3.h>

namespace
{
constexpr char CREATE_TABLE[] =
    "CREATE TABLE screenshots (id INTEGER PRIMARY KEY AUTOINCREMENT,video_name TEXT NOT NULL,"
    "ocr_text TEXT,frame_index_of_video INTEGER NOT NULL,frame_index_of_day INTEGER NOT NULL,"
    "real_time INTEGER NOT NULL,desktop_file_path TEXT);";
constexpr char CREATE_INDEX[] =
    "CREATE UNIQUE INDEX IF NOT EXISTS idx_unique_screenshot ON screenshots(video_name, ocr_text, "
    "frame_index_of_video, frame_index_of_day, real_time, desktop_file_path);";
constexpr char FIND_TABLE[] =
    "SELECT name FROM sqlite_master WHERE type='table' AND name='screenshots';";
constexpr char INSERT_ROW[] =
    "INSERT OR IGNORE INTO screenshots (video_name, ocr_text, frame_index_of_video, "
    "frame_index_of_day, real_time, desktop_file_path) VALUES (?, ?, ?, ?, ?, ?);";
constexpr char UPDATE_TEXT[] = "UPDATE screenshots SET ocr_text = ? WHERE video_name = ? AND "
                               "frame_index_of_video = ? AND real_time = ?;";
constexpr char DELETE_ROWS[] = "DELETE FROM screenshots WHERE real_time > ? AND real_time <= ?;";
} // namespace

OcrScreenshotDatabase::OcrScreenshotDatabase() : m_encryptor(DataEncryptor::getInstance())
{
    m_databaseDirectory = m_encryptor->storeRoot() + QStringLiteral("/traditional_database/");
    initDatabase();
}

bool OcrScreenshotDatabase::hasEncryption() const
{
    return m_encryptor->isSafeDirectoryMounted();
}

QString OcrScreenshotDatabase::databasePath(const QString &month) const
{
    return m_databaseDirectory + month + QStringLiteral(".db");
}

void OcrScreenshotDatabase::createDatabaseDirectory()
{
    if (QDir(m_databaseDirectory).exists()) {
        return;
    }
    QDir().mkpath(m_databaseDirectory);
    QFile::setPermissions(m_databaseDirectory,
                          QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
}

void OcrScreenshotDatabase::initDatabase()
{
    forgetConnections();
    createDatabaseDirectory();
    m_currentMonth = DayText::monthOfDate(QDate::currentDate());
    m_currentConnection = openDatabase(m_currentMonth);
    if (!hasValidDatabaseAndTable()) {
        initDatabaseTable();
    }
}

void OcrScreenshotDatabase::forgetConnections()
{
    // Under the lock: an open that is under way elsewhere must not put the old map back.
    const std::lock_guard<std::mutex> lock(m_openMutex);
    const std::shared_ptr<const ConnectionMap> former =
        std::atomic_exchange(&m_connections, std::make_shared<const ConnectionMap>());
    for (const auto &entry : *former) {
        entry.second->retire(); // a reader may still hold it
    }
}

bool OcrScreenshotDatabase::hasValidDatabaseAndTable()
{
    Statement find(m_currentConnection.get(), FIND_TABLE);
    if (!find.isPrepared()) {
        qDebug() << "Error checking table existence: " << find.errorText();
        return false;
    }
    if (find.step() != SQLITE_ROW) {
        qDebug() << "Warning: Table 'screenshots' not found!";
        return false;
    }
    return true;
}

void OcrScreenshotDatabase::initDatabaseTable()
{
    if (createOnCurrent(CREATE_TABLE, "Error creating table: ")) {
        createOnCurrent(CREATE_INDEX, "Error creating unique index: ");
    }
}

bool OcrScreenshotDatabase::createOnCurrent(const char *sql, const char *failureText)
{
    Statement create(m_currentConnection.get(), sql);
    if (create.isPrepared() && create.step() == SQLITE_DONE) {
        return true;
    }
    qDebug() << failureText << create.errorText();
    return false;
}

std::shared_ptr<SQLite3Connection> OcrScreenshotDatabase::openDatabase(const QString &month) const
{
    const std::lock_guard<std::mutex> lock(m_openMutex);
    const QString path = databasePath(month);
    const bool isNew = !QFile::exists(path);
    const auto connection = std::make_shared<SQLite3Connection>();
    if (connection->open(QFile::encodeName(path)) != SQLITE_OK) {
        qDebug() << "Can't open existing database: " << sqlite3_errmsg(connection->handle());
    } else if (isNew) {
        QFile::setPermissions(path, QFile::ReadOwner | QFile::WriteOwner);
    }
    auto connections = std::make_shared<ConnectionMap>(*std::atomic_load(&m_connections));
    const auto entry = connections->emplace(month.toStdString(), connection).first;
    std::atomic_store(&m_connections, std::shared_ptr<const ConnectionMap>(connections));
    return entry->second;
}

std::shared_ptr<SQLite3Connection> OcrScreenshotDatabase::readDatabase(const QString &month) const
{
    const std::shared_ptr<const ConnectionMap> connections = std::atomic_load(&m_connections);
    const auto known = connections->find(month.toStdString());
    if (known != connections->end()) {
        return known->second;
    }
    const QString path = databasePath(month);
    if (!QFile::exists(path)) {
        qDebug() << "Database file does not exist: " << path;
        return nullptr;
    }
    return openDatabase(month);
}

void OcrScreenshotDatabase::followMonth(const QString &month)
{
    if (month < m_currentMonth) {
        m_currentMonth = month;
        m_currentConnection = readDatabase(month);
    } else if (month > m_currentMonth) {
        m_currentMonth = month;
        m_currentConnection = openDatabase(month);
        initDatabaseTable();
    }
}

// NOLINTNEXTLINE(performance-unnecessary-value-param): records are handed over by value
bool OcrScreenshotDatabase::saveScreenshotData(ScreenShotData data)
{
    followMonth(DayText::monthOfTime(data.realTime));
    if (!m_currentConnection) {
        qDebug() << "Database not initialized!";
        return false;
    }
    Statement insert(m_currentConnection.get(), INSERT_ROW, &m_savingLockMemory);
    if (!insert.isPrepared()) {
        qDebug() << "Error preparing statement: " << insert.errorText();
        return false;
    }
    insert.bindText(1, data.videoName);
    insert.bindText(2, data.ocrText);
    insert.bindInt(3, data.frameIndexOfVideo);
    insert.bindInt(4, data.frameIndexOfDay);
    insert.bindInt64(5, data.realTime);
    insert.bindText(6, data.desktopFilePath);
    if (insert.step() != SQLITE_DONE) {
        qDebug() << "Error executing statement: " << insert.errorText();
        return false;
    }
    return true;
}

// NOLINTNEXTLINE(performance-unnecessary-value-param): records are handed over by value
bool OcrScreenshotDatabase::updateScreenshotOCRText(ScreenShotData data)
{
    if (!m_currentConnection) {
        qDebug() << "Database not initialized!";
        return false;
    }
    Statement update(m_currentConnection.get(), UPDATE_TEXT, &m_savingLockMemory);
    if (!update.isPrepared()) {
        qDebug() << "Error preparing update statement: " << update.errorText();
        return false;
    }
    update.bindText(1, data.ocrText);
    update.bindText(2, data.videoName);
    update.bindInt(3, data.frameIndexOfVideo);
    update.bindInt64(4, data.realTime);
    if (update.step() != SQLITE_DONE) {
        qDebug() << "Error executing update statement: " << update.errorText();
        return false;
    }
    return true;
}

bool OcrScreenshotDatabase::deleteOcrDatabase(long start, long end)
{
    if (start == 0) {
        return deleteAllDatabase();
    }
    bool succeeded = true;
    const QVector<QString> months = getDatabasesInTimeRange(start, end);
    for (const QString &month : months) {
        const std::shared_ptr<SQLite3Connection> connection = readDatabase(month);
        if (connection && !deleteRows(*connection, start, end)) {
            succeeded = false;
        }
    }
    return succeeded;
}

bool OcrScreenshotDatabase::deleteRows(const SQLite3Connection &connection, long start,
                                       long end) const
{
    Statement remove(&connection, DELETE_ROWS);
    if (!remove.isPrepared()) {
        qDebug() << "Error preparing statement: " << remove.errorText();
        return false;
    }
    remove.bindInt64(1, start);
    remove.bindInt64(2, end);
    if (remove.step() != SQLITE_DONE) {
        qDebug() << "Error executing statement: " << remove.errorText();
        return false;
    }
    return true;
}

bool OcrScreenshotDatabase::deleteAllDatabase()
{
    static const QRegularExpression monthFile(QStringLiteral("^\\d{4}-\\d{2}\\.db$"));
    bool succeeded = true;
    const QFileInfoList files =
        QDir(m_databaseDirectory)
            .entryInfoList({QStringLiteral("*.db")}, QDir::Files, QDir::NoSort);
    for (const QFileInfo &file : files) {
        if (!monthFile.match(file.fileName()).hasMatch()) {
            continue;
        }
        const QString path = file.absoluteFilePath();
        if (QFileInfo(path).isFile() && !QFile::remove(path)) {
            succeeded = false;
        }
        // What a kill in the middle of a write left behind holds recognised text too.
        QFile::remove(path + QLatin1String("-journal"));
    }
    initDatabase();
    return succeeded;
}
