#pragma once
// The store on this machine's disk, behind the interface. Owner: whoever asked the loader for it.
// Any thread.

#include "vectordb/database.h"

#include <memory>
#include <mutex>

namespace VectorDB
{
class VectorStore;

class LocalDatabase : public Database
{
public:
    LocalDatabase();
    ~LocalDatabase() override;

    Status Connect(const ConnectParam &param) override;
    Status Disconnect() override;
    Status CreateCollection(const CollectionSchema &schema, const IndexDesc &index) override;
    Status HasCollection(const std::string &name, bool &has) override;
    Status Insert(const std::string &collectionName, const std::vector<FieldPtr> &columns,
                  DmlResults &results) override;
    Status Delete(const std::string &collectionName, const std::string &filter,
                  DmlResults &results) override;
    Status Search(const SearchArguments &arguments, SearchResults &results, int timeout) override;

private:
    template <typename Work>
    Status withStore(const Work &work);

    std::mutex m_mutex; ///< over the pointer; a call keeps the store that it took
    std::shared_ptr<VectorStore> m_store;
};
} // namespace VectorDB
