#pragma once
// The file that searches run over: a copy of every row of a collection in the order of insertion,
// made for reading from end to end. It can be thrown away at any time; what is true stands in the
// store of rows. Owner: VectorStore. Thread: reading (snapshot) from any; everything that changes
// it under the store's lock.

#include "vectordb/matrix/matrixsegment.h"
#include "vectordb/status.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace VectorDB
{
/// The rows as they were at one moment; rows deleted since are dead in it too.
struct MatrixSnapshot {
    using Segments = std::vector<std::shared_ptr<MatrixSegment>>;
    std::shared_ptr<const Segments> segments;
    std::size_t rows = 0;

    /// How many of the rows stand in the segment at @p place.
    std::size_t rowsOf(std::size_t place) const
    {
        return std::min(SEGMENT_ROWS, rows - place * SEGMENT_ROWS);
    }
};

class MatrixFile
{
public:
    ~MatrixFile();
    MatrixFile(const MatrixFile &) = delete;
    MatrixFile &operator=(const MatrixFile &) = delete;

    /// Makes an empty file in place of whatever stands at @p path.
    static Status create(const std::string &path, const MatrixLayout &layout, const FileHead &head,
                         std::unique_ptr<MatrixFile> &file);

    /// Null unless the file is whole, bears that head and holds exactly the rows of @p rowIds
    /// (ascending), beside dead ones. Rows beyond @p greatest were never committed and are dropped.
    static std::unique_ptr<MatrixFile> open(const std::string &path, const MatrixLayout &layout,
                                            const FileHead &head,
                                            const std::vector<std::int64_t> &rowIds,
                                            std::int64_t greatest);

    /// The file as it is, for searches alone, while its owner may be writing to it: whole rows are
    /// searched, a row that is being written or wiped is not. Null unless it is of that collection
    /// and layout.
    static std::unique_ptr<MatrixFile>
    openReadOnly(const std::string &path, const MatrixLayout &layout, std::int64_t collection);

    /// Writes a row behind the last one. It is no part of the matrix before publish().
    Status stage(std::int64_t rowId, const std::vector<Scalar> &scalars, const float *vector);
    void publish();
    void dropStaged() { m_staged = 0; }

    /// Takes the rows of @p rowIds (ascending) out of every search, those that run included.
    void hide(const std::vector<std::int64_t> &rowIds);

    /// Overwrites hidden rows. What a failure or a kill leaves readable is overwritten when the
    /// file is next opened, or has hasTornCard() true then.
    void wipe(const std::vector<std::int64_t> &rowIds);

    MatrixSnapshot snapshot() const;

    /// Fails if the file system is gone, as an encrypted folder goes with the process behind it:
    /// touching a mapped page would then end this process.
    Status checkReachable() const;
    const MatrixLayout &layout() const { return m_layout; }

    /// Rows that take room and are searched no more, and those that are searched.
    std::size_t deadRows() const { return m_dead; }
    std::size_t livingRows() const { return m_rows - m_dead; }

    /// Whether a full disk cut a card in two: rows behind it, deleted ones, may still be readable
    /// in the file, which is to be built anew.
    bool hasTornCard() const { return m_hasTornCard; }

private:
    MatrixFile(int file, const MatrixLayout &layout) : m_file(file), m_layout(layout) {}

    bool mapSegments();
    bool adopt(const std::vector<std::int64_t> &rowIds, std::int64_t greatest);
    bool readCards(std::size_t first, std::vector<char> &cards) const;
    void adoptWholeRows();
    Status addSegment();
    std::size_t find(std::int64_t rowId) const;
    const char *card(std::size_t row) const;
    std::vector<std::size_t> find(const std::vector<std::int64_t> &rowIds) const;
    void wipeRun(std::size_t first, std::size_t last);
    bool writeDead(std::size_t first, std::size_t last, Death death);
    bool clear(std::size_t offset, std::size_t bytes);
    std::size_t startOf(std::size_t row) const;

    int m_file;
    MatrixLayout m_layout;
    mutable std::mutex m_snapshotMutex; ///< over the next two
    std::shared_ptr<const MatrixSnapshot::Segments> m_segments =
        std::make_shared<const MatrixSnapshot::Segments>();
    std::size_t m_rows = 0;
    std::size_t m_staged = 0;
    std::size_t m_dead = 0;
    bool m_hasTornCard = false;
};
} // namespace VectorDB
