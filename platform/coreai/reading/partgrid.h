// Finds the parts of ink near a place: a grid of cells, each with the parts whose boxes reach into
// it. It only saves time; what is found does not depend on where the cells lie.
// Owner: lineBoxes(). Thread: any once it is built.

#pragma once

#include <opencv2/core/types.hpp>

#include <algorithm>
#include <vector>

namespace coreai
{
class PartGrid
{
public:
    // `boxes` lie inside a picture of `size` and outlive the grid.
    PartGrid(const std::vector<cv::Rect> &boxes, const cv::Size &size);

    // Calls `visit(index)` for each box that meets `area`, some of them several times.
    template <typename Visit>
    void visit(const cv::Rect &area, Visit visit) const
    {
        const cv::Rect cells = cellsOf(area);
        for (int row = cells.y; row < cells.y + cells.height; ++row) {
            for (int column = cells.x; column < cells.x + cells.width; ++column) {
                const int cell = row * m_columns + column;
                for (int i = m_starts[cell]; i < m_starts[cell + 1]; ++i) {
                    if (meet(m_boxes[m_items[i]], area))
                        visit(m_items[i]);
                }
            }
        }
    }

private:
    static bool meet(const cv::Rect &a, const cv::Rect &b)
    {
        return a.x < b.x + b.width && b.x < a.x + a.width && a.y < b.y + b.height &&
               b.y < a.y + a.height;
    }

    cv::Rect cellsOf(const cv::Rect &area) const;

    const std::vector<cv::Rect> &m_boxes;
    int m_columns;
    int m_rows;
    std::vector<int> m_starts; // where each cell's items begin, and one more
    std::vector<int> m_items;
};
} // namespace coreai
