#pragma once
// The truth: every collection and every row, in one SQLite file. What it has committed outlives the
// process however that ends; a cut of the power may cost the last moments before it. Owner:
// VectorStore. Thread: whichever holds the store's lock.

#include "vectordb/local/collection.h"
#include "vectordb/local/filterexpression.h"
#include "vectordb/local/sqlitestatement.h"

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <vector>

namespace VectorDB
{
class RowStore
{
public:
    /// Opens the file at @p path, making it with mode 0600 if it is missing. A file that is not of
    /// this store, or damaged, is refused and left as it is.
    Status open(const std::string &path);

    /// A random text that tells this store's files from those of any other one.
    const std::string &identity() const { return m_identity; }

    Status collections(std::vector<CollectionDefinition> &found) const;

    /// Gives the new collection its number.
    Status create(CollectionDefinition &definition);

    Status setGeneration(const CollectionDefinition &definition, std::int64_t generation);

    /// For changes of several rows.
    sqlite3 *handle() const { return m_handle.get(); }

    /// Gives the row's number: larger than that of every row before it, also of deleted ones.
    Status insert(const CollectionDefinition &definition, const RowValues &row,
                  std::int64_t &rowId);

    struct Removed {
        std::vector<std::int64_t> rowIds; ///< ascending
        std::vector<std::string> keys;    ///< alike
    };
    Status remove(const CollectionDefinition &definition, const RangeFilter &filter,
                  Removed &removed);

    /// The numbers of all rows, ascending, and the greatest that was ever given.
    Status rowIds(const CollectionDefinition &definition, std::vector<std::int64_t> &ids,
                  std::int64_t &greatest) const;

    /// Hands over every row, ascending, until @p use gives a failure.
    using RowUse = std::function<Status(std::int64_t rowId, const RowValues &row)>;
    Status forEachRow(const CollectionDefinition &definition, const RowUse &use) const;

private:
    Status prepareFile();
    Status recogniseFile(bool &isNew);
    Status readIdentity();
    Status readFields(CollectionDefinition &definition) const;
    /// The rows that @p filter names.
    Status select(const CollectionDefinition &definition, const RangeFilter &filter,
                  Removed &selected) const;
    /// Without a filter: all rows.
    Status erase(const CollectionDefinition &definition, const RangeFilter *filter);
    /// Writes the file anew if a deletion still owes that, and empties the log. A failure leaves it
    /// owed, to the next deletion or start.
    void endWiping();
    SqliteStatement &insertStatement(const CollectionDefinition &definition);

    SqliteHandle m_handle;
    std::string m_identity;
    std::map<std::int64_t, SqliteStatement> m_inserts; ///< by collection; gone before the handle
};
} // namespace VectorDB
