#pragma once
// How the vectors of a collection are searched. Plain value. Any thread.

#include <string>
#include <utility>

namespace VectorDB
{
enum class IndexType : int {
    FLAT = 1, ///< every vector is compared: results are exact
};

enum class MetricType : int {
    COSINE = 3, ///< from -1 to 1, larger is closer
};

class IndexDesc
{
public:
    IndexDesc(std::string fieldName, std::string indexName, long indexId, IndexType indexType,
              MetricType metricType)
        : m_fieldName(std::move(fieldName))
        , m_indexName(std::move(indexName))
        , m_indexId(indexId)
        , m_indexType(indexType)
        , m_metricType(metricType)
    {
    }

    const std::string &FieldName() const { return m_fieldName; }
    const std::string &IndexName() const { return m_indexName; }
    long IndexId() const { return m_indexId; }
    VectorDB::IndexType IndexType() const { return m_indexType; }
    VectorDB::MetricType MetricType() const { return m_metricType; }

private:
    std::string m_fieldName;
    std::string m_indexName;
    long m_indexId;
    VectorDB::IndexType m_indexType;
    VectorDB::MetricType m_metricType;
};
} // namespace VectorDB
