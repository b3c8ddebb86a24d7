#pragma once
// The store of a process that has none: every call but Disconnect answers with NO_BACKEND. Owner:
// whoever asked the loader for it. Any thread.

#include "vectordb/database.h"

namespace VectorDB
{
class NullDatabase : public Database
{
public:
    Status Connect(const ConnectParam &param) override;
    Status Disconnect() override;
    Status CreateCollection(const CollectionSchema &schema, const IndexDesc &index) override;
    Status HasCollection(const std::string &name, bool &has) override;
    Status Insert(const std::string &collectionName, const std::vector<FieldPtr> &columns,
                  DmlResults &results) override;
    Status Delete(const std::string &collectionName, const std::string &filter,
                  DmlResults &results) override;
    Status Search(const SearchArguments &arguments, SearchResults &results, int timeout) override;
};
} // namespace VectorDB
