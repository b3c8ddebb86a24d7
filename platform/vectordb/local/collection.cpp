#include "vectordb/local/collection.h"

#include <algorithm>
#include <cctype>
#include <set>
#include <string_view>

namespace VectorDB
{
namespace
{
constexpr std::size_t GREATEST_NAME = 64;
// Strings stand at full length in every row of the matrix file, and a query's sums are 32 bits
// wide.
constexpr std::size_t GREATEST_STRING = 1024;
constexpr std::size_t GREATEST_DIMENSION = 16384;
constexpr std::string_view ROW_COLUMN = "row_id"; // the store's own column

Status unsupported(const FieldSchema &field, const std::string &reason)
{
    return {StatusCode::NOT_SUPPORTED, "field " + field.Name() + ": " + reason};
}

// A name that may stand in SQL and in a file as it is.
bool isName(const std::string &name)
{
    const auto isNameCharacter = [](unsigned char c) { return std::isalnum(c) || c == '_'; };
    return !name.empty() && name.size() <= GREATEST_NAME && !std::isdigit(name[0] & 0xff) &&
           std::all_of(name.begin(), name.end(), isNameCharacter);
}

std::string lowered(std::string name)
{
    std::transform(name.begin(), name.end(), name.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return name;
}

Status checkField(const FieldSchema &field)
{
    if (field.AutoId()) {
        return unsupported(field, "keys are not made by this store");
    }
    switch (field.Type()) {
    case DataType::INT32:
    case DataType::INT64:
        return field.IsPrimary() ? unsupported(field, "a key has to be a string") : Status();
    case DataType::VARCHAR:
        return field.MaxLength() == 0 || field.MaxLength() > GREATEST_STRING
                   ? unsupported(field, "a greatest length of 1 to 1024 bytes is wanted")
                   : Status();
    case DataType::FLOAT_VECTOR:
        if (field.IsPrimary()) {
            return unsupported(field, "a key has to be a string");
        }
        return field.Dimension() == 0 || field.Dimension() > GREATEST_DIMENSION
                   ? unsupported(field, "a dimension of 1 to 16384 is wanted")
                   : Status();
    }
    return unsupported(field, "unknown type " + std::to_string(static_cast<int>(field.Type())));
}

Status checkNames(const CollectionSchema &schema)
{
    if (!isName(schema.Name())) {
        return {StatusCode::INVALID_ARGUMENT, "a collection's name is 1 to 64 letters, digits, _"};
    }
    std::set<std::string> seen{std::string(ROW_COLUMN)};
    for (const FieldSchema &field : schema.Fields()) {
        if (!isName(field.Name()) || !seen.insert(lowered(field.Name())).second) {
            return {StatusCode::INVALID_ARGUMENT,
                    "a field's name is 1 to 64 letters, digits, _, and stands once"};
        }
    }
    return {};
}
} // namespace

Status defineCollection(CollectionDefinition &definition)
{
    if (Status status = checkNames(definition.schema); !status.IsOk()) {
        return status;
    }
    std::size_t primaries = 0;
    std::size_t vectors = 0;
    definition.scalars.clear();
    const std::vector<FieldSchema> &fields = definition.schema.Fields();
    for (std::size_t place = 0; place < fields.size(); ++place) {
        if (Status status = checkField(fields[place]); !status.IsOk()) {
            return status;
        }
        if (fields[place].Type() == DataType::FLOAT_VECTOR) {
            definition.vector = place;
            ++vectors;
            continue;
        }
        if (fields[place].IsPrimary()) {
            definition.primary = definition.scalars.size();
            ++primaries;
        }
        definition.scalars.push_back(place);
    }
    if (primaries != 1 || vectors != 1) {
        return {StatusCode::NOT_SUPPORTED, "one primary field and one vector field are wanted"};
    }
    const IndexDesc &index = definition.index;
    if (index.FieldName() != definition.field(definition.vector).Name()) {
        return {StatusCode::INVALID_ARGUMENT, "the index names no vector field"};
    }
    if (index.IndexType() != IndexType::FLAT || index.MetricType() != MetricType::COSINE) {
        return {StatusCode::NOT_SUPPORTED, "only a flat index with the cosine is there"};
    }
    return {};
}
} // namespace VectorDB
