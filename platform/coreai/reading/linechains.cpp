#include "linechains.h"

#include "edgemap.h"
#include "partgrid.h"

#include <algorithm>
#include <climits>

namespace coreai
{
namespace
{
// The tallest part that can be text.
constexpr int tallestPart = 80;

int gapBetween(const cv::Rect &a, const cv::Rect &b)
{
    return std::max(a.x, b.x) - std::min(a.x + a.width, b.x + b.width);
}

int overlapOfRows(const cv::Rect &a, const cv::Rect &b)
{
    return std::min(a.y + a.height, b.y + b.height) - std::max(a.y, b.y);
}

// Whether `a` and `b` stand beside each other as letters or words of one line do. Small marks such
// as a hyphen count where they stand between the top and the bottom of a letter near them.
bool chained(const cv::Rect &a, const cv::Rect &b)
{
    const int low = std::min(a.height, b.height);
    const int high = std::max(a.height, b.height);
    const int overlap = overlapOfRows(a, b);
    const int gap = gapBetween(a, b);
    if (high <= 2 * low + 2)
        return 2 * overlap >= low && 9 * high <= 20 * overlap + 20 &&
               gap <= std::min(high, 3 * low + 4);
    return overlap == low && gap * 10 <= high * 6;
}

class Chainer
{
public:
    Chainer(const InkParts &parts, const cv::Mat &edges)
        : m_parts(parts.boxes)
        , m_edges(edges)
        , m_grid(parts.boxes, edges.size())
        , m_parents(parts.boxes.size())
        , m_boxes(parts.boxes)
    {
        for (std::size_t i = 0; i < m_parents.size(); ++i)
            m_parents[i] = static_cast<int>(i);
    }

    void chainNeighbours()
    {
        for (int i = 0; i < static_cast<int>(m_parts.size()); ++i) {
            const cv::Rect &box = m_parts[i];
            if (box.height > tallestPart)
                continue;
            const int reach = std::min(tallestPart, std::max(3 * box.height + 4, 24));
            const cv::Rect area(box.x, box.y, box.width + reach, box.height);
            m_grid.visit(area, [&](int j) {
                if (j != i && m_parts[j].height <= tallestPart && chained(box, m_parts[j]) &&
                    !wallBetween(box, m_parts[j]))
                    unite(i, j);
            });
        }
    }

    // Dots, accents, quotation marks and underscores lie above or below their neighbours; each
    // joins the line that is nearest.
    void attachMarks()
    {
        std::vector<std::pair<int, int>> marks;
        for (int i = 0; i < static_cast<int>(m_parts.size()); ++i) {
            if (rootOf(i) != i || m_boxes[i].height > tallestPart / 2)
                continue;
            const int host = hostOf(m_boxes[i], i);
            if (host >= 0)
                marks.emplace_back(i, host);
        }
        for (const auto &[mark, host] : marks)
            unite(mark, host);
    }

    LineChains result()
    {
        LineChains chains;
        chains.lineOfPart.assign(m_parts.size(), -1);
        std::vector<int> numbers(m_parts.size(), -1);
        for (int i = 0; i < static_cast<int>(m_parts.size()); ++i) {
            if (m_parts[i].height > tallestPart)
                continue;
            const int root = rootOf(i);
            if (numbers[root] < 0) {
                numbers[root] = static_cast<int>(chains.boxes.size());
                chains.boxes.push_back(m_boxes[root]);
            }
            chains.lineOfPart[i] = numbers[root];
        }
        return chains;
    }

private:
    int rootOf(int i)
    {
        while (m_parents[i] != i) {
            m_parents[i] = m_parents[m_parents[i]];
            i = m_parents[i];
        }
        return i;
    }

    void unite(int i, int j)
    {
        const int a = rootOf(i);
        const int b = rootOf(j);
        if (a == b)
            return;
        const cv::Rect box = m_boxes[a] | m_boxes[b];
        m_parents[std::max(a, b)] = std::min(a, b);
        m_boxes[std::min(a, b)] = box;
    }

    // A border between two cells or windows parts what would otherwise be one line.
    bool wallBetween(const cv::Rect &a, const cv::Rect &b) const
    {
        const int from = std::min(a.x + a.width, b.x + b.width);
        const int to = std::max(a.x, b.x);
        const int row = (std::max(a.y, b.y) + std::min(a.y + a.height, b.y + b.height)) / 2;
        const uchar *edges = m_edges.ptr(row);
        return std::any_of(edges + std::min(from, to), edges + to,
                           [](uchar edge) { return edge & Wall; });
    }

    // The line that the mark at `box` belongs to, or -1.
    int hostOf(const cv::Rect &box, int mark)
    {
        const int reach = tallestPart / 3;
        const cv::Rect area(box.x - reach, box.y - reach, box.width + 2 * reach,
                            box.height + 2 * reach);
        int best = INT_MAX;
        int host = -1;
        m_grid.visit(area, [&](int i) {
            const int root = rootOf(i);
            const cv::Rect &line = m_boxes[root];
            if (m_parts[i].height > tallestPart || root == mark || line.height < 2 * box.height ||
                m_parts[i].height <= box.height)
                return;
            const int apart = std::max(0, -overlapOfRows(line, box));
            const int gap = std::max(0, gapBetween(m_parts[i], box));
            if (apart * 20 > line.height * 7 || gap * 10 > line.height * 6)
                return;
            const int distance = apart * 256 + gap;
            if (distance < best || (distance == best && line.y < m_boxes[host].y)) {
                best = distance;
                host = root;
            }
        });
        return host;
    }

    const std::vector<cv::Rect> &m_parts;
    const cv::Mat &m_edges;
    const PartGrid m_grid;
    std::vector<int> m_parents;
    std::vector<cv::Rect> m_boxes; // of whole chains, valid at their roots
};
} // namespace

LineChains lineChains(const InkParts &parts, const cv::Mat &edges)
{
    Chainer chainer(parts, edges);
    chainer.chainNeighbours();
    chainer.attachMarks();
    return chainer.result();
}
} // namespace coreai
