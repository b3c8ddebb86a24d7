#include "vectordb/local/vectorstore.h"

#include "vectordb/local/privatefiles.h"

#include <utility>

namespace VectorDB
{
namespace
{
Status unknown(const std::string &name)
{
    return {StatusCode::UNKNOWN_COLLECTION, "no collection has the name " + name};
}
} // namespace

Status VectorStore::open(const std::string &directory)
{
    m_directory = directory;
    Status status = PrivateFiles::makeDirectory(directory);
    if (status.IsOk()) {
        status = m_rows.open(directory + "vectors.db");
    }
    std::vector<CollectionDefinition> definitions;
    if (status.IsOk()) {
        status = m_rows.collections(definitions);
    }
    for (CollectionDefinition &definition : definitions) {
        if (!status.IsOk()) {
            return status;
        }
        auto collection =
            std::make_shared<StoredCollection>(m_rows, std::move(definition), directory);
        status = collection->open();
        m_collections.emplace(collection->name(), collection);
    }
    return status;
}

Status VectorStore::createCollection(const CollectionSchema &schema, const IndexDesc &index)
{
    CollectionDefinition definition{schema, index, 0, 0, 0, 0, {}};
    if (Status status = defineCollection(definition); !status.IsOk()) {
        return status;
    }
    const std::lock_guard<std::mutex> change(m_changeMutex);
    if (find(schema.Name())) {
        return {StatusCode::COLLECTION_EXISTS, "collection " + schema.Name() + " is there already"};
    }
    if (Status status = m_rows.create(definition); !status.IsOk()) {
        return status;
    }
    // From here on the collection is stored. Without a matrix file it can't be used before the next
    // start, which builds one.
    auto collection =
        std::make_shared<StoredCollection>(m_rows, std::move(definition), m_directory);
    if (Status status = collection->open(); !status.IsOk()) {
        return status;
    }
    const std::lock_guard<std::mutex> lock(m_collectionsMutex);
    m_collections.emplace(collection->name(), std::move(collection));
    return {};
}

std::shared_ptr<StoredCollection> VectorStore::find(const std::string &name) const
{
    const std::lock_guard<std::mutex> lock(m_collectionsMutex);
    const auto found = m_collections.find(name);
    return found == m_collections.end() ? nullptr : found->second;
}

bool VectorStore::hasCollection(const std::string &name) const
{
    return find(name) != nullptr;
}

Status VectorStore::insert(const std::string &collection, const std::vector<FieldPtr> &columns,
                           DmlResults &results)
{
    const std::shared_ptr<StoredCollection> target = find(collection);
    const std::lock_guard<std::mutex> change(m_changeMutex);
    return target ? target->insert(columns, results) : unknown(collection);
}

Status VectorStore::remove(const std::string &collection, const std::string &filter,
                           DmlResults &results)
{
    const std::shared_ptr<StoredCollection> target = find(collection);
    const std::lock_guard<std::mutex> change(m_changeMutex);
    return target ? target->remove(filter, results) : unknown(collection);
}

Status VectorStore::repair(StoredCollection &collection, const MatrixSnapshot &damaged)
{
    const std::lock_guard<std::mutex> change(m_changeMutex);
    return collection.repair(damaged);
}

Status VectorStore::search(const SearchArguments &arguments, SearchResults &results)
{
    const std::shared_ptr<StoredCollection> collection = find(arguments.CollectionName());
    if (!collection) {
        return unknown(arguments.CollectionName());
    }
    if (Status status = collection->check(arguments); !status.IsOk()) {
        return status;
    }
    std::vector<SingleResult> found;
    bool wasRepaired = false;
    MatrixSnapshot matrix = collection->snapshot();
    while (found.size() < arguments.Targets().size()) {
        std::optional<SingleResult> result =
            collection->search(matrix, arguments.Targets()[found.size()].vector, arguments);
        if (result) {
            found.push_back(std::move(*result));
            continue;
        }
        if (wasRepaired) {
            return {StatusCode::IO_ERROR, "the matrix file does not keep what is written to it"};
        }
        if (Status status = repair(*collection, matrix); !status.IsOk()) {
            return status;
        }
        wasRepaired = true;
        matrix = collection->snapshot();
    }
    results.SetResults(std::move(found));
    return {};
}
} // namespace VectorDB
