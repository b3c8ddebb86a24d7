#include "lineorder.h"

#include "unionfind.h"

#include <algorithm>
#include <numeric>
#include <tuple>

namespace coreai
{
namespace
{
int bottomOf(const cv::Rect &box)
{
    return box.y + box.height;
}

int rightOf(const cv::Rect &box)
{
    return box.x + box.width;
}

// Lines of one paragraph, or pieces of one line. The cells of a table stand too far apart, so that
// they are blocks of their own and read row by row.
bool ofOneBlock(const cv::Rect &a, const cv::Rect &b)
{
    const int low = std::min(a.height, b.height);
    const int high = std::max(a.height, b.height);
    if (high > 2 * low)
        return false;
    const int rowsApart = std::max(a.y, b.y) - std::min(bottomOf(a), bottomOf(b));
    const int columnsApart = std::max(a.x, b.x) - std::min(rightOf(a), rightOf(b));
    if (columnsApart < 0)
        return 5 * rowsApart <= 6 * high;
    return 2 * rowsApart <= -low && columnsApart <= 2 * high;
}

// Orders `boxes` by rows, and within a row from the left. A box whose top lies above the middle of
// a row's first box is of that row.
void sortByRows(std::vector<int> &indices, const std::vector<cv::Rect> &boxes)
{
    const auto higher = [&](int a, int b) {
        return std::tie(boxes[a].y, boxes[a].x, a) < std::tie(boxes[b].y, boxes[b].x, b);
    };
    const auto leftOf = [&](int a, int b) {
        return std::tie(boxes[a].x, boxes[a].y, a) < std::tie(boxes[b].x, boxes[b].y, b);
    };
    std::sort(indices.begin(), indices.end(), higher);
    for (auto first = indices.begin(); first != indices.end();) {
        const cv::Rect &box = boxes[*first];
        const auto last = std::find_if(first, indices.end(),
                                       [&](int i) { return boxes[i].y > box.y + box.height / 2; });
        std::sort(first, last, leftOf);
        first = last;
    }
}

// For each line the line that stands for its block.
std::vector<int> blocksOf(const std::vector<cv::Rect> &lines)
{
    std::vector<int> parents(lines.size());
    std::iota(parents.begin(), parents.end(), 0);
    std::vector<int> fromTop = parents;
    std::sort(fromTop.begin(), fromTop.end(),
              [&](int a, int b) { return lines[a].y < lines[b].y; });
    for (std::size_t i = 0; i < fromTop.size(); ++i) {
        const cv::Rect &upper = lines[fromTop[i]];
        const int reach = bottomOf(upper) + 3 * upper.height; // ofOneBlock() is false beyond
        for (std::size_t j = i + 1; j < fromTop.size() && lines[fromTop[j]].y <= reach; ++j) {
            if (ofOneBlock(upper, lines[fromTop[j]]))
                parents[rootOf(parents, fromTop[j])] = rootOf(parents, fromTop[i]);
        }
    }
    for (std::size_t i = 0; i < parents.size(); ++i)
        parents[i] = rootOf(parents, static_cast<int>(i));
    return parents;
}
} // namespace

std::vector<int> readingOrder(const std::vector<cv::Rect> &lines)
{
    std::vector<int> order(lines.size());
    std::iota(order.begin(), order.end(), 0);
    sortByRows(order, lines);

    // Blocks stand where their first lines do.
    const std::vector<int> blockOf = blocksOf(lines);
    std::vector<std::vector<int>> blocks(lines.size());
    for (int line : order)
        blocks[blockOf[line]].push_back(line);
    std::vector<int> firstLines;
    std::vector<int> sorted;
    for (const std::vector<int> &block : blocks) {
        if (!block.empty())
            firstLines.push_back(block.front());
    }
    sortByRows(firstLines, lines);
    for (int first : firstLines) {
        std::vector<int> &block = blocks[blockOf[first]];
        sortByRows(block, lines);
        sorted.insert(sorted.end(), block.begin(), block.end());
    }
    return sorted;
}
} // namespace coreai
