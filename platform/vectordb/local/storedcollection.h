#pragma once
// One collection of an open store: its rows in the store of rows and the matrix that searches run
// over, kept alike. Owner: VectorStore, shared with the calls that use it. Thread: see each call.

#include "vectordb/field.h"
#include "vectordb/idarray.h"
#include "vectordb/local/rowstore.h"
#include "vectordb/matrix/matrixfile.h"
#include "vectordb/searcharguments.h"
#include "vectordb/searchresults.h"

#include <cstdint>
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
    FileHead head(std::int64_t generation) const;
    std::shared_ptr<MatrixFile> matrix() const;

    RowStore &m_rows;
    const CollectionDefinition m_definition; ///< never written to: searches read it unlocked
    const std::string m_path;
    const MatrixLayout m_layout;
    std::int64_t m_generation;        ///< of the matrix file; under the store's lock
    mutable std::mutex m_matrixMutex; ///< over the pointer; calls keep what they took
    std::shared_ptr<MatrixFile> m_matrix;
};
} // namespace VectorDB
