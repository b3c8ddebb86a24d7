#pragma once
// What to search for. Plain value; nothing is checked before Database::Search. Any thread.

#include <string>
#include <utility>
#include <vector>

namespace VectorDB
{
class SearchArguments
{
public:
    struct Target {
        std::string field;
        std::vector<float> vector;
    };

    void SetCollectionName(std::string name) { m_collectionName = std::move(name); }

    /// Greatest number of rows for each target.
    void SetTopK(long rows) { m_topK = rows; }

    /// A field that the results are to carry.
    void AddOutputField(std::string name) { m_outputFields.push_back(std::move(name)); }

    /// How fresh the answer has to be. What an insert has acknowledged is always searched, so every
    /// value is met.
    void SetGuaranteeTimestamp(unsigned long timestamp) { m_guaranteeTimestamp = timestamp; }

    /// A vector to search the nearest rows of, by the collection's vector field @p field.
    void AddTargetVector(std::string field, std::vector<float> &&vector)
    {
        m_targets.push_back({std::move(field), std::move(vector)});
    }

    const std::string &CollectionName() const { return m_collectionName; }
    long TopK() const { return m_topK; }
    const std::vector<std::string> &OutputFields() const { return m_outputFields; }
    unsigned long GuaranteeTimestamp() const { return m_guaranteeTimestamp; }
    const std::vector<Target> &Targets() const { return m_targets; }

private:
    std::string m_collectionName;
    long m_topK = 1;
    std::vector<std::string> m_outputFields;
    unsigned long m_guaranteeTimestamp = 0;
    std::vector<Target> m_targets;
};
} // namespace VectorDB
