#pragma once
// A column of values, as rows go into a collection and come out of it. Plain values; a FieldData is
// held by std::shared_ptr<Field>. Any thread.

#include "vectordb/schema.h"

#include <cstddef>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace VectorDB
{
class Field
{
public:
    Field(const Field &) = delete;
    Field &operator=(const Field &) = delete;
    virtual ~Field() = default;

    const std::string &Name() const { return m_name; }
    DataType Type() const { return m_type; }

    /// Number of rows.
    virtual std::size_t Count() const = 0;

protected:
    Field(std::string name, DataType type) : m_name(std::move(name)), m_type(type) {}

private:
    std::string m_name;
    DataType m_type;
};

template <typename T, DataType type>
class FieldData : public Field
{
public:
    FieldData(std::string name, std::vector<T> values)
        : Field(std::move(name), type), m_values(std::move(values))
    {
    }

    std::size_t Count() const override { return m_values.size(); }
    const std::vector<T> &Data() const { return m_values; }

private:
    std::vector<T> m_values;
};

using VarCharFieldData = FieldData<std::string, DataType::VARCHAR>;
using FloatVectorFieldData = FieldData<std::vector<float>, DataType::FLOAT_VECTOR>;
using Int32FieldData = FieldData<int, DataType::INT32>;
using Int64FieldData = FieldData<long, DataType::INT64>;
using FieldPtr = std::shared_ptr<Field>;
} // namespace VectorDB
