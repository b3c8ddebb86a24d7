#pragma once
// An open store: a folder with the store of rows and a matrix file for each collection. Owner:
// LocalDatabase, shared with the calls that run on it. Thread: any; one lock lets a single change
// in at a time, searches run beside it.

#include "vectordb/indexdesc.h"
#include "vectordb/local/rowstore.h"
#include "vectordb/local/storedcollection.h"
#include "vectordb/searcharguments.h"
#include "vectordb/searchresults.h"

#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace VectorDB
{
class VectorStore
{
public:
    VectorStore() = default;
    VectorStore(const VectorStore &) = delete;
    VectorStore &operator=(const VectorStore &) = delete;

    /// @p directory with its closing "/". To be called once, before anything else.
    Status open(const std::string &directory);

    Status createCollection(const CollectionSchema &schema, const IndexDesc &index);
    bool hasCollection(const std::string &name) const;
    Status insert(const std::string &collection, const std::vector<FieldPtr> &columns,
                  DmlResults &results);
    Status remove(const std::string &collection, const std::string &filter, DmlResults &results);
    Status search(const SearchArguments &arguments, SearchResults &results);

private:
    std::shared_ptr<StoredCollection> find(const std::string &name) const;
    Status repair(StoredCollection &collection, const MatrixSnapshot &damaged);

    std::string m_directory;
    RowStore m_rows;
    std::mutex m_changeMutex;              ///< over m_rows and the writing side of every matrix
    mutable std::mutex m_collectionsMutex; ///< over the map; taken last
    std::map<std::string, std::shared_ptr<StoredCollection>> m_collections;
};
} // namespace VectorDB
