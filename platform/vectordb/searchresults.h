#pragma once
// The rows that a search found. Plain values. Any thread.

#include "vectordb/field.h"
#include "vectordb/idarray.h"

#include <string>
#include <utility>
#include <vector>

namespace VectorDB
{
/// The nearest rows of one target vector.
class SingleResult
{
public:
    SingleResult(IDArray ids, std::vector<float> scores, std::vector<FieldPtr> outputFields)
        : m_ids(std::move(ids))
        , m_scores(std::move(scores))
        , m_outputFields(std::move(outputFields))
    {
    }

    const IDArray &Ids() const { return m_ids; }

    /// Best first, equal ones in the order of insertion.
    const std::vector<float> &Scores() const { return m_scores; }

    /// The FieldData of a field that was asked for, rows as in Scores(); null for any other name.
    FieldPtr OutputField(const std::string &name) const
    {
        for (const FieldPtr &field : m_outputFields) {
            if (field->Name() == name) {
                return field;
            }
        }
        return nullptr;
    }

private:
    IDArray m_ids;
    std::vector<float> m_scores;
    std::vector<FieldPtr> m_outputFields;
};

class SearchResults
{
public:
    /// One for each target vector, in their order.
    const std::vector<SingleResult> &Results() const { return m_results; }
    void SetResults(std::vector<SingleResult> results) { m_results = std::move(results); }

private:
    std::vector<SingleResult> m_results;
};
} // namespace VectorDB
