#include "vectordb/local/localdatabase.h"

#include "vectordb/local/privatefiles.h"
#include "vectordb/local/vectorstore.h"

#include <exception>
#include <utility>

namespace VectorDB
{
namespace
{
// The standard library throws where memory or threads run out.
template <typename Work>
Status guarded(const Work &work)
{
    try {
        return work();
    } catch (const std::exception &exception) {
        return {StatusCode::IO_ERROR, exception.what()};
    }
}
} // namespace

LocalDatabase::LocalDatabase() = default;
LocalDatabase::~LocalDatabase() = default;

template <typename Work>
Status LocalDatabase::withStore(const Work &work)
{
    return guarded([&]() -> Status {
        std::shared_ptr<VectorStore> store;
        {
            const std::lock_guard<std::mutex> lock(m_mutex);
            store = m_store;
        }
        return store ? work(*store) : Status(StatusCode::NOT_CONNECTED, "no store is open");
    });
}

Status LocalDatabase::Connect(const ConnectParam &param)
{
    return guarded([&]() -> Status {
        const std::lock_guard<std::mutex> lock(m_mutex);
        if (m_store) {
            return {StatusCode::INVALID_ARGUMENT, "a store is open already"};
        }
        std::string directory =
            param.Directory().empty() ? PrivateFiles::defaultDirectory() : param.Directory();
        if (directory.back() != '/') {
            directory += '/';
        }
        auto store = std::make_shared<VectorStore>();
        Status status = store->open(directory);
        if (status.IsOk()) {
            m_store = std::move(store);
        }
        return status;
    });
}

Status LocalDatabase::Disconnect()
{
    return guarded([&]() -> Status {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_store.reset();
        return {};
    });
}

Status LocalDatabase::CreateCollection(const CollectionSchema &schema, const IndexDesc &index)
{
    return withStore([&](VectorStore &store) { return store.createCollection(schema, index); });
}

Status LocalDatabase::HasCollection(const std::string &name, bool &has)
{
    return withStore([&](VectorStore &store) {
        has = store.hasCollection(name);
        return Status();
    });
}

Status LocalDatabase::Insert(const std::string &collectionName,
                             const std::vector<FieldPtr> &columns, DmlResults &results)
{
    return withStore(
        [&](VectorStore &store) { return store.insert(collectionName, columns, results); });
}

Status LocalDatabase::Delete(const std::string &collectionName, const std::string &filter,
                             DmlResults &results)
{
    return withStore(
        [&](VectorStore &store) { return store.remove(collectionName, filter, results); });
}

Status LocalDatabase::Search(const SearchArguments &arguments, SearchResults &results, int timeout)
{
    if (timeout != 0) {
        return {StatusCode::INVALID_ARGUMENT, "a search has no time limit"};
    }
    return withStore([&](VectorStore &store) { return store.search(arguments, results); });
}
} // namespace VectorDB
