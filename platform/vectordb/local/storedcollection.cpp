#include "vectordb/local/storedcollection.h"

#include "vectordb/local/collectionsearch.h"
#include "vectordb/local/insertrequest.h"
#include "vectordb/local/privatefiles.h"

#include <algorithm>
#include <cstdio>
#include <utility>

namespace VectorDB
{
namespace
{
// Dead rows cost a look each; from this share on a new file is worth its making.
constexpr std::size_t DEAD_SHARE = 4;
constexpr std::size_t DEAD_ALLOWED = 1024;
constexpr std::size_t FEW_ROWS = 2000;
} // namespace

StoredCollection::StoredCollection(RowStore &rows, CollectionDefinition definition,
                                   const std::string &directory)
    : m_rows(rows)
    , m_definition(std::move(definition))
    , m_path(directory + "matrix_" + std::to_string(m_definition.number) + ".bin")
    , m_layout(m_definition)
    , m_generation(m_definition.generation)
{
}

FileHead StoredCollection::head(std::int64_t generation) const
{
    FileHead head;
    std::copy_n(m_rows.identity().begin(), head.identity.size(), head.identity.begin());
    head.collection = m_definition.number;
    head.generation = generation;
    head.dimension = static_cast<std::uint32_t>(m_layout.dimension());
    head.cardBytes = static_cast<std::uint32_t>(m_layout.cardBytes());
    return head;
}

Status StoredCollection::open()
{
    std::vector<std::int64_t> rowIds;
    std::int64_t greatest = 0;
    if (Status status = m_rows.rowIds(m_definition, rowIds, greatest); !status.IsOk()) {
        return status;
    }
    std::shared_ptr<MatrixFile> matrix =
        MatrixFile::open(m_path, m_layout, head(m_generation), rowIds, greatest);
    const bool isWornOut = !matrix || matrix->hasTornCard() ||
                           matrix->deadRows() > rowIds.size() / DEAD_SHARE + DEAD_ALLOWED;
    if (isWornOut) {
        // Without room for another one the searches run over what there is.
        Status rebuilt = rebuild();
        if (rebuilt.IsOk() || !matrix) {
            return rebuilt;
        }
    }
    const std::lock_guard<std::mutex> lock(m_matrixMutex);
    m_matrix = std::move(matrix);
    return {};
}

// The new file gets its name after the store of rows has been told its generation: whatever comes
// between, the file that then bears the name is not taken for the right one.
Status StoredCollection::rebuild()
{
    const std::int64_t generation = m_generation + 1;
    std::unique_ptr<MatrixFile> built;
    const std::string path = m_path + ".new";
    Status status = MatrixFile::create(path, m_layout, head(generation), built);
    if (status.IsOk()) {
        status =
            m_rows.forEachRow(m_definition, [&built](std::int64_t rowId, const RowValues &row) {
                Status staged = built->stage(rowId, row.scalars, row.vector);
                built->publish();
                return staged;
            });
    }
    if (status.IsOk()) {
        status = m_rows.setGeneration(m_definition, generation);
    }
    if (status.IsOk() && std::rename(path.c_str(), m_path.c_str()) != 0) {
        status = PrivateFiles::systemFailure("put the matrix file in its place");
    }
    if (!status.IsOk()) {
        std::remove(path.c_str());
        return status;
    }
    m_generation = generation;
    const std::lock_guard<std::mutex> lock(m_matrixMutex);
    m_matrix = std::move(built);
    return {};
}

std::shared_ptr<MatrixFile> StoredCollection::matrix() const
{
    const std::lock_guard<std::mutex> lock(m_matrixMutex);
    return m_matrix;
}

MatrixSnapshot StoredCollection::snapshot() const
{
    return matrix()->snapshot();
}

Status StoredCollection::check(const SearchArguments &arguments) const
{
    Status status = CollectionSearch::check(m_definition, arguments);
    return status.IsOk() ? matrix()->checkReachable() : status;
}

std::optional<SingleResult> StoredCollection::search(const MatrixSnapshot &matrix,
                                                     const std::vector<float> &vector,
                                                     const SearchArguments &arguments) const
{
    return CollectionSearch::run(m_definition, m_layout, matrix, vector, arguments);
}

Status StoredCollection::repair(const MatrixSnapshot &damaged)
{
    const MatrixSnapshot present = snapshot();
    const bool isTheSame = present.rows > 0 && damaged.rows > 0 &&
                           present.segments->front() == damaged.segments->front();
    return isTheSame ? rebuild() : Status();
}

// The matrix is written before the rows are committed: what a killed process leaves in it beyond
// the committed rows is dropped at the next start, while a committed row is always there.
Status StoredCollection::insert(const std::vector<FieldPtr> &columns, DmlResults &results)
{
    std::vector<RowValues> rows;
    if (Status status = rowsOf(columns, m_definition, rows); !status.IsOk()) {
        return status;
    }
    const std::shared_ptr<MatrixFile> target = matrix();
    SqliteTransaction transaction(m_rows.handle());
    Status status = transaction.begin();
    std::vector<std::string> keys;
    for (const RowValues &row : rows) {
        std::int64_t rowId = 0;
        if (status.IsOk()) {
            status = m_rows.insert(m_definition, row, rowId);
        }
        if (status.IsOk()) {
            status = target->stage(rowId, row.scalars, row.vector);
        }
        keys.push_back(std::get<std::string>(row.scalars[m_definition.primary]));
    }
    if (status.IsOk()) {
        status = transaction.commit();
    }
    if (!status.IsOk()) {
        target->dropStaged();
        return status;
    }
    target->publish();
    results.SetIdArray(IDArray(std::move(keys)));
    return {};
}

Status StoredCollection::remove(const std::string &filter, DmlResults &results)
{
    std::string error;
    const std::optional<RangeFilter> range = parseRangeFilter(filter, error);
    if (!range) {
        return {StatusCode::INVALID_FILTER, "filter: " + error};
    }
    const std::vector<FieldSchema> &fields = m_definition.schema.Fields();
    const bool isNumber = std::any_of(fields.begin(), fields.end(), [&](const FieldSchema &field) {
        return field.Name() == range->field &&
               (field.Type() == DataType::INT32 || field.Type() == DataType::INT64);
    });
    if (!isNumber) {
        return {StatusCode::INVALID_FILTER, "filter: no field of numbers has that name"};
    }
    RowStore::Removed removed;
    if (Status status = m_rows.remove(m_definition, *range, removed); !status.IsOk()) {
        return status;
    }
    const std::shared_ptr<MatrixFile> target = matrix();
    target->hide(removed.rowIds);
    // Where little is left a new file costs less than overwriting the old one.
    if (removed.rowIds.size() <= FEW_ROWS || target->livingRows() > FEW_ROWS || !rebuild().IsOk()) {
        target->wipe(removed.rowIds);
    }
    results.SetIdArray(IDArray(std::move(removed.keys)));
    return {};
}
} // namespace VectorDB
