#include "support/yearstore/monthfile.h"

#include <QFile>

#include <sqlite3.h>

namespace YearStore
{
namespace
{
constexpr char SETTINGS[] = "PRAGMA journal_mode=OFF;"
                            "PRAGMA synchronous=OFF;"
                            "PRAGMA locking_mode=EXCLUSIVE;"
                            "PRAGMA cache_size=-65536;"
                            "BEGIN;";
// As in src/database/ocrscreenshotdatabase.cpp, to the letter: the file keeps these texts.
constexpr char CREATE_TABLE[] =
    "CREATE TABLE screenshots (id INTEGER PRIMARY KEY AUTOINCREMENT,video_name TEXT NOT NULL,"
    "ocr_text TEXT,frame_index_of_video INTEGER NOT NULL,frame_index_of_day INTEGER NOT NULL,"
    "real_time INTEGER NOT NULL,desktop_file_path TEXT);";
constexpr char CREATE_INDEX[] =
    "CREATE UNIQUE INDEX IF NOT EXISTS idx_unique_screenshot ON screenshots(video_name, ocr_text, "
    "frame_index_of_video, frame_index_of_day, real_time, desktop_file_path);";
constexpr char INSERT[] =
    "INSERT OR IGNORE INTO screenshots (video_name, ocr_text, frame_index_of_video, "
    "frame_index_of_day, real_time, desktop_file_path) VALUES (?, '', ?, ?, ?, ?);";
constexpr char UPDATE[] = "UPDATE screenshots SET ocr_text = ? WHERE id = last_insert_rowid();";

void bind(sqlite3_stmt *statement, int position, const QByteArray &text)
{
    sqlite3_bind_text(statement, position, text.constData(), text.size(), SQLITE_TRANSIENT);
}
} // namespace

void MonthFile::Closer::operator()(sqlite3 *handle) const
{
    sqlite3_close(handle);
}

void MonthFile::Finalizer::operator()(sqlite3_stmt *statement) const
{
    sqlite3_finalize(statement);
}

MonthFile::MonthFile(const QString &path)
{
    sqlite3 *handle = nullptr;
    const int result = sqlite3_open(QFile::encodeName(path).constData(), &handle);
    m_handle.reset(handle);
    if (result != SQLITE_OK) {
        qFatal("cannot make %s", qPrintable(path));
    }
    execute(SETTINGS);
    execute(CREATE_TABLE);
    execute(CREATE_INDEX);
    m_insert = prepare(INSERT);
    m_update = prepare(UPDATE);
}

MonthFile::~MonthFile() = default;

void MonthFile::execute(const char *sql)
{
    if (sqlite3_exec(m_handle.get(), sql, nullptr, nullptr, nullptr) != SQLITE_OK) {
        qFatal("year store: %s", sqlite3_errmsg(m_handle.get()));
    }
}

MonthFile::StatementPtr MonthFile::prepare(const char *sql)
{
    sqlite3_stmt *statement = nullptr;
    if (sqlite3_prepare_v2(m_handle.get(), sql, -1, &statement, nullptr) != SQLITE_OK) {
        qFatal("year store: %s", sqlite3_errmsg(m_handle.get()));
    }
    return StatementPtr(statement);
}

void MonthFile::run(sqlite3_stmt *statement)
{
    if (sqlite3_step(statement) != SQLITE_DONE || sqlite3_changes(m_handle.get()) != 1) {
        qFatal("year store: %s", sqlite3_errmsg(m_handle.get()));
    }
    sqlite3_reset(statement);
}

void MonthFile::add(const PlannedVideo &video, const PlannedFrame &frame, const QByteArray &text)
{
    bind(m_insert.get(), 1, video.name.toUtf8());
    sqlite3_bind_int(m_insert.get(), 2, frame.indexOfVideo);
    sqlite3_bind_int(m_insert.get(), 3, frame.indexOfDay);
    sqlite3_bind_int64(m_insert.get(), 4, frame.time);
    bind(m_insert.get(), 5, applications()[frame.application]);
    run(m_insert.get());
    bind(m_update.get(), 1, text);
    run(m_update.get());
}

void MonthFile::commit()
{
    execute("COMMIT;");
}
} // namespace YearStore
