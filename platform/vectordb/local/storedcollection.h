#pragma once
// One collection of an open store: its rows in the store of rows and the matrix that searches run
// over, kept alike. Owner: VectorStore, shared with the calls that use it. Thread: see each call.

#include "vectordb/field.h"
#include "vectordb/idarray.h"
#include "vectordb/local/rowstore.h"
#include "vectordb/matrix/matrixfile.h"
#include "vectordb/searcharguments.h"
#include "vectordb/searchresults.h"

#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace VectorDB
{
class StoredCollection
{
public:
    StoredCollection(RowStore &rows, CollectionDefinition definition, const std::string &directory);

    const std::string &name() const { return m_definition.schema.Name(); }

    // Under the store's lock.

    /// Takes over the matrix file or builds it anew.
    Status open();
    Status insert(const std::vector<FieldPtr> &columns, DmlResults &results);
    Status remove(const std::string &filter, DmlResults &results);

    /// Builds the matrix file anew unless that was done since @p damaged was its content.
    Status repair(const MatrixSnapshot &damaged);

    // Without it.

    MatrixSnapshot snapshot() const;

    /// What a search can be refused for before it begins.
    Status check(const SearchArguments &arguments) const;

    /// Null if the matrix is damaged.
    std::optional<SingleResult> search(const MatrixSnapshot &matrix,
                                       const std::vector<float> &vector,
                                       const SearchArguments &arguments) const;

private:
    Status rebuild();
    FileHead head() const;
    std::shared_ptr<MatrixFile> matrix() const;

    RowStore &m_rows;
    CollectionDefinition m_definition;
    std::string m_path;
    MatrixLayout m_layout;
    mutable std::mutex m_matrixMutex; ///< over the pointer; calls keep what they took
    std::shared_ptr<MatrixFile> m_matrix;
};
} // namespace VectorDB
