#include "othersearches.h"

#include <QDir>
#include <QFileInfo>
#include <QProcess>

#include <sqlite3.h>

namespace
{
constexpr sqlite3_int64 ROWS_OF_A_MONTH = 10000000; // more than any has
constexpr int SHORTEST_TEXT = 3;

struct Finalizer {
    void operator()(sqlite3_stmt *statement) const { sqlite3_finalize(statement); }
};
using Statement = std::unique_ptr<sqlite3_stmt, Finalizer>;

Statement prepare(sqlite3 *handle, const char *sql)
{
    sqlite3_stmt *statement = nullptr;
    if (sqlite3_prepare_v2(handle, sql, -1, &statement, nullptr) != SQLITE_OK) {
        qFatal("%s", sqlite3_errmsg(handle));
    }
    return Statement(statement);
}

void execute(sqlite3 *handle, const char *sql)
{
    if (sqlite3_exec(handle, sql, nullptr, nullptr, nullptr) != SQLITE_OK) {
        qFatal("%s", sqlite3_errmsg(handle));
    }
}

constexpr char LOOP[] = R"(
import glob, sqlite3, sys, time
directory, text, rounds = sys.argv[1], sys.argv[2], int(sys.argv[3])
months = [sqlite3.connect(name) for name in sorted(glob.glob(directory + "/*.db"), reverse=True)]
best = None
for _ in range(rounds):
    begin = time.perf_counter()
    hits = 0
    for month in months:
        for row in month.execute("SELECT * FROM screenshots ORDER BY real_time DESC"):
            if text in row[2].lower():
                hits += 1
    spent = time.perf_counter() - begin
    best = spent if best is None else min(best, spent)
print(hits, best * 1000)
)";
} // namespace

void TrigramSearch::Closer::operator()(sqlite3 *handle) const
{
    sqlite3_close(handle);
}

TrigramSearch::Handle TrigramSearch::open(const QString &file)
{
    sqlite3 *handle = nullptr;
    if (sqlite3_open(QFile::encodeName(file).constData(), &handle) != SQLITE_OK) {
        qFatal("cannot open %s", qPrintable(file));
    }
    return Handle(handle);
}

TrigramSearch::TrigramSearch(const QString &directory, const QString &file)
    : m_file(file), m_index(open(file))
{
    execute(m_index.get(), "PRAGMA journal_mode = OFF; PRAGMA synchronous = OFF;"
                           "CREATE VIRTUAL TABLE texts USING fts5(ocr_text, content='',"
                           "tokenize='trigram'); BEGIN");
    const QDir files(directory);
    const QStringList names =
        files.entryList({QStringLiteral("*.db")}, QDir::Files, QDir::Name | QDir::Reversed);
    for (int month = 0; month < names.size(); ++month) {
        addMonth(files.filePath(names.at(month)), month);
    }
    execute(m_index.get(), "COMMIT");
}

TrigramSearch::~TrigramSearch() = default;

void TrigramSearch::addMonth(const QString &file, int month)
{
    m_months.push_back(open(file));
    const Statement rows = prepare(m_months.back().get(), "SELECT id, ocr_text FROM screenshots");
    const Statement insert =
        prepare(m_index.get(), "INSERT INTO texts(rowid, ocr_text) VALUES (?, ?)");
    while (sqlite3_step(rows.get()) == SQLITE_ROW) {
        sqlite3_bind_int64(insert.get(), 1,
                           month * ROWS_OF_A_MONTH + sqlite3_column_int64(rows.get(), 0));
        sqlite3_bind_value(insert.get(), 2, sqlite3_column_value(rows.get(), 1));
        if (sqlite3_step(insert.get()) != SQLITE_DONE) {
            qFatal("%s", sqlite3_errmsg(m_index.get()));
        }
        sqlite3_reset(insert.get());
    }
}

int TrigramSearch::run(const QString &text) const
{
    if (text.size() < SHORTEST_TEXT) {
        return -1;
    }
    const Statement find =
        prepare(m_index.get(), "SELECT rowid FROM texts WHERE texts MATCH ? ORDER BY rowid");
    const QByteArray phrase = '"' + text.toUtf8().replace('"', "\"\"") + '"';
    sqlite3_bind_text(find.get(), 1, phrase.constData(), phrase.size(), SQLITE_STATIC);
    std::vector<Statement> rows;
    for (const Handle &month : m_months) {
        rows.push_back(prepare(month.get(), "SELECT * FROM screenshots WHERE id = ?"));
    }
    int hits = 0;
    while (sqlite3_step(find.get()) == SQLITE_ROW) {
        const sqlite3_int64 place = sqlite3_column_int64(find.get(), 0);
        sqlite3_stmt *row = rows.at(static_cast<std::size_t>(place / ROWS_OF_A_MONTH)).get();
        sqlite3_bind_int64(row, 1, place % ROWS_OF_A_MONTH);
        if (sqlite3_step(row) != SQLITE_ROW || !sqlite3_column_text(row, 2)) {
            qFatal("the index names a row that is not there");
        }
        sqlite3_reset(row);
        ++hits;
    }
    return hits;
}

double TrigramSearch::indexMebibytes() const
{
    return static_cast<double>(QFileInfo(m_file).size()) / (1024.0 * 1024.0);
}

namespace PythonSearch
{
Result run(const QString &directory, const QString &text, int rounds)
{
    QProcess python;
    python.start(QStringLiteral("python3"), {QStringLiteral("-c"), QString::fromLatin1(LOOP),
                                             directory, text, QString::number(rounds)});
    if (!python.waitForFinished(-1) || python.exitCode() != 0) {
        qFatal("python3 does not search: %s", python.readAllStandardError().constData());
    }
    const QList<QByteArray> words = python.readAllStandardOutput().simplified().split(' ');
    return {words.value(0).toInt(), words.value(1).toDouble()};
}
} // namespace PythonSearch
