#pragma once
// The searches of a store on this machine's disk for a process beside its owner: over the matrix
// file alone, which is only ever mapped for reading. Owner: whoever asked the loader for it. Any
// thread, one call at a time.

#include "vectordb/database.h"
#include "vectordb/local/collection.h"
#include "vectordb/matrix/matrixfile.h"

#include <memory>
#include <string>

namespace VectorDB
{
class ReaderDatabase : public Database
{
public:
    ReaderDatabase(const CollectionSchema &schema, const IndexDesc &index);

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
    std::unique_ptr<MatrixFile> open() const;
    Status searchAll(const SearchArguments &arguments, SearchResults &results);

    CollectionDefinition m_definition;
    Status m_definitionStatus; ///< whether the schema can be that of a collection
    std::string m_path;
    std::unique_ptr<MatrixFile> m_matrix; ///< null without a connection
};
} // namespace VectorDB
