#pragma once
// A store of vectors with a few plain fields beside each, searched by likeness. Owner: whoever
// calls Create(). Thread: any; inserts, searches and deletes may run at once without a lock
// outside. Nothing throws: every call answers with a Status, and after a failure nothing has
// changed.

#include "vectordb/connectparam.h"
#include "vectordb/field.h"
#include "vectordb/idarray.h"
#include "vectordb/indexdesc.h"
#include "vectordb/schema.h"
#include "vectordb/searcharguments.h"
#include "vectordb/searchresults.h"
#include "vectordb/status.h"

#include <memory>
#include <string>
#include <vector>

namespace VectorDB
{
class Database
{
public:
    Database() = default;
    Database(const Database &) = delete;
    Database &operator=(const Database &) = delete;
    virtual ~Database() = default;

    /// The store of this process, not connected yet. May be null where there is none.
    static std::shared_ptr<Database> Create();

    /// Opens the store, making it if it is missing. Blocks for as long as it takes to compare what
    /// is searched with what is stored, longer where the former has to be built anew.
    /// STORE_IN_USE, STORE_DAMAGED, STORE_FULL, IO_ERROR; INVALID_ARGUMENT if connected already.
    virtual Status Connect(const ConnectParam &param) = 0;

    /// Closes the store; calls that run meanwhile end first. OK without a connection.
    virtual Status Disconnect() = 0;

    /// Makes an empty collection. It wants one primary VARCHAR, one FLOAT_VECTOR that @p index
    /// names, and any number of INT32, INT64 and VARCHAR. COLLECTION_EXISTS, NOT_SUPPORTED,
    /// INVALID_ARGUMENT.
    virtual Status CreateCollection(const CollectionSchema &schema, const IndexDesc &index) = 0;

    /// Whether a collection of that name is there; @p has is left alone on failure.
    virtual Status HasCollection(const std::string &name, bool &has) = 0;

    /// Appends rows, column by column, all or none. Once it has answered with OK the rows outlive
    /// the process however that ends, and every later search sees them. UNKNOWN_COLLECTION,
    /// COLUMN_MISMATCH, STRING_TOO_LONG, WRONG_DIMENSION, DUPLICATE_KEY, STORE_FULL, IO_ERROR;
    /// INVALID_ARGUMENT for a float that is no finite number.
    virtual Status Insert(const std::string &collectionName, const std::vector<FieldPtr> &columns,
                          DmlResults &results) = 0;

    /// Deletes the rows that @p filter matches (see filterexpression.h), for good: their vectors
    /// are wiped from the files. UNKNOWN_COLLECTION, INVALID_FILTER, STORE_FULL, IO_ERROR.
    virtual Status Delete(const std::string &collectionName, const std::string &filter,
                          DmlResults &results) = 0;

    /// The nearest rows of each target vector by the collection's metric. @p timeout has to be 0,
    /// for none. UNKNOWN_COLLECTION, INVALID_ARGUMENT, WRONG_DIMENSION, STORE_DAMAGED.
    virtual Status Search(const SearchArguments &arguments, SearchResults &results,
                          int timeout) = 0;
};
} // namespace VectorDB
