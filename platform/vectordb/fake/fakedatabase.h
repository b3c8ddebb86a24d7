#pragma once
// A store in name only, for tests of what stands above it: notes every call, fails on command,
// keeps no rows and finds what it was told to find. Owner: the test. Any thread.

#include "vectordb/database.h"

#include <chrono>
#include <map>
#include <mutex>
#include <string>
#include <vector>

namespace VectorDB
{
class FakeDatabase : public Database
{
public:
    /// The operation of that name ("Connect", "Insert", ...) answers with @p status from now on.
    void fail(const std::string &operation, Status status);
    void succeed(const std::string &operation);

    /// Connect takes that long.
    void delayConnect(std::chrono::milliseconds delay);

    /// What HasCollection tells of every name; CreateCollection makes it true.
    void setHasCollection(bool has);

    /// What Search finds, whatever it is asked for.
    void setFound(SearchResults found);

    /// The names of all operations so far, in order.
    std::vector<std::string> calls() const;
    int count(const std::string &operation) const;

    /// What the last call of the kind was given.
    std::string lastFilter() const;
    std::vector<FieldPtr> lastColumns() const;
    std::vector<CollectionSchema> createdSchemas() const;
    std::vector<IndexDesc> createdIndexes() const;
    std::vector<SearchArguments> searches() const;
    int lastTimeout() const; ///< of Search; -1 before

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
    Status note(const std::string &operation);

    mutable std::mutex m_mutex; ///< over everything below
    std::map<std::string, Status> m_failures;
    std::vector<std::string> m_calls;
    std::chrono::milliseconds m_connectDelay{0};
    bool m_hasCollection = false;
    SearchResults m_found;
    std::string m_lastFilter;
    std::vector<FieldPtr> m_lastColumns;
    std::vector<CollectionSchema> m_schemas;
    std::vector<IndexDesc> m_indexes;
    std::vector<SearchArguments> m_searches;
    int m_lastTimeout = -1;
};
} // namespace VectorDB
