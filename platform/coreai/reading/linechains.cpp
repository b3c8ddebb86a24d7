#include "linechains.h"

#include "bridges.h"
#include "edgemap.h"
#include "partgrid.h"
#include "unionfind.h"

#include <algorithm>
#include <tuple>

namespace coreai
{
namespace
{
// The tallest part that can be text.
constexpr int tallestPart = 80;

// Rounds of cutting parts that reach over two lines. Each costs as much as all the rest in pictures
// that are full of scraps.
constexpr int mostCuts = 1;

// The sides of buttons and input fields, whose horizontal borders are not ink, and carets of large
// type: no letter is as narrow for its height.
bool canBeText(const cv::Rect &part)
{
    const bool bar = part.height >= 20 && part.width * 9 <= part.height;
    return part.height <= tallestPart && !bar;
}

int gapBetween(const cv::Rect &a, const cv::Rect &b)
{
    return std::max(a.x, b.x) - std::min(a.x + a.width, b.x + b.width);
}

int overlapOfRows(const cv::Rect &a, const cv::Rect &b)
{
    return std::min(a.y + a.height, b.y + b.height) - std::max(a.y, b.y);
}

// Widest gap between two parts of one line, the higher of which has `high` rows: a space of
// monospaced type between words without ascenders, and the gap of two colons.
int widestGap(int high)
{
    return std::min(2 * high + 3, high + 7);
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
        return 2 * overlap >= low && 9 * high <= 20 * overlap + 20 && gap <= widestGap(high);
    return 4 * overlap >= 3 * low && gap <= widestGap(high);
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

    // Pairs of parts that stand beside each other in one line.
    std::vector<std::pair<int, int>> neighbours() const
    {
        std::vector<std::pair<int, int>> pairs;
        for (int i = 0; i < static_cast<int>(m_parts.size()); ++i) {
            const cv::Rect &box = m_parts[i];
            if (!canBeText(box))
                continue;
            const int reach = std::max(widestGap(box.height), widestGap(tallestPart / 2));
            const cv::Rect area(box.x, box.y, box.width + reach, box.height);
            m_grid.visit(area, [&](int j) {
                if (j != i && canBeText(m_parts[j]) && chained(box, m_parts[j]) &&
                    !wallBetween(box, m_parts[j]))
                    pairs.emplace_back(i, j);
            });
        }
        return pairs;
    }

    void chain(const std::vector<std::pair<int, int>> &pairs)
    {
        for (const auto &[a, b] : pairs)
            unite(a, b);
    }

    // Dots, accents, quotation marks and underscores lie above or below their neighbours; each
    // joins the line that is nearest, and what stands on its other side in the same line.
    void attachMarks()
    {
        std::vector<std::pair<int, int>> attached;
        for (int i = 0; i < static_cast<int>(m_parts.size()); ++i) {
            if (rootOf(i) != i || !canBeText(m_parts[i]) || m_boxes[i].height > tallestPart / 2)
                continue;
            findHosts(i);
            if (m_hosts.empty())
                continue;
            const Host nearest = *std::min_element(m_hosts.begin(), m_hosts.end());
            for (const Host &host : m_hosts) {
                const int overlap = overlapOfRows(host.line, nearest.line);
                if (2 * overlap >= std::min(host.line.height, nearest.line.height))
                    attached.emplace_back(i, host.root);
            }
        }
        chain(attached);
    }

    std::vector<cv::Rect> result()
    {
        const int count = static_cast<int>(m_parts.size());
        std::vector<int> widths(m_parts.size(), 0);
        std::vector<int> highWidths(m_parts.size(), 0);
        for (int i = 0; i < count; ++i) {
            const int root = rootOf(i);
            widths[root] += m_parts[i].width;
            if (3 * m_parts[i].height >= m_boxes[root].height)
                highWidths[root] += m_parts[i].width;
        }
        std::vector<cv::Rect> lines;
        for (int i = 0; i < count; ++i) {
            // Scraps of a picture climb beside each other to a height that none of them has.
            if (m_parents[i] == i && canBeText(m_parts[i]) && 4 * highWidths[i] >= widths[i])
                lines.push_back(m_boxes[i]);
        }
        return lines;
    }

private:
    int rootOf(int i) { return coreai::rootOf(m_parents, i); }

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

    // The lines that the mark that is the whole chain at root `mark` may belong to.
    void findHosts(int mark)
    {
        m_hosts.clear();
        const cv::Rect box = m_boxes[mark];
        const int beside = std::min(widestGap(highestLineOf(box)), tallestPart / 2);
        const int above = highestLineOf(box) / 2;
        const cv::Rect area(box.x - beside, box.y - above, box.width + 2 * beside,
                            box.height + 2 * above);
        m_grid.visit(area, [&](int i) {
            if (m_parts[i].height <= box.height || !canBeText(m_parts[i]))
                return;
            const int root = rootOf(i);
            if (root == mark || m_boxes[root].height > highestLineOf(box))
                return;
            const int distance = distanceTo(m_boxes[root], m_parts[i], box);
            if (distance >= 0 && !wallBetween(m_parts[i], box))
                m_hosts.push_back({distance, m_boxes[root], root});
        });
    }

    // Of type whose strokes are as thick as this mark at the least.
    static int highestLineOf(const cv::Rect &mark)
    {
        return std::min(tallestPart, 10 * mark.height + 14);
    }

    // How far a mark is from a part of a line, -1 where it is too far or no mark of such a line.
    static int distanceTo(const cv::Rect &line, const cv::Rect &part, const cv::Rect &mark)
    {
        const bool flat = 5 * mark.height <= line.height + 5;
        const bool small = 2 * mark.height <= line.height && mark.width <= line.height;
        const int apart = std::max(0, -overlapOfRows(line, mark));
        const int gap = std::max(0, gapBetween(part, mark));
        // An underscore stands lower than a dot or a quotation mark stands high, and may be nearer
        // to the line below it than to its own.
        const bool underscore = flat && mark.width >= 3 * mark.height && line.y < mark.y;
        const int farthest = underscore ? line.height / 2 : 2 + line.height / 8;
        if (!(flat || small) || apart > farthest || gap > widestGap(line.height))
            return -1;
        return (underscore ? apart / 2 : apart) * 256 + gap;
    }

    struct Host {
        int distance;
        cv::Rect line;
        int root;

        bool operator<(const Host &other) const
        {
            return std::tie(distance, line.y, line.x) <
                   std::tie(other.distance, other.line.y, other.line.x);
        }
    };

    const std::vector<cv::Rect> &m_parts;
    const cv::Mat &m_edges;
    const PartGrid m_grid;
    std::vector<int> m_parents;
    std::vector<Host> m_hosts;
    std::vector<cv::Rect> m_boxes; // of whole chains, valid at their roots
};
} // namespace

std::vector<cv::Rect> lineBoxes(InkParts &parts, const cv::Mat &edges)
{
    for (int round = 0;; ++round) {
        Chainer chainer(parts, edges);
        const std::vector<std::pair<int, int>> pairs = chainer.neighbours();
        if (round < mostCuts && cutBridges(parts, pairs))
            continue;
        chainer.chain(pairs);
        chainer.attachMarks();
        return chainer.result();
    }
}
} // namespace coreai
