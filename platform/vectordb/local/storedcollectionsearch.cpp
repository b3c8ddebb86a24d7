// Searches of a collection; its rows are handled in storedcollection.cpp.

#include "vectordb/local/storedcollection.h"
#include "vectordb/matrix/flatsearch.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace VectorDB
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
} // namespace

Status StoredCollection::check(const SearchArguments &arguments) const
{
    if (arguments.TopK() < 1) {
        return {StatusCode::INVALID_ARGUMENT, "a top-k of at least 1 is wanted"};
    }
    if (arguments.Targets().empty()) {
        return {StatusCode::INVALID_ARGUMENT, "no vector to search for"};
    }
    const std::vector<FieldSchema> &fields = m_definition.schema.Fields();
    for (const std::string &name : arguments.OutputFields()) {
        if (std::none_of(fields.begin(), fields.end(),
                         [&name](const FieldSchema &field) { return field.Name() == name; })) {
            return {StatusCode::INVALID_ARGUMENT, "no field has the name of an output field"};
        }
    }
    for (const SearchArguments::Target &target : arguments.Targets()) {
        if (target.field != m_definition.field(m_definition.vector).Name()) {
            return {StatusCode::INVALID_ARGUMENT, "no vector field has the name of the target's"};
        }
        if (target.vector.size() != m_definition.dimension()) {
            return {StatusCode::WRONG_DIMENSION,
                    "field " + target.field + ": " + std::to_string(target.vector.size()) +
                        " floats, " + std::to_string(m_definition.dimension()) + " wanted"};
        }
        if (!std::all_of(target.vector.begin(), target.vector.end(),
                         [](float value) { return std::isfinite(value); })) {
            return {StatusCode::INVALID_ARGUMENT,
                    "field " + target.field + ": not a finite number"};
        }
    }
    return matrix()->checkReachable();
}

FieldPtr StoredCollection::column(std::size_t place, std::vector<std::vector<Scalar>> &rows) const
{
    const FieldSchema &field = m_definition.scalar(place);
    switch (field.Type()) {
    case DataType::INT32:
        return makeColumn<Int32FieldData, int>(field.Name(), place, rows);
    case DataType::INT64:
        return makeColumn<Int64FieldData, long>(field.Name(), place, rows);
    default:
        return makeColumn<VarCharFieldData, std::string>(field.Name(), place, rows);
    }
}

FieldPtr StoredCollection::vectorColumn(std::vector<std::vector<float>> &vectors) const
{
    return std::make_shared<FloatVectorFieldData>(m_definition.field(m_definition.vector).Name(),
                                                  std::move(vectors));
}

std::optional<SingleResult> StoredCollection::search(const MatrixSnapshot &matrix,
                                                     const std::vector<float> &vector,
                                                     const SearchArguments &arguments) const
{
    const std::vector<std::string> &wanted = arguments.OutputFields();
    const std::string &vectorName = m_definition.field(m_definition.vector).Name();
    const bool wantsVectors = std::find(wanted.begin(), wanted.end(), vectorName) != wanted.end();
    const std::optional<std::vector<Hit>> hits =
        searchFlat(matrix, vector, static_cast<std::size_t>(arguments.TopK()));
    if (!hits) {
        return std::nullopt;
    }

    std::vector<std::string> keys;
    std::vector<float> scores;
    std::vector<std::vector<Scalar>> rows;
    std::vector<std::vector<float>> vectors;
    for (const Hit &hit : *hits) {
        const MatrixSegment &segment = *(*matrix.segments)[hit.row / SEGMENT_ROWS];
        const std::size_t slot = hit.row % SEGMENT_ROWS;
        const char *card = segment.card(slot);
        std::vector<Scalar> row;
        for (std::size_t place = 0; place < m_definition.scalars.size(); ++place) {
            row.push_back(m_layout.scalar(card, place));
        }
        std::vector<float> floats;
        if (wantsVectors) {
            floats.assign(segment.floats(slot), segment.floats(slot) + m_definition.dimension());
        }
        if (!segment.isAlive(slot)) { // deleted, and perhaps wiped while it was read
            continue;
        }
        keys.push_back(std::get<std::string>(row[m_definition.primary]));
        scores.push_back(static_cast<float>(hit.score));
        rows.push_back(std::move(row));
        vectors.push_back(std::move(floats));
    }

    std::vector<FieldPtr> columns;
    for (std::size_t place = 0; place < m_definition.scalars.size(); ++place) {
        if (std::find(wanted.begin(), wanted.end(), m_definition.scalar(place).Name()) !=
            wanted.end()) {
            columns.push_back(column(place, rows));
        }
    }
    if (wantsVectors) {
        columns.push_back(vectorColumn(vectors));
    }
    return SingleResult(IDArray(std::move(keys)), std::move(scores), std::move(columns));
}
} // namespace VectorDB
