#include "partgrid.h"

namespace coreai
{
namespace
{
constexpr int cellWidth = 32;
constexpr int cellHeight = 16;
} // namespace

PartGrid::PartGrid(const std::vector<cv::Rect> &boxes, const cv::Size &size)
    : m_boxes(boxes)
    , m_columns(size.width / cellWidth + 1)
    , m_rows(size.height / cellHeight + 1)
    , m_starts(static_cast<std::size_t>(m_columns) * m_rows + 1, 0)
{
    const auto eachCell = [this](const cv::Rect &box, auto call) {
        const cv::Rect cells = cellsOf(box);
        for (int row = cells.y; row < cells.y + cells.height; ++row) {
            for (int column = cells.x; column < cells.x + cells.width; ++column)
                call(row * m_columns + column);
        }
    };
    for (const cv::Rect &box : boxes)
        eachCell(box, [this](int cell) { ++m_starts[cell + 1]; });
    for (std::size_t i = 1; i < m_starts.size(); ++i)
        m_starts[i] += m_starts[i - 1];
    m_items.resize(m_starts.back());
    std::vector<int> next(m_starts.begin(), m_starts.end() - 1);
    for (std::size_t i = 0; i < boxes.size(); ++i)
        eachCell(boxes[i], [&](int cell) { m_items[next[cell]++] = static_cast<int>(i); });
}

cv::Rect PartGrid::cellsOf(const cv::Rect &area) const
{
    const int left = std::clamp(area.x / cellWidth, 0, m_columns - 1);
    const int right = std::clamp((area.x + area.width - 1) / cellWidth, left, m_columns - 1);
    const int top = std::clamp(area.y / cellHeight, 0, m_rows - 1);
    const int bottom = std::clamp((area.y + area.height - 1) / cellHeight, top, m_rows - 1);
    return {left, top, right - left + 1, bottom - top + 1};
}
} // namespace coreai
