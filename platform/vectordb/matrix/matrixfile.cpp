#include "vectordb/matrix/matrixfile.h"

#include "vectordb/local/privatefiles.h"

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/vfs.h>
#include <unistd.h>
#include <utility>

namespace VectorDB
{
namespace
{
constexpr std::size_t NONE = static_cast<std::size_t>(-1);

bool writeAll(int file, const void *data, std::size_t bytes, std::size_t offset)
{
    const char *from = static_cast<const char *>(data);
    while (bytes > 0) {
        const ssize_t written = pwrite(file, from, bytes, static_cast<off_t>(offset));
        if (written < 0 && errno == EINTR) {
            continue;
        }
        if (written <= 0) {
            return false;
        }
        from += written;
        offset += static_cast<std::size_t>(written);
        bytes -= static_cast<std::size_t>(written);
    }
    return true;
}

bool readAll(int file, char *to, std::size_t bytes, std::size_t offset)
{
    while (bytes > 0) {
        const ssize_t got = pread(file, to, bytes, static_cast<off_t>(offset));
        if (got < 0 && errno == EINTR) {
            continue;
        }
        if (got <= 0) {
            return false;
        }
        to += got;
        offset += static_cast<std::size_t>(got);
        bytes -= static_cast<std::size_t>(got);
    }
    return true;
}

FileHead sealed(FileHead head)
{
    const std::size_t start = offsetof(FileHead, version);
    head.checksum = checksumOf(reinterpret_cast<const char *>(&head) + start, sizeof(head) - start);
    return head;
}
} // namespace

MatrixFile::~MatrixFile()
{
    close(m_file);
}

Status MatrixFile::create(const std::string &path, const MatrixLayout &layout, const FileHead &head,
                          std::unique_ptr<MatrixFile> &file)
{
    const std::string doing = "make " + path;
    unlink(path.c_str());
    const int descriptor = ::open(path.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
    if (descriptor < 0) {
        return PrivateFiles::systemFailure(doing);
    }
    file.reset(new MatrixFile(descriptor, layout));
    const FileHead written = sealed(head);
    if (!writeAll(descriptor, &written, sizeof(written), 0) ||
        ftruncate(descriptor, MatrixLayout::HEAD_BYTES) != 0) {
        return PrivateFiles::systemFailure(doing);
    }
    return {};
}

std::unique_ptr<MatrixFile> MatrixFile::open(const std::string &path, const MatrixLayout &layout,
                                             const FileHead &head,
                                             const std::vector<std::int64_t> &rowIds,
                                             std::int64_t greatest)
{
    const int descriptor = ::open(path.c_str(), O_RDWR | O_CLOEXEC);
    if (descriptor < 0) {
        return nullptr;
    }
    std::unique_ptr<MatrixFile> file(new MatrixFile(descriptor, layout));
    FileHead read;
    const FileHead expected = sealed(head);
    if (pread(descriptor, &read, sizeof(read), 0) != ssize_t{sizeof(read)} ||
        std::memcmp(&read, &expected, sizeof(read)) != 0 || fchmod(descriptor, 0600) != 0) {
        return nullptr;
    }
    return file->adopt(rowIds, greatest) ? std::move(file) : nullptr;
}

bool MatrixFile::mapSegments()
{
    struct stat facts {
    };
    if (fstat(m_file, &facts) != 0) {
        return false;
    }
    const auto bytes = static_cast<std::size_t>(facts.st_size);
    if (bytes < MatrixLayout::HEAD_BYTES ||
        (bytes - MatrixLayout::HEAD_BYTES) % m_layout.segmentBytes() != 0) {
        return false;
    }
    const std::size_t count = (bytes - MatrixLayout::HEAD_BYTES) / m_layout.segmentBytes();
    MatrixSnapshot::Segments segments;
    for (std::size_t place = 0; place < count; ++place) {
        segments.push_back(MatrixSegment::map(
            m_file, MatrixLayout::HEAD_BYTES + place * m_layout.segmentBytes(), m_layout));
        if (!segments.back()) {
            return false;
        }
    }
    m_segments = std::make_shared<const MatrixSnapshot::Segments>(std::move(segments));
    return true;
}

bool MatrixFile::adopt(const std::vector<std::int64_t> &rowIds, std::int64_t greatest)
{
    if (!mapSegments()) {
        return false;
    }
    std::vector<std::int64_t> gone; // deleted, but not yet wiped when the process ended
    std::size_t matched = 0;
    std::int64_t previous = 0;
    std::vector<char> cards;
    for (const std::size_t room = m_segments->size() * SEGMENT_ROWS; m_rows < room; ++m_rows) {
        const std::size_t slot = m_rows % SEGMENT_ROWS;
        if (slot == 0 && !readCards(m_rows, cards)) {
            return false;
        }
        const char *read = cards.data() + m_layout.card(slot);
        if (!m_layout.isCard(read)) {
            m_hasTornCard =
                std::any_of(read, read + m_layout.cardBytes(), [](char byte) { return byte != 0; });
            break;
        }
        const RowHead row = MatrixLayout::head(read);
        if (row.rowId <= previous || row.rowId > greatest) {
            break;
        }
        previous = row.rowId;
        const bool isStored = matched < rowIds.size() && rowIds[matched] == row.rowId;
        if (isStored && row.isDead()) {
            return false;
        }
        matched += isStored ? 1 : 0;
        m_dead += row.isDead() ? 1 : 0;
        (*m_segments)[m_rows / SEGMENT_ROWS]->setAlive(slot, !row.isDead());
        if (!isStored && row.death != WIPED) {
            gone.push_back(row.rowId);
        }
    }
    if (matched != rowIds.size()) {
        return false;
    }
    hide(gone);
    wipe(gone);
    return true;
}

// Read, not looked at in the mapping: where a full disk has no page for a hole, that would be a
// signal.
bool MatrixFile::readCards(std::size_t first, std::vector<char> &cards) const
{
    cards.resize(SEGMENT_ROWS * m_layout.cardBytes());
    return readAll(m_file, cards.data(), cards.size(), startOf(first) + m_layout.card(0));
}

std::unique_ptr<MatrixFile> MatrixFile::openReadOnly(const std::string &path,
                                                     const MatrixLayout &layout,
                                                     std::int64_t collection)
{
    const int descriptor = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (descriptor < 0) {
        return nullptr;
    }
    std::unique_ptr<MatrixFile> file(new MatrixFile(descriptor, layout));
    FileHead read;
    if (pread(descriptor, &read, sizeof(read), 0) != ssize_t{sizeof(read)}) {
        return nullptr;
    }
    FileHead expected; // of whichever store and generation
    expected.identity = read.identity;
    expected.collection = collection;
    expected.generation = read.generation;
    expected.dimension = static_cast<std::uint32_t>(layout.dimension());
    expected.cardBytes = static_cast<std::uint32_t>(layout.cardBytes());
    expected = sealed(expected);
    if (std::memcmp(&read, &expected, sizeof(read)) != 0 || !file->mapSegments()) {
        return nullptr;
    }
    file->adoptWholeRows();
    return file;
}

void MatrixFile::adoptWholeRows()
{
    for (std::size_t row = 0; row < m_segments->size() * SEGMENT_ROWS; ++row) {
        const bool isAlive = m_layout.isCard(card(row)) && !MatrixLayout::head(card(row)).isDead();
        (*m_segments)[row / SEGMENT_ROWS]->setAlive(row % SEGMENT_ROWS, isAlive);
    }
    m_rows = m_segments->size() * SEGMENT_ROWS;
}

Status MatrixFile::stage(std::int64_t rowId, const std::vector<Scalar> &scalars,
                         const float *vector)
{
    const std::size_t row = m_rows + m_staged;
    if (row / SEGMENT_ROWS >= m_segments->size()) {
        if (Status status = addSegment(); !status.IsOk()) {
            return status;
        }
    }
    std::vector<std::int8_t> codes(m_layout.codeBytes());
    RowHead head;
    head.rowId = rowId;
    head.scale = encodeRow(vector, m_layout.dimension(), codes.data());
    head.codeChecksum = checksumOf(codes.data(), m_layout.codeBytes());
    head.floatChecksum = checksumOf(vector, m_layout.floatBytes());
    const std::vector<char> card = m_layout.makeCard(head, scalars);
    const std::size_t start = startOf(row);
    const std::size_t slot = row % SEGMENT_ROWS;
    if (!writeAll(m_file, vector, m_layout.floatBytes(), start + m_layout.floats(slot)) ||
        !writeAll(m_file, codes.data(), codes.size(), start + m_layout.codes(slot)) ||
        !writeAll(m_file, card.data(), card.size(), start + m_layout.card(slot))) {
        return PrivateFiles::systemFailure("write to the matrix file");
    }
    ++m_staged;
    return {};
}

Status MatrixFile::addSegment()
{
    const std::size_t offset = startOf(m_segments->size() * SEGMENT_ROWS);
    // Holes take no room; what is written later can still find the disk full, which is an error of
    // that write and no signal, since nothing is written through the mapping.
    if (ftruncate(m_file, static_cast<off_t>(offset + m_layout.segmentBytes())) != 0) {
        return PrivateFiles::systemFailure("enlarge the matrix file");
    }
    std::shared_ptr<MatrixSegment> segment = MatrixSegment::map(m_file, offset, m_layout);
    if (!segment) {
        return PrivateFiles::systemFailure("map the matrix file");
    }
    auto segments = std::make_shared<MatrixSnapshot::Segments>(*m_segments);
    segments->push_back(std::move(segment));
    const std::lock_guard<std::mutex> lock(m_snapshotMutex);
    m_segments = std::move(segments);
    return {};
}

void MatrixFile::publish()
{
    for (std::size_t row = m_rows; row < m_rows + m_staged; ++row) {
        (*m_segments)[row / SEGMENT_ROWS]->setAlive(row % SEGMENT_ROWS, true);
    }
    const std::lock_guard<std::mutex> lock(m_snapshotMutex);
    m_rows += m_staged;
    m_staged = 0;
}

void MatrixFile::hide(const std::vector<std::int64_t> &rowIds)
{
    for (const std::size_t row : find(rowIds)) {
        MatrixSegment &segment = *(*m_segments)[row / SEGMENT_ROWS];
        m_dead += segment.isAlive(row % SEGMENT_ROWS) ? 1 : 0;
        segment.setAlive(row % SEGMENT_ROWS, false);
    }
}

void MatrixFile::wipe(const std::vector<std::int64_t> &rowIds)
{
    const std::vector<std::size_t> rows = find(rowIds);
    for (std::size_t first = 0; first < rows.size();) {
        std::size_t last = first;
        while (last + 1 < rows.size() && rows[last + 1] == rows[last] + 1 &&
               rows[last + 1] % SEGMENT_ROWS != 0) {
            ++last;
        }
        wipeRun(rows[first], rows[last]);
        first = last + 1;
    }
}

// A row is dead before its codes and floats go: a reader would else find it damaged. That it is
// wiped comes last, so that a kill in between leaves what the next opening ends.
void MatrixFile::wipeRun(std::size_t first, std::size_t last)
{
    const std::size_t start = startOf(first);
    const std::size_t slot = first % SEGMENT_ROWS;
    const std::size_t count = last - first + 1;
    if (writeDead(first, last, DYING) &&
        clear(start + m_layout.codes(slot), count * m_layout.codeBytes()) &&
        clear(start + m_layout.floats(slot), count * m_layout.floatBytes())) {
        writeDead(first, last, WIPED);
    }
}

bool MatrixFile::writeDead(std::size_t first, std::size_t last, Death death)
{
    std::vector<char> cards;
    for (std::size_t row = first; row <= last; ++row) {
        const std::vector<char> dead =
            m_layout.makeDeadCard(MatrixLayout::head(card(row)).rowId, death);
        cards.insert(cards.end(), dead.begin(), dead.end());
    }
    return writeAll(m_file, cards.data(), cards.size(),
                    startOf(first) + m_layout.card(first % SEGMENT_ROWS));
}

bool MatrixFile::clear(std::size_t offset, std::size_t bytes)
{
    if (fallocate(m_file, FALLOC_FL_PUNCH_HOLE | FALLOC_FL_KEEP_SIZE, static_cast<off_t>(offset),
                  static_cast<off_t>(bytes)) == 0) {
        return true;
    }
    const std::vector<char> zeros(bytes);
    return writeAll(m_file, zeros.data(), zeros.size(), offset);
}

Status MatrixFile::checkReachable() const
{
    struct statfs facts {
    };
    // Of all calls this one is never answered from the kernel's memory.
    return fstatfs(m_file, &facts) == 0 ? Status()
                                        : PrivateFiles::systemFailure("reach the matrix file");
}

MatrixSnapshot MatrixFile::snapshot() const
{
    const std::lock_guard<std::mutex> lock(m_snapshotMutex);
    return {m_segments, m_rows};
}

std::vector<std::size_t> MatrixFile::find(const std::vector<std::int64_t> &rowIds) const
{
    std::vector<std::size_t> rows;
    for (const std::int64_t rowId : rowIds) {
        const std::size_t row = find(rowId);
        if (row != NONE) {
            rows.push_back(row);
        }
    }
    return rows;
}

std::size_t MatrixFile::find(std::int64_t rowId) const
{
    std::size_t first = 0;
    std::size_t count = m_rows;
    while (count > 0) {
        const std::size_t half = count / 2;
        if (MatrixLayout::head(card(first + half)).rowId < rowId) {
            first += half + 1;
            count -= half + 1;
        } else {
            count = half;
        }
    }
    return first < m_rows && MatrixLayout::head(card(first)).rowId == rowId ? first : NONE;
}

const char *MatrixFile::card(std::size_t row) const
{
    return (*m_segments)[row / SEGMENT_ROWS]->card(row % SEGMENT_ROWS);
}

std::size_t MatrixFile::startOf(std::size_t row) const
{
    return MatrixLayout::HEAD_BYTES + row / SEGMENT_ROWS * m_layout.segmentBytes();
}
} // namespace VectorDB
