#pragma once
// Primary keys of rows: numbers or texts, whichever the collection has. Plain value. Any thread.

#include <string>
#include <utility>
#include <vector>

namespace VectorDB
{
class IDArray
{
public:
    IDArray() = default;
    explicit IDArray(std::vector<long> &&ids) : m_intIds(std::move(ids)) {}
    explicit IDArray(std::vector<std::string> &&ids) : m_strIds(std::move(ids)) {}

    /// Empty for a collection with numbers for keys, and the other way round.
    const std::vector<long> &IntIDArray() const { return m_intIds; }
    const std::vector<std::string> &StrIDArray() const { return m_strIds; }

private:
    std::vector<long> m_intIds;
    std::vector<std::string> m_strIds;
};

/// What an insert or a delete did.
class DmlResults
{
public:
    /// The keys of the rows that were stored or deleted, in the order of their insertion.
    const IDArray &IdArray() const { return m_ids; }
    void SetIdArray(IDArray ids) { m_ids = std::move(ids); }

private:
    IDArray m_ids;
};
} // namespace VectorDB
