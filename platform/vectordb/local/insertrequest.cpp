#include "vectordb/local/insertrequest.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <string>

namespace VectorDB
{
namespace
{
Status mismatch(const std::string &reason)
{
    return {StatusCode::COLUMN_MISMATCH, reason};
}

// The column of a field, of the type that its number promises, or null.
template <typename Data>
const Data *columnAs(const FieldPtr &column)
{
    return dynamic_cast<const Data *>(column.get());
}

const FieldPtr *columnOf(const std::vector<FieldPtr> &columns, const std::string &name)
{
    const auto found =
        std::find_if(columns.begin(), columns.end(),
                     [&name](const FieldPtr &column) { return column && column->Name() == name; });
    return found == columns.end() ? nullptr : &*found;
}

Status checkLengths(const std::vector<FieldPtr> &columns, const CollectionDefinition &definition)
{
    const std::size_t fields = definition.schema.Fields().size();
    if (columns.size() != fields) {
        return mismatch(std::to_string(columns.size()) + " columns for " + std::to_string(fields) +
                        " fields");
    }
    for (const FieldPtr &column : columns) {
        if (!column || column->Count() != columns.front()->Count()) {
            return mismatch("columns of different length");
        }
    }
    return columns.front()->Count() > 0 ? Status() : mismatch("columns without rows");
}

Status addText(const std::string &text, const FieldSchema &field, RowValues &row)
{
    if (text.size() > field.MaxLength()) {
        return {StatusCode::STRING_TOO_LONG, "field " + field.Name() + ": " +
                                                 std::to_string(text.size()) + " bytes, at most " +
                                                 std::to_string(field.MaxLength()) + " fit"};
    }
    row.scalars.emplace_back(text);
    return {};
}

Status addVector(const std::vector<float> &vector, const FieldSchema &field, RowValues &row)
{
    if (vector.size() != field.Dimension()) {
        return {StatusCode::WRONG_DIMENSION, "field " + field.Name() + ": " +
                                                 std::to_string(vector.size()) + " floats, " +
                                                 std::to_string(field.Dimension()) + " wanted"};
    }
    if (!std::all_of(vector.begin(), vector.end(),
                     [](float value) { return std::isfinite(value); })) {
        return {StatusCode::INVALID_ARGUMENT, "field " + field.Name() + ": not a finite number"};
    }
    row.vector = vector.data();
    return {};
}

template <typename Data, typename Add>
Status addColumn(const FieldPtr &column, const FieldSchema &field, std::vector<RowValues> &rows,
                 const Add &add)
{
    const auto *data = columnAs<Data>(column);
    if (!data) {
        return mismatch("field " + field.Name() + ": a column of another type");
    }
    for (std::size_t row = 0; row < rows.size(); ++row) {
        if (Status status = add(data->Data()[row], field, rows[row]); !status.IsOk()) {
            return status;
        }
    }
    return {};
}

template <typename Number>
Status addNumber(Number number, const FieldSchema & /*field*/, RowValues &row)
{
    row.scalars.emplace_back(std::int64_t{number});
    return {};
}

Status addField(const FieldPtr &column, const FieldSchema &field, std::vector<RowValues> &rows)
{
    switch (field.Type()) {
    case DataType::INT32:
        return addColumn<Int32FieldData>(column, field, rows, addNumber<int>);
    case DataType::INT64:
        return addColumn<Int64FieldData>(column, field, rows, addNumber<long>);
    case DataType::VARCHAR:
        return addColumn<VarCharFieldData>(column, field, rows, addText);
    case DataType::FLOAT_VECTOR:
        return addColumn<FloatVectorFieldData>(column, field, rows, addVector);
    }
    return mismatch("field " + field.Name() + ": unknown type");
}
} // namespace

Status rowsOf(const std::vector<FieldPtr> &columns, const CollectionDefinition &definition,
              std::vector<RowValues> &rows)
{
    if (Status status = checkLengths(columns, definition); !status.IsOk()) {
        return status;
    }
    rows.resize(columns.front()->Count());
    for (const FieldSchema &field : definition.schema.Fields()) {
        const FieldPtr *column = columnOf(columns, field.Name());
        if (!column) {
            return mismatch("no column for field " + field.Name());
        }
        if (Status status = addField(*column, field, rows); !status.IsOk()) {
            return status;
        }
    }
    return {};
}
} // namespace VectorDB
