#include "inkparts.h"

#include "edgemap.h"
#include "unionfind.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

namespace coreai
{
namespace
{
// Longer horizontals without any edge across them are borders and underlines, not strokes.
constexpr int longestStroke = 48;

enum Ink : uchar { Filled = 1, Sided = 2 };

// Bits of `edge` where it is no wall, so that no part reaches across one, such as from a photograph
// into the text beside it.
inline uchar inkOf(uchar edge, uchar ink)
{
    return static_cast<uchar>(edge & Wall ? 0 : ink);
}

// A stroke's rows are those with an edge at its side. Edges above and below only fill what lies
// between such edges: taken alone they would reach one row beyond the stroke, and lines of text
// that stand one row apart would touch.
void findInk(const uchar *edges, const uchar *edgesBelow, int width, uchar *ink)
{
    for (int x = 0; x + 1 < width; ++x) {
        const uchar sided = (edges[x] | edges[x + 1]) & SideEdge;
        const uchar filled = (edges[x] | edgesBelow[x]) & TopEdge;
        ink[x] = inkOf(edges[x], static_cast<uchar>((sided << 1) | (filled >> 1)));
    }
    const int last = width - 1;
    const uchar filled = (edges[last] | edgesBelow[last]) & TopEdge;
    ink[last] =
        inkOf(edges[last], static_cast<uchar>(((edges[last] & SideEdge) << 1) | (filled >> 1)));
}

int skipBlank(const uchar *ink, int x, int width)
{
    while (x + 8 <= width) {
        std::uint64_t eight;
        std::memcpy(&eight, ink + x, sizeof eight);
        if (eight)
            break;
        x += 8;
    }
    while (x < width && !ink[x])
        ++x;
    return x;
}

void appendRuns(const uchar *ink, int width, int row, std::vector<InkRun> &runs)
{
    for (int x = skipBlank(ink, 0, width); x < width; x = skipBlank(ink, x, width)) {
        int first = -1;
        int last = -1;
        for (; x < width && ink[x]; ++x) {
            if (!(ink[x] & Sided))
                continue;
            if (first >= 0 && x - last > longestStroke) {
                runs.push_back({row, first, last, 0});
                first = -1;
            }
            if (first < 0)
                first = x;
            last = x;
        }
        if (first >= 0)
            runs.push_back({row, first, last, 0});
    }
}

// Joins each run from `begin` on with those of the row before, from `above` to `begin`, that it
// touches, at corners too.
void joinRows(std::vector<InkRun> &runs, std::size_t above, std::size_t begin,
              std::vector<int> &parents)
{
    for (std::size_t i = begin; i < runs.size(); ++i) {
        InkRun &run = runs[i];
        run.part = static_cast<int>(parents.size());
        parents.push_back(run.part);
        while (above < begin && runs[above].last + 1 < run.first)
            ++above;
        for (std::size_t j = above; j < begin && runs[j].first <= run.last + 1; ++j) {
            const int a = rootOf(parents, runs[j].part);
            const int b = rootOf(parents, run.part);
            parents[std::max(a, b)] = std::min(a, b);
        }
    }
}

// Numbers the parts from 0 and measures them.
void measure(InkParts &parts, std::vector<int> &parents)
{
    std::vector<int> numbers(parents.size(), -1);
    for (InkRun &run : parts.runs) {
        const int root = rootOf(parents, run.part);
        const cv::Rect box(run.first, run.row, run.last - run.first + 1, 1);
        if (numbers[root] < 0) {
            numbers[root] = static_cast<int>(parts.boxes.size());
            parts.boxes.push_back(box);
        } else {
            parts.boxes[numbers[root]] |= box;
        }
        run.part = numbers[root];
    }
}
} // namespace

InkParts inkParts(const cv::Mat &edges)
{
    InkParts parts;
    std::vector<int> parents;
    std::vector<uchar> ink(edges.cols);
    const std::vector<uchar> nothing(edges.cols, 0);
    std::size_t above = 0;
    for (int y = 0; y < edges.rows; ++y) {
        const uchar *below = y + 1 < edges.rows ? edges.ptr(y + 1) : nothing.data();
        findInk(edges.ptr(y), below, edges.cols, ink.data());
        const std::size_t begin = parts.runs.size();
        appendRuns(ink.data(), edges.cols, y, parts.runs);
        joinRows(parts.runs, above, begin, parents);
        above = begin;
    }
    measure(parts, parents);
    return parts;
}
} // namespace coreai
