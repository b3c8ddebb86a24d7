#include "vectordb/matrix/flatsearch.h"

#include "vectordb/matrix/scankernel.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <system_error>
#include <thread>

namespace VectorDB
{
namespace
{
// Scores and their bounds in steps, for counting: a finer scale would only save a few exact scores.
constexpr std::size_t STEPS = 8192;
constexpr double REACH = 1.5; // beyond every score and its bound
constexpr std::uint16_t DEAD = 0xffff;
using Histogram = std::array<std::size_t, STEPS>;

// Never falling: a value below another one is in no higher step.
std::uint16_t stepOf(double value)
{
    const double step = (value + REACH) * (STEPS / (2.0 * REACH));
    return static_cast<std::uint16_t>(std::clamp(step, 0.0, STEPS - 1.0));
}

// More threads than this wait for the memory, not for each other.
constexpr std::size_t GREATEST_WORKERS = 4;
constexpr std::size_t SEGMENTS_PER_WORKER = 4;

std::size_t workersFor(std::size_t segments)
{
    const std::size_t cores = std::max(1U, std::thread::hardware_concurrency());
    return std::clamp<std::size_t>(segments / SEGMENTS_PER_WORKER, 1,
                                   std::min(cores, GREATEST_WORKERS));
}

// Runs work(worker, place) for every segment, each worker over a stretch of its own.
template <typename Work>
void forEachSegment(std::size_t segments, std::size_t workers, const Work &work)
{
    const auto stretch = [&](std::size_t worker) {
        const std::size_t end = segments * (worker + 1) / workers;
        for (std::size_t place = segments * worker / workers; place < end; ++place) {
            work(worker, place);
        }
    };
    std::vector<std::thread> threads;
    for (std::size_t worker = 1; worker < workers; ++worker) {
        try {
            threads.emplace_back(stretch, worker);
        } catch (const std::system_error &) { // the user's limit of threads
            stretch(worker);
        }
    }
    stretch(0);
    for (std::thread &thread : threads) {
        thread.join();
    }
}

// Notes for each row the step of the greatest score that it can have, and counts the steps of the
// least ones. False for damaged codes.
bool scan(const MatrixSnapshot &matrix, std::size_t place, const QueryCode &query,
          std::uint16_t *greatest, Histogram &least)
{
    MatrixSegment &segment = *(*matrix.segments)[place];
    const std::size_t rows = matrix.rowsOf(place);
    if (!segment.hasAlive()) {
        std::fill_n(greatest, rows, DEAD);
        return true;
    }
    if (!segment.areCodesWhole(rows)) {
        return false;
    }
    const ScanKernel product = scanKernel();
    for (std::size_t slot = 0; slot < rows; ++slot) {
        if (!segment.isAlive(slot)) {
            greatest[slot] = DEAD;
            continue;
        }
        const RowScale row = MatrixLayout::head(segment.card(slot)).scale;
        const double score = double{row.scale} * query.scale * product(segment.codes(slot), query);
        const double bound = errorBound(row, query);
        greatest[slot] = stepOf(score + bound);
        ++least[stepOf(score - bound)];
    }
    return true;
}

// The highest step that at least count rows are sure to reach.
std::uint16_t threshold(const std::vector<Histogram> &least, std::size_t count)
{
    std::size_t reached = 0;
    for (std::size_t step = STEPS; step-- > 0;) {
        for (const Histogram &part : least) {
            reached += part[step];
        }
        if (reached >= count) {
            return static_cast<std::uint16_t>(step);
        }
    }
    return 0;
}

// Adds the exact scores of the rows that can reach the wanted step. False for damaged floats.
bool score(const MatrixSnapshot &matrix, std::size_t place, const QueryCode &query,
           const std::uint16_t *greatest, std::uint16_t wanted, std::vector<Hit> &found)
{
    MatrixSegment &segment = *(*matrix.segments)[place];
    const std::size_t rows = matrix.rowsOf(place);
    for (std::size_t slot = 0; slot < rows; ++slot) {
        if (greatest[slot] == DEAD || greatest[slot] < wanted) {
            continue;
        }
        if (!segment.areFloatsWhole(slot)) {
            return false;
        }
        const double score = exactScore(segment.floats(slot), query);
        if (segment.isAlive(slot)) { // and so was not wiped while it was read
            found.push_back({score, place * SEGMENT_ROWS + slot});
        }
    }
    return true;
}

bool isBetter(const Hit &left, const Hit &right)
{
    return left.score != right.score ? left.score > right.score : left.row < right.row;
}

std::vector<Hit> best(const std::vector<std::vector<Hit>> &found, std::size_t count)
{
    std::vector<Hit> hits;
    for (const std::vector<Hit> &part : found) {
        hits.insert(hits.end(), part.begin(), part.end());
    }
    if (hits.size() > count) {
        const auto end = hits.begin() + static_cast<std::ptrdiff_t>(count);
        std::nth_element(hits.begin(), end, hits.end(), isBetter);
        hits.erase(end, hits.end());
    }
    std::sort(hits.begin(), hits.end(), isBetter);
    return hits;
}
} // namespace

std::optional<std::vector<Hit>> searchFlat(const MatrixSnapshot &matrix,
                                           const std::vector<float> &query, std::size_t count)
{
    const QueryCode code = encodeQuery(query);
    const std::size_t segments = (matrix.rows + SEGMENT_ROWS - 1) / SEGMENT_ROWS;
    const std::size_t workers = workersFor(segments);
    std::atomic<bool> isWhole{true};

    std::vector<std::uint16_t> greatest(matrix.rows);
    std::vector<Histogram> least(workers);
    forEachSegment(segments, workers, [&](std::size_t worker, std::size_t place) {
        if (!scan(matrix, place, code, greatest.data() + place * SEGMENT_ROWS, least[worker])) {
            isWhole = false;
        }
    });
    const std::uint16_t wanted = threshold(least, count);

    std::vector<std::vector<Hit>> found(workers);
    forEachSegment(segments, workers, [&](std::size_t worker, std::size_t place) {
        if (isWhole && !score(matrix, place, code, greatest.data() + place * SEGMENT_ROWS, wanted,
                              found[worker])) {
            isWhole = false;
        }
    });
    return isWhole ? std::optional(best(found, count)) : std::nullopt;
}
} // namespace VectorDB
