#pragma once
// A collection as the store of rows knows it, and one row of it. Plain values. Any thread.

#include "vectordb/indexdesc.h"
#include "vectordb/schema.h"
#include "vectordb/status.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <variant>
#include <vector>

namespace VectorDB
{
struct CollectionDefinition {
    CollectionSchema schema;
    IndexDesc index;
    std::int64_t number = 0;          ///< names its tables and files; set by the store of rows
    std::int64_t generation = 0;      ///< of the matrix file that belongs to the rows
    std::size_t primary = 0;          ///< the key's place among @a scalars
    std::size_t vector = 0;           ///< the vector's place among the fields
    std::vector<std::size_t> scalars; ///< places of all other fields, in their order

    const FieldSchema &field(std::size_t place) const { return schema.Fields()[place]; }
    const FieldSchema &scalar(std::size_t place) const { return field(scalars[place]); }
    std::string table() const { return "rows_" + std::to_string(number); }
    std::size_t dimension() const { return field(vector).Dimension(); }
};

/// Checks what a caller wants and fills in the places. NOT_SUPPORTED or INVALID_ARGUMENT, with the
/// field's name, for what this store can't hold.
Status defineCollection(CollectionDefinition &definition);

using Scalar = std::variant<std::int64_t, std::string>;

/// One row; the vector belongs to whoever made it.
struct RowValues {
    std::vector<Scalar> scalars; ///< as CollectionDefinition::scalars
    const float *vector = nullptr;
};
} // namespace VectorDB
