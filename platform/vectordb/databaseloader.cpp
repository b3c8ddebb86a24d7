#include "vectordb/databaseloader.h"

#include "vectordb/local/localdatabase.h"
#include "vectordb/local/readerdatabase.h"
#include "vectordb/nulldatabase.h"

#include <mutex>
#include <utility>

namespace VectorDB
{
namespace
{
struct Choice {
    std::mutex mutex;
    DatabaseLoader::Factory factory;
};

Choice &choice()
{
    static Choice instance;
    return instance;
}
} // namespace

void DatabaseLoader::force(Factory factory)
{
    const std::lock_guard<std::mutex> lock(choice().mutex);
    choice().factory = std::move(factory);
}

std::shared_ptr<Database> DatabaseLoader::local()
{
    return std::make_shared<LocalDatabase>();
}

std::shared_ptr<Database> DatabaseLoader::reader(const CollectionSchema &schema,
                                                 const IndexDesc &index)
{
    return std::make_shared<ReaderDatabase>(schema, index);
}

std::shared_ptr<Database> DatabaseLoader::null()
{
    return std::make_shared<NullDatabase>();
}

std::shared_ptr<Database> Database::Create()
{
    DatabaseLoader::Factory factory;
    {
        const std::lock_guard<std::mutex> lock(choice().mutex);
        factory = choice().factory;
    }
    return factory ? factory() : DatabaseLoader::local();
}
} // namespace VectorDB
