#pragma once
// Turns the columns of an insert into checked rows. Plain function. Any thread.

#include "vectordb/field.h"
#include "vectordb/local/collection.h"

#include <vector>

namespace VectorDB
{
/// Fills @p rows, whose vectors stay those of @p columns. COLUMN_MISMATCH, STRING_TOO_LONG,
/// WRONG_DIMENSION or INVALID_ARGUMENT, with the field's name and never its content.
Status rowsOf(const std::vector<FieldPtr> &columns, const CollectionDefinition &definition,
              std::vector<RowValues> &rows);
} // namespace VectorDB
