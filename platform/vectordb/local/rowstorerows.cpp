// The rows of a collection; its definition is handled in rowstore.cpp.

#include "vectordb/local/rowstore.h"

#include <algorithm>
#include <cmath>

#include <sqlite3.h>

namespace VectorDB
{
namespace
{
// Up to this many rows are quickly written to a new file, which is how the others are wiped then:
// overwriting 150,000 rows takes eight seconds.
constexpr std::size_t LITTLE = 2000;

// The table is there from a deletion's commit on until nothing of what it deleted can be read.
constexpr char OWE_WIPING[] = "CREATE TABLE IF NOT EXISTS wiping_owed (id INTEGER)";
constexpr char FIND_OWED[] = "SELECT 1 FROM sqlite_master WHERE name='wiping_owed'";
constexpr char WIPING_DONE[] = "DROP TABLE wiping_owed";

std::string columnsOf(const CollectionDefinition &definition)
{
    std::string list;
    for (std::size_t place = 0; place < definition.scalars.size(); ++place) {
        list += '"' + definition.scalar(place).Name() + "\", ";
    }
    return list + '"' + definition.field(definition.vector).Name() + '"';
}

std::string rangeOf(const CollectionDefinition &definition, const RangeFilter &filter)
{
    return " FROM " + definition.table() + " WHERE \"" + filter.field + "\" BETWEEN ? AND ?";
}
} // namespace

SqliteStatement &RowStore::insertStatement(const CollectionDefinition &definition)
{
    const auto found = m_inserts.find(definition.number);
    if (found != m_inserts.end() && found->second.isPrepared()) {
        return found->second;
    }
    std::string places;
    for (std::size_t place = 0; place < definition.scalars.size(); ++place) {
        places += "?, ";
    }
    const std::string sql = "INSERT INTO " + definition.table() + " (" + columnsOf(definition) +
                            ") VALUES (" + places + "?)";
    return m_inserts.insert_or_assign(definition.number, SqliteStatement(m_handle.get(), sql))
        .first->second;
}

Status RowStore::insert(const CollectionDefinition &definition, const RowValues &row,
                        std::int64_t &rowId)
{
    SqliteStatement &statement = insertStatement(definition);
    int position = 1;
    for (const Scalar &scalar : row.scalars) {
        std::visit([&](const auto &value) { statement.bind(position, value); }, scalar);
        ++position;
    }
    statement.bind(position, row.vector, definition.dimension() * sizeof(float));
    const int result = statement.step();
    Status status =
        result == SQLITE_DONE ? Status() : sqliteFailure(m_handle.get(), "insert a row");
    rowId = sqlite3_last_insert_rowid(m_handle.get());
    statement.reset();
    return status;
}

Status RowStore::remove(const CollectionDefinition &definition, const RangeFilter &filter,
                        Removed &removed)
{
    sqlite3 *handle = m_handle.get();
    SqliteTransaction transaction(handle);
    if (Status status = transaction.begin(); !status.IsOk()) {
        return status;
    }
    if (Status status = select(definition, filter, removed); !status.IsOk()) {
        return status;
    }
    std::vector<std::int64_t> all;
    std::int64_t greatest = 0;
    if (Status status = rowIds(definition, all, greatest); !status.IsOk()) {
        return status;
    }
    const bool leavesLittle =
        all.size() - removed.rowIds.size() <= LITTLE && removed.rowIds.size() > LITTLE;
    Status status;
    if (leavesLittle) {
        status = sqliteExecute(handle, OWE_WIPING, "delete rows");
        sqlite3_exec(handle, "PRAGMA secure_delete=OFF", nullptr, nullptr, nullptr);
    }
    const bool leavesNothing = all.size() == removed.rowIds.size();
    if (status.IsOk()) {
        status = erase(definition, leavesNothing ? nullptr : &filter);
    }
    if (status.IsOk()) {
        status = transaction.commit();
    }
    sqlite3_exec(handle, "PRAGMA secure_delete=ON", nullptr, nullptr, nullptr);
    // From here on the deletion stands, whatever becomes of the rest.
    if (status.IsOk() && !removed.rowIds.empty()) {
        endWiping();
    }
    return status;
}

void RowStore::endWiping()
{
    sqlite3 *handle = m_handle.get();
    const bool isOwed = SqliteStatement(handle, FIND_OWED).step() == SQLITE_ROW;
    bool isWiped =
        !isOwed || sqlite3_exec(handle, "VACUUM", nullptr, nullptr, nullptr) == SQLITE_OK;
    // The log still holds the rows as they were inserted, and the file what the log will replace.
    isWiped = sqlite3_wal_checkpoint_v2(handle, nullptr, SQLITE_CHECKPOINT_TRUNCATE, nullptr,
                                        nullptr) == SQLITE_OK &&
              isWiped;
    if (isOwed && isWiped) {
        sqlite3_exec(handle, WIPING_DONE, nullptr, nullptr, nullptr);
    }
}

Status RowStore::select(const CollectionDefinition &definition, const RangeFilter &filter,
                        Removed &selected) const
{
    SqliteStatement rows(m_handle.get(), "SELECT row_id, \"" +
                                             definition.scalar(definition.primary).Name() + '"' +
                                             rangeOf(definition, filter) + " ORDER BY row_id");
    rows.bind(1, filter.lower);
    rows.bind(2, filter.upper);
    int result = SQLITE_OK;
    while ((result = rows.step()) == SQLITE_ROW) {
        selected.rowIds.push_back(rows.number(0));
        selected.keys.push_back(rows.text(1));
    }
    return result == SQLITE_DONE ? Status() : sqliteFailure(m_handle.get(), "delete rows");
}

// Without a condition whole tables are let go and no row is looked at.
Status RowStore::erase(const CollectionDefinition &definition, const RangeFilter *filter)
{
    SqliteStatement rows(m_handle.get(), filter ? "DELETE" + rangeOf(definition, *filter)
                                                : "DELETE FROM " + definition.table());
    if (filter) {
        rows.bind(1, filter->lower);
        rows.bind(2, filter->upper);
    }
    return rows.step() == SQLITE_DONE ? Status() : sqliteFailure(m_handle.get(), "delete rows");
}

Status RowStore::rowIds(const CollectionDefinition &definition, std::vector<std::int64_t> &ids,
                        std::int64_t &greatest) const
{
    sqlite3 *handle = m_handle.get();
    // Unordered, so that an index is read and not the table, which is a hundred times as large.
    SqliteStatement rows(handle, "SELECT row_id FROM " + definition.table());
    int result = SQLITE_OK;
    while ((result = rows.step()) == SQLITE_ROW) {
        ids.push_back(rows.number(0));
    }
    if (result != SQLITE_DONE) {
        return sqliteFailure(handle, "read the rows' numbers");
    }
    std::sort(ids.begin(), ids.end());
    SqliteStatement sequence(handle, "SELECT seq FROM sqlite_sequence WHERE name=?");
    const std::string table = definition.table();
    sequence.bind(1, table);
    greatest = sequence.step() == SQLITE_ROW ? sequence.number(0) : 0;
    return {};
}

Status RowStore::forEachRow(const CollectionDefinition &definition, const RowUse &use) const
{
    SqliteStatement rows(m_handle.get(), "SELECT row_id, " + columnsOf(definition) + " FROM " +
                                             definition.table() + " ORDER BY row_id");
    const std::size_t bytes = definition.dimension() * sizeof(float);
    int result = SQLITE_OK;
    while ((result = rows.step()) == SQLITE_ROW) {
        RowValues row;
        int column = 1;
        for (std::size_t place = 0; place < definition.scalars.size(); ++place, ++column) {
            if (definition.scalar(place).Type() == DataType::VARCHAR) {
                row.scalars.emplace_back(rows.text(column));
            } else {
                row.scalars.emplace_back(rows.number(column));
            }
        }
        row.vector = static_cast<const float *>(rows.blob(column));
        if (rows.bytes(column) != bytes) {
            return {StatusCode::STORE_DAMAGED, "a row holds a vector of another length"};
        }
        // Scores that are no numbers have no order.
        if (!std::all_of(row.vector, row.vector + definition.dimension(),
                         [](float value) { return std::isfinite(value); })) {
            return {StatusCode::STORE_DAMAGED, "a row holds a vector of what is no number"};
        }
        if (Status status = use(rows.number(0), row); !status.IsOk()) {
            return status;
        }
    }
    return result == SQLITE_DONE ? Status() : sqliteFailure(m_handle.get(), "read the rows");
}
} // namespace VectorDB
