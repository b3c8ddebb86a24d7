#include "vectordb/local/readerdatabase.h"

#include "vectordb/local/collectionsearch.h"
#include "vectordb/local/privatefiles.h"

#include <exception>
#include <utility>

namespace VectorDB
{
namespace
{
// The store numbers its collections from here.
constexpr std::int64_t FIRST_COLLECTION = 1;

// A row that its owner wipes while it is read is found damaged; it is dead when looked at again.
constexpr int ATTEMPTS = 3;

Status cannotChange()
{
    return {StatusCode::NOT_SUPPORTED, "this store is open for searches alone"};
}
} // namespace

ReaderDatabase::ReaderDatabase(const CollectionSchema &schema, const IndexDesc &index)
    : m_definition{schema, index, FIRST_COLLECTION, 0, 0, 0, {}}
    , m_definitionStatus(defineCollection(m_definition))
{
}

Status ReaderDatabase::Connect(const ConnectParam &param)
{
    if (!m_definitionStatus.IsOk()) {
        return m_definitionStatus;
    }
    try {
        const std::string folder =
            param.Directory().empty() ? PrivateFiles::defaultDirectory() : param.Directory();
        m_path = folder + "/matrix_" + std::to_string(FIRST_COLLECTION) + ".bin";
        m_matrix = open();
    } catch (const std::exception &exception) {
        return {StatusCode::IO_ERROR, exception.what()};
    }
    return m_matrix ? Status()
                    : Status(StatusCode::STORE_DAMAGED, "the matrix file is missing or damaged");
}

std::unique_ptr<MatrixFile> ReaderDatabase::open() const
{
    return MatrixFile::openReadOnly(m_path, MatrixLayout(m_definition), FIRST_COLLECTION);
}

Status ReaderDatabase::Disconnect()
{
    m_matrix.reset();
    return {};
}

Status ReaderDatabase::CreateCollection(const CollectionSchema & /*schema*/,
                                        const IndexDesc & /*index*/)
{
    return cannotChange();
}

Status ReaderDatabase::HasCollection(const std::string &name, bool &has)
{
    if (!m_matrix) {
        return {StatusCode::NOT_CONNECTED, "no store is open"};
    }
    has = name == m_definition.schema.Name();
    return {};
}

Status ReaderDatabase::Insert(const std::string & /*collectionName*/,
                              const std::vector<FieldPtr> & /*columns*/, DmlResults & /*results*/)
{
    return cannotChange();
}

Status ReaderDatabase::Delete(const std::string & /*collectionName*/,
                              const std::string & /*filter*/, DmlResults & /*results*/)
{
    return cannotChange();
}

Status ReaderDatabase::Search(const SearchArguments &arguments, SearchResults &results, int timeout)
{
    if (timeout != 0) {
        return {StatusCode::INVALID_ARGUMENT, "a search has no time limit"};
    }
    if (!m_matrix) {
        return {StatusCode::NOT_CONNECTED, "no store is open"};
    }
    if (arguments.CollectionName() != m_definition.schema.Name()) {
        return {StatusCode::UNKNOWN_COLLECTION, "the reader knows another collection"};
    }
    if (Status status = CollectionSearch::check(m_definition, arguments); !status.IsOk()) {
        return status;
    }
    try {
        return searchAll(arguments, results);
    } catch (const std::exception &exception) {
        return {StatusCode::IO_ERROR, exception.what()};
    }
}

Status ReaderDatabase::searchAll(const SearchArguments &arguments, SearchResults &results)
{
    std::vector<SingleResult> found;
    for (int attempt = 0; attempt < ATTEMPTS && m_matrix; ++attempt) {
        if (Status status = m_matrix->checkReachable(); !status.IsOk()) {
            return status;
        }
        const MatrixSnapshot matrix = m_matrix->snapshot();
        while (found.size() < arguments.Targets().size()) {
            std::optional<SingleResult> result =
                CollectionSearch::run(m_definition, m_matrix->layout(), matrix,
                                      arguments.Targets()[found.size()].vector, arguments);
            if (!result) {
                break;
            }
            found.push_back(std::move(*result));
        }
        if (found.size() == arguments.Targets().size()) {
            results.SetResults(std::move(found));
            return {};
        }
        m_matrix = open();
    }
    return {StatusCode::STORE_DAMAGED, "the matrix file is damaged"};
}
} // namespace VectorDB
