#include "vectordb/nulldatabase.h"

namespace VectorDB
{
namespace
{
Status noBackend()
{
    return {StatusCode::NO_BACKEND, "there is no vector store in this process"};
}
} // namespace

Status NullDatabase::Connect(const ConnectParam & /*param*/)
{
    return noBackend();
}

Status NullDatabase::Disconnect()
{
    return {};
}

Status NullDatabase::CreateCollection(const CollectionSchema & /*schema*/,
                                      const IndexDesc & /*index*/)
{
    return noBackend();
}

Status NullDatabase::HasCollection(const std::string & /*name*/, bool & /*has*/)
{
    return noBackend();
}

Status NullDatabase::Insert(const std::string & /*collectionName*/,
                            const std::vector<FieldPtr> & /*columns*/, DmlResults & /*results*/)
{
    return noBackend();
}

Status NullDatabase::Delete(const std::string & /*collectionName*/, const std::string & /*filter*/,
                            DmlResults & /*results*/)
{
    return noBackend();
}

Status NullDatabase::Search(const SearchArguments & /*arguments*/, SearchResults & /*results*/,
                            int /*timeout*/)
{
    return noBackend();
}
} // namespace VectorDB
