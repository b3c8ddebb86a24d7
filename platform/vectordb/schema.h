#pragma once
// What a collection holds: its name and its fields. Plain values. Any thread.

#include <cstddef>
#include <string>
#include <utility>
#include <vector>

namespace VectorDB
{
/// The numbers are those of the service's wire format.
enum class DataType : int {
    INT32 = 4,
    INT64 = 5,
    VARCHAR = 21,
    FLOAT_VECTOR = 101,
};

class FieldSchema
{
public:
    FieldSchema(std::string name, DataType type, std::string description, bool isPrimary = false,
                bool autoId = false)
        : m_name(std::move(name))
        , m_type(type)
        , m_description(std::move(description))
        , m_isPrimary(isPrimary)
        , m_autoId(autoId)
    {
    }

    /// Greatest length of a VARCHAR in bytes of UTF-8. It has to be told.
    FieldSchema &WithMaxLength(std::size_t bytes)
    {
        m_maxLength = bytes;
        return *this;
    }

    /// Number of floats of a FLOAT_VECTOR. It has to be told.
    FieldSchema &WithDimension(std::size_t floats)
    {
        m_dimension = floats;
        return *this;
    }

    const std::string &Name() const { return m_name; }
    DataType Type() const { return m_type; }
    const std::string &Description() const { return m_description; }
    bool IsPrimary() const { return m_isPrimary; }
    bool AutoId() const { return m_autoId; }
    std::size_t MaxLength() const { return m_maxLength; }
    std::size_t Dimension() const { return m_dimension; }

private:
    std::string m_name;
    DataType m_type;
    std::string m_description;
    bool m_isPrimary;
    bool m_autoId;
    std::size_t m_maxLength = 0;
    std::size_t m_dimension = 0;
};

class CollectionSchema
{
public:
    /// The last two are switches of a store that is spread over machines; a store on one machine
    /// gives them no meaning.
    CollectionSchema(std::string name, std::string description, bool /*spread*/ = true,
                     int /*parts*/ = 0)
        : m_name(std::move(name)), m_description(std::move(description))
    {
    }

    void AddField(FieldSchema field) { m_fields.push_back(std::move(field)); }

    const std::string &Name() const { return m_name; }
    const std::string &Description() const { return m_description; }
    const std::vector<FieldSchema> &Fields() const { return m_fields; }

private:
    std::string m_name;
    std::string m_description;
    std::vector<FieldSchema> m_fields;
};
} // namespace VectorDB
