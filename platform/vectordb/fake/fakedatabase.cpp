#include "vectordb/fake/fakedatabase.h"

#include <algorithm>
#include <thread>
#include <utility>

namespace VectorDB
{
using Lock = std::lock_guard<std::mutex>;

void FakeDatabase::fail(const std::string &operation, Status status)
{
    const Lock lock(m_mutex);
    m_failures[operation] = std::move(status);
}

void FakeDatabase::succeed(const std::string &operation)
{
    const Lock lock(m_mutex);
    m_failures.erase(operation);
}

void FakeDatabase::delayConnect(std::chrono::milliseconds delay)
{
    const Lock lock(m_mutex);
    m_connectDelay = delay;
}

void FakeDatabase::setHasCollection(bool has)
{
    const Lock lock(m_mutex);
    m_hasCollection = has;
}

void FakeDatabase::setFound(SearchResults found)
{
    const Lock lock(m_mutex);
    m_found = std::move(found);
}

std::vector<std::string> FakeDatabase::calls() const
{
    const Lock lock(m_mutex);
    return m_calls;
}

int FakeDatabase::count(const std::string &operation) const
{
    const Lock lock(m_mutex);
    return static_cast<int>(std::count(m_calls.begin(), m_calls.end(), operation));
}

std::string FakeDatabase::lastFilter() const
{
    const Lock lock(m_mutex);
    return m_lastFilter;
}

std::vector<FieldPtr> FakeDatabase::lastColumns() const
{
    const Lock lock(m_mutex);
    return m_lastColumns;
}

std::vector<CollectionSchema> FakeDatabase::createdSchemas() const
{
    const Lock lock(m_mutex);
    return m_schemas;
}

std::vector<IndexDesc> FakeDatabase::createdIndexes() const
{
    const Lock lock(m_mutex);
    return m_indexes;
}

std::vector<SearchArguments> FakeDatabase::searches() const
{
    const Lock lock(m_mutex);
    return m_searches;
}

int FakeDatabase::lastTimeout() const
{
    const Lock lock(m_mutex);
    return m_lastTimeout;
}

Status FakeDatabase::note(const std::string &operation)
{
    m_calls.push_back(operation);
    const auto failure = m_failures.find(operation);
    return failure == m_failures.end() ? Status() : failure->second;
}

Status FakeDatabase::Connect(const ConnectParam & /*param*/)
{
    std::chrono::milliseconds delay{0};
    {
        const Lock lock(m_mutex);
        delay = m_connectDelay;
    }
    std::this_thread::sleep_for(delay);
    const Lock lock(m_mutex);
    return note("Connect");
}

Status FakeDatabase::Disconnect()
{
    const Lock lock(m_mutex);
    return note("Disconnect");
}

Status FakeDatabase::CreateCollection(const CollectionSchema &schema, const IndexDesc &index)
{
    const Lock lock(m_mutex);
    Status status = note("CreateCollection");
    m_schemas.push_back(schema);
    m_indexes.push_back(index);
    m_hasCollection = m_hasCollection || status.IsOk();
    return status;
}

Status FakeDatabase::HasCollection(const std::string & /*name*/, bool &has)
{
    const Lock lock(m_mutex);
    Status status = note("HasCollection");
    has = m_hasCollection; // after a failure too: nobody is to look at it then
    return status;
}

Status FakeDatabase::Insert(const std::string & /*collectionName*/,
                            const std::vector<FieldPtr> &columns, DmlResults &results)
{
    const Lock lock(m_mutex);
    Status status = note("Insert");
    m_lastColumns = columns;
    if (status.IsOk() && !columns.empty()) {
        results.SetIdArray(IDArray(std::vector<std::string>(columns.front()->Count(), "id")));
    }
    return status;
}

Status FakeDatabase::Delete(const std::string & /*collectionName*/, const std::string &filter,
                            DmlResults & /*results*/)
{
    const Lock lock(m_mutex);
    m_lastFilter = filter;
    return note("Delete");
}

Status FakeDatabase::Search(const SearchArguments &arguments, SearchResults &results, int timeout)
{
    const Lock lock(m_mutex);
    Status status = note("Search");
    m_searches.push_back(arguments);
    m_lastTimeout = timeout;
    if (status.IsOk()) {
        results = m_found;
    }
    return status;
}
} // namespace VectorDB
