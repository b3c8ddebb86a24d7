#include "vectordb/local/collectionsearch.h"

#include "vectordb/matrix/flatsearch.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace VectorDB::CollectionSearch
{
namespace
{
template <typename Data, typename Value>
FieldPtr makeColumn(const std::string &name, std::size_t place,
                    std::vector<std::vector<Scalar>> &rows)
{
    std::vector<Value> values;
    values.reserve(rows.size());
    for (std::vector<Scalar> &row : rows) {
        if constexpr (std::is_same_v<Value, std::string>) {
            values.push_back(std::get<std::string>(row[place]));
        } else {
            values.push_back(static_cast<Value>(std::get<std::int64_t>(row[place])));
        }
    }
    return std::make_shared<Data>(name, std::move(values));
}
FieldPtr column(const CollectionDefinition &definition, std::size_t place,
                std::vector<std::vector<Scalar>> &rows)
{
    const FieldSchema &field = definition.scalar(place);
    switch (field.Type()) {
    case DataType::INT32:
        return makeColumn<Int32FieldData, int>(field.Name(), place, rows);
    case DataType::INT64:
        return makeColumn<Int64FieldData, long>(field.Name(), place, rows);
    default:
        return makeColumn<VarCharFieldData, std::string>(field.Name(), place, rows);
    }
}

FieldPtr vectorColumn(const CollectionDefinition &definition,
                      std::vector<std::vector<float>> &vectors)
{
    return std::make_shared<FloatVectorFieldData>(definition.field(definition.vector).Name(),
                                                  std::move(vectors));
}
/// What a result's columns are made of.
struct FoundRows {
    std::vector<std::string> keys;
    std::vector<float> scores;
    std::vector<std::vector<Scalar>> rows;
    std::vector<std::vector<float>> vectors; ///< empty ones if they are not wanted
};

FoundRows rowsOf(const std::vector<Hit> &hits, const CollectionDefinition &definition,
                 const MatrixLayout &layout, const MatrixSnapshot &matrix, bool wantsVectors)
{
    FoundRows found;
    for (const Hit &hit : hits) {
        const MatrixSegment &segment = *(*matrix.segments)[hit.row / SEGMENT_ROWS];
        const std::size_t slot = hit.row % SEGMENT_ROWS;
        const char *card = segment.card(slot);
        std::vector<Scalar> row;
        for (std::size_t place = 0; place < definition.scalars.size(); ++place) {
            row.push_back(layout.scalar(card, place));
        }
        std::vector<float> floats;
        if (wantsVectors) {
            floats.assign(segment.floats(slot), segment.floats(slot) + definition.dimension());
        }
        if (!segment.isAlive(slot)) { // deleted, and perhaps wiped while it was read
            continue;
        }
        found.keys.push_back(std::get<std::string>(row[definition.primary]));
        found.scores.push_back(static_cast<float>(hit.score));
        found.rows.push_back(std::move(row));
        found.vectors.push_back(std::move(floats));
    }
    return found;
}
} // namespace

Status check(const CollectionDefinition &definition, const SearchArguments &arguments)
{
    if (arguments.TopK() < 1) {
        return {StatusCode::INVALID_ARGUMENT, "a top-k of at least 1 is wanted"};
    }
    if (arguments.Targets().empty()) {
        return {StatusCode::INVALID_ARGUMENT, "no vector to search for"};
    }
    const std::vector<FieldSchema> &fields = definition.schema.Fields();
    for (const std::string &name : arguments.OutputFields()) {
        if (std::none_of(fields.begin(), fields.end(),
                         [&name](const FieldSchema &field) { return field.Name() == name; })) {
            return {StatusCode::INVALID_ARGUMENT, "no field has the name of an output field"};
        }
    }
    for (const SearchArguments::Target &target : arguments.Targets()) {
        if (target.field != definition.field(definition.vector).Name()) {
            return {StatusCode::INVALID_ARGUMENT, "no vector field has the name of the target's"};
        }
        if (target.vector.size() != definition.dimension()) {
            return {StatusCode::WRONG_DIMENSION,
                    "field " + target.field + ": " + std::to_string(target.vector.size()) +
                        " floats, " + std::to_string(definition.dimension()) + " wanted"};
        }
        if (!std::all_of(target.vector.begin(), target.vector.end(),
                         [](float value) { return std::isfinite(value); })) {
            return {StatusCode::INVALID_ARGUMENT,
                    "field " + target.field + ": not a finite number"};
        }
    }
    return {};
}

std::optional<SingleResult> run(const CollectionDefinition &definition, const MatrixLayout &layout,
                                const MatrixSnapshot &matrix, const std::vector<float> &vector,
                                const SearchArguments &arguments)
{
    const std::vector<std::string> &wanted = arguments.OutputFields();
    const std::string &vectorName = definition.field(definition.vector).Name();
    const bool wantsVectors = std::find(wanted.begin(), wanted.end(), vectorName) != wanted.end();
    const std::optional<std::vector<Hit>> hits =
        searchFlat(matrix, vector, static_cast<std::size_t>(arguments.TopK()));
    if (!hits) {
        return std::nullopt;
    }

    FoundRows found = rowsOf(*hits, definition, layout, matrix, wantsVectors);
    std::vector<FieldPtr> columns;
    for (std::size_t place = 0; place < definition.scalars.size(); ++place) {
        if (std::find(wanted.begin(), wanted.end(), definition.scalar(place).Name()) !=
            wanted.end()) {
            columns.push_back(column(definition, place, found.rows));
        }
    }
    if (wantsVectors) {
        columns.push_back(vectorColumn(definition, found.vectors));
    }
    return SingleResult(IDArray(std::move(found.keys)), std::move(found.scores),
                        std::move(columns));
}
} // namespace VectorDB::CollectionSearch
