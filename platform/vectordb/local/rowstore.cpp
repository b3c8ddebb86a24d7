#include "vectordb/local/rowstore.h"

#include "vectordb/local/privatefiles.h"

#include <utility>

#include <sqlite3.h>

namespace VectorDB
{
namespace
{
constexpr std::int64_t APPLICATION_ID = 0x59564442; // "YVDB"
constexpr std::int64_t FORMAT_VERSION = 1;

// Keeps every other process out.
constexpr char LOCKING[] = "PRAGMA locking_mode=EXCLUSIVE;";
// NORMAL syncs the file only where the log is folded into it: a commit is one write to the log, in
// the kernel's hands and so safe from a kill. secure_delete overwrites what was deleted. Nothing is
// to lie in a folder for temporary files.
constexpr char SETTINGS[] = "PRAGMA journal_mode=WAL;"
                            "PRAGMA synchronous=NORMAL;"
                            "PRAGMA secure_delete=ON;"
                            "PRAGMA journal_size_limit=16777216;"
                            "PRAGMA temp_store=MEMORY;"
                            "PRAGMA cell_size_check=ON;";
constexpr char CREATE_STORE[] =
    "CREATE TABLE store (identity TEXT NOT NULL);"
    "INSERT INTO store VALUES (lower(hex(randomblob(16))));"
    "CREATE TABLE collections (number INTEGER PRIMARY KEY AUTOINCREMENT, name TEXT NOT NULL UNIQUE,"
    " description TEXT NOT NULL, index_field TEXT NOT NULL, index_name TEXT NOT NULL,"
    " index_id INTEGER NOT NULL, index_type INTEGER NOT NULL, metric_type INTEGER NOT NULL,"
    " generation INTEGER NOT NULL);"
    "CREATE TABLE fields (collection INTEGER NOT NULL, place INTEGER NOT NULL, name TEXT NOT NULL,"
    " type INTEGER NOT NULL, description TEXT NOT NULL, is_primary INTEGER NOT NULL,"
    " max_length INTEGER NOT NULL, dimension INTEGER NOT NULL, PRIMARY KEY (collection, place));"
    "PRAGMA application_id=1498825794;"
    "PRAGMA user_version=1;";
static_assert(APPLICATION_ID == 1498825794);

std::string quoted(const std::string &name)
{
    return '"' + name + '"'; // names hold letters, digits and _ alone
}

std::string createRows(const CollectionDefinition &definition)
{
    const std::string table = definition.table();
    std::string columns = "row_id INTEGER PRIMARY KEY AUTOINCREMENT, ";
    std::string indexes;
    for (std::size_t place = 0; place < definition.scalars.size(); ++place) {
        const FieldSchema &field = definition.scalar(place);
        const bool isText = field.Type() == DataType::VARCHAR;
        columns += quoted(field.Name()) + (isText ? " TEXT NOT NULL" : " INTEGER NOT NULL") +
                   (field.IsPrimary() ? " UNIQUE, " : ", ");
        if (field.Type() == DataType::INT64) { // what deletions go by
            indexes.append("CREATE INDEX ").append(quoted(table + '_' + field.Name()));
            indexes.append(" ON ").append(table).append("(").append(quoted(field.Name()));
            indexes.append(");");
        }
    }
    // The vector stands last: it would else lie between a row's start and its short columns.
    return "CREATE TABLE " + table + " (" + columns +
           quoted(definition.field(definition.vector).Name()) + " BLOB NOT NULL);" + indexes;
}

Status damaged(const std::string &what)
{
    return {StatusCode::STORE_DAMAGED, "the store's file holds " + what};
}

bool readNumber(sqlite3 *handle, const char *sql, std::int64_t &value)
{
    SqliteStatement statement(handle, sql);
    if (statement.step() != SQLITE_ROW) {
        return false;
    }
    value = statement.number(0);
    return true;
}

void foldLogAtClose(sqlite3 *handle, bool folds)
{
    sqlite3_db_config(handle, SQLITE_DBCONFIG_NO_CKPT_ON_CLOSE, folds ? 0 : 1, nullptr);
}
} // namespace

Status RowStore::open(const std::string &path)
{
    if (Status status = PrivateFiles::makeFile(path); !status.IsOk()) {
        return status;
    }
    sqlite3 *handle = nullptr;
    const int result = sqlite3_open_v2(
        path.c_str(), &handle,
        SQLITE_OPEN_READWRITE | SQLITE_OPEN_FULLMUTEX | SQLITE_OPEN_EXRESCODE, nullptr);
    m_handle.reset(handle);
    if (result != SQLITE_OK) {
        return sqliteFailure(handle, "open " + path);
    }
    Status status = prepareFile();
    if (status.IsOk()) {
        status = readIdentity();
    }
    if (status.IsOk()) {
        endWiping();
    }
    if (!status.IsOk()) {
        m_handle.reset();
        return {static_cast<StatusCode>(status.Code()), status.Message() + " (" + path + ')'};
    }
    return {};
}

Status RowStore::prepareFile()
{
    sqlite3 *handle = m_handle.get();
    bool isNew = false;
    if (Status status = recogniseFile(isNew); !status.IsOk()) {
        return status;
    }
    if (Status status = sqliteExecute(handle, SETTINGS, "open the store"); !status.IsOk()) {
        return status;
    }
    SqliteTransaction transaction(handle);
    Status status = transaction.begin();
    if (status.IsOk() && isNew) {
        status = sqliteExecute(handle, CREATE_STORE, "make the store");
    }
    return status.IsOk() ? transaction.commit() : status;
}

// Writes nothing: the settings would change a file that is somebody else's.
Status RowStore::recogniseFile(bool &isNew)
{
    sqlite3 *handle = m_handle.get();
    // Nor is such a file's log folded into it when it is closed again.
    foldLogAtClose(handle, false);
    if (Status status = sqliteExecute(handle, LOCKING, "open the store"); !status.IsOk()) {
        return status;
    }
    SqliteTransaction transaction(handle);
    // Takes the lock on the store, before anything is read.
    if (Status status = transaction.begin(); !status.IsOk()) {
        return status;
    }
    std::int64_t pages = 0;
    std::int64_t application = 0;
    std::int64_t version = 0;
    if (!readNumber(handle, "PRAGMA page_count", pages) ||
        !readNumber(handle, "PRAGMA application_id", application) ||
        !readNumber(handle, "PRAGMA user_version", version)) {
        return sqliteFailure(handle, "read the store");
    }
    isNew = pages <= 1 && application == 0 && version == 0;
    if (!isNew && application != APPLICATION_ID) {
        return damaged("something else");
    }
    if (!isNew && version != FORMAT_VERSION) {
        return damaged("a format of another version of this program");
    }
    foldLogAtClose(handle, true);
    return transaction.commit();
}

Status RowStore::readIdentity()
{
    SqliteStatement statement(m_handle.get(), "SELECT identity FROM store");
    if (statement.step() != SQLITE_ROW) {
        return sqliteFailure(m_handle.get(), "read the store");
    }
    m_identity = statement.text(0);
    return m_identity.size() == 32 ? Status() : damaged("no identity");
}

Status RowStore::collections(std::vector<CollectionDefinition> &found) const
{
    SqliteStatement statement(
        m_handle.get(), "SELECT number, name, description, index_field, index_name, index_id,"
                        " index_type, metric_type, generation FROM collections ORDER BY number");
    int result = SQLITE_OK;
    while ((result = statement.step()) == SQLITE_ROW) {
        CollectionDefinition definition{CollectionSchema(statement.text(1), statement.text(2)),
                                        IndexDesc(statement.text(3), statement.text(4),
                                                  statement.number(5),
                                                  static_cast<IndexType>(statement.number(6)),
                                                  static_cast<MetricType>(statement.number(7))),
                                        statement.number(0),
                                        statement.number(8),
                                        0,
                                        0,
                                        {}};
        if (Status status = readFields(definition); !status.IsOk()) {
            return status;
        }
        found.push_back(std::move(definition));
    }
    return result == SQLITE_DONE ? Status() : sqliteFailure(m_handle.get(), "read the collections");
}

Status RowStore::readFields(CollectionDefinition &definition) const
{
    SqliteStatement statement(m_handle.get(),
                              "SELECT name, type, description, is_primary, max_length, dimension"
                              " FROM fields WHERE collection=? ORDER BY place");
    statement.bind(1, definition.number);
    int result = SQLITE_OK;
    while ((result = statement.step()) == SQLITE_ROW) {
        FieldSchema field(statement.text(0), static_cast<DataType>(statement.number(1)),
                          statement.text(2), statement.number(3) != 0);
        field.WithMaxLength(static_cast<std::size_t>(statement.number(4)))
            .WithDimension(static_cast<std::size_t>(statement.number(5)));
        definition.schema.AddField(std::move(field));
    }
    if (result != SQLITE_DONE) {
        return sqliteFailure(m_handle.get(), "read the fields");
    }
    return defineCollection(definition).IsOk() ? Status() : damaged("a collection of no sense");
}

Status RowStore::create(CollectionDefinition &definition)
{
    sqlite3 *handle = m_handle.get();
    const std::string doing = "make a collection";
    SqliteTransaction transaction(handle);
    if (Status status = transaction.begin(); !status.IsOk()) {
        return status;
    }
    SqliteStatement collection(
        handle, "INSERT INTO collections (name, description, index_field, index_name,"
                " index_id, index_type, metric_type, generation)"
                " VALUES (?, ?, ?, ?, ?, ?, ?, 0)");
    collection.bind(1, definition.schema.Name());
    collection.bind(2, definition.schema.Description());
    collection.bind(3, definition.index.FieldName());
    collection.bind(4, definition.index.IndexName());
    collection.bind(5, std::int64_t{definition.index.IndexId()});
    collection.bind(6, static_cast<std::int64_t>(definition.index.IndexType()));
    collection.bind(7, static_cast<std::int64_t>(definition.index.MetricType()));
    if (collection.step() != SQLITE_DONE) {
        return sqliteFailure(handle, doing);
    }
    definition.number = sqlite3_last_insert_rowid(handle);
    std::int64_t place = 0;
    for (const FieldSchema &field : definition.schema.Fields()) {
        SqliteStatement statement(handle, "INSERT INTO fields VALUES (?, ?, ?, ?, ?, ?, ?, ?)");
        statement.bind(1, definition.number);
        statement.bind(2, place++);
        statement.bind(3, field.Name());
        statement.bind(4, static_cast<std::int64_t>(field.Type()));
        statement.bind(5, field.Description());
        statement.bind(6, std::int64_t{field.IsPrimary()});
        statement.bind(7, static_cast<std::int64_t>(field.MaxLength()));
        statement.bind(8, static_cast<std::int64_t>(field.Dimension()));
        if (statement.step() != SQLITE_DONE) {
            return sqliteFailure(handle, doing);
        }
    }
    if (Status status = sqliteExecute(handle, createRows(definition), doing); !status.IsOk()) {
        return status;
    }
    return transaction.commit();
}

Status RowStore::setGeneration(const CollectionDefinition &definition, std::int64_t generation)
{
    SqliteStatement statement(m_handle.get(), "UPDATE collections SET generation=? WHERE number=?");
    statement.bind(1, generation);
    statement.bind(2, definition.number);
    return statement.step() == SQLITE_DONE ? Status()
                                           : sqliteFailure(m_handle.get(), "note a generation");
}
} // namespace VectorDB
