#pragma once
// A search over a collection's matrix: what it can be refused for, and its answer with the fields
// that were asked for. Plain functions; they know nothing of who keeps the matrix. Any thread.

#include "vectordb/local/collection.h"
#include "vectordb/matrix/matrixfile.h"
#include "vectordb/searcharguments.h"
#include "vectordb/searchresults.h"

#include <optional>
#include <vector>

namespace VectorDB::CollectionSearch
{
/// What a search can be refused for before it begins.
Status check(const CollectionDefinition &definition, const SearchArguments &arguments);

/// Null if the matrix is damaged.
std::optional<SingleResult> run(const CollectionDefinition &definition, const MatrixLayout &layout,
                                const MatrixSnapshot &matrix, const std::vector<float> &vector,
                                const SearchArguments &arguments);
} // namespace VectorDB::CollectionSearch
