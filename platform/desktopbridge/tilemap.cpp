#include "desktopbridge/tilemap.h"

#include <algorithm>
#include <cstring>

namespace
{
constexpr quint32 COLOUR_BITS = 0x00ffffff;

bool rowDiffers(const quint32 *first, const quint32 *second, int pixels)
{
    if (std::memcmp(first, second, size_t(pixels) * sizeof(quint32)) == 0) {
        return false;
    }
    return !std::equal(first, first + pixels, second,
                       [](quint32 a, quint32 b) { return ((a ^ b) & COLOUR_BITS) == 0; });
}
} // namespace

void TileMap::lay(const QRect &area, int edge)
{
    m_area = area;
    m_edge = std::max(1, edge);
    m_columns = (area.width() + m_edge - 1) / m_edge;
    m_rows = (area.height() + m_edge - 1) / m_edge;
}

void TileMap::setReference(const PicturePtr &reference, int edge)
{
    m_reference = reference;
    lay(reference->area, edge);
    m_differs.assign(size_t(tileCount()), false);
    m_differing = 0;
}

void TileMap::clear(const QRect &area, int edge)
{
    m_reference = nullptr;
    lay(area, edge);
    m_differs.assign(size_t(tileCount()), true);
    m_differing = tileCount();
}

QRect TileMap::wholeTiles(const QRect &area) const
{
    const QRect inside = area.intersected(m_area).translated(-m_area.topLeft());
    if (inside.isEmpty()) {
        return QRect();
    }
    const QPoint first(inside.left() / m_edge * m_edge, inside.top() / m_edge * m_edge);
    const QPoint last((inside.right() / m_edge + 1) * m_edge - 1,
                      (inside.bottom() / m_edge + 1) * m_edge - 1);
    return QRect(first, last).translated(m_area.topLeft()).intersected(m_area);
}

bool TileMap::tileDiffers(const Picture &now, const QRect &tile) const
{
    const QRect before = tile.translated(-m_area.topLeft());
    const QRect after = tile.translated(-now.area.topLeft());
    for (int y = 0; y < tile.height(); ++y) {
        if (rowDiffers(m_reference->row(before.top() + y) + before.left(),
                       now.row(after.top() + y) + after.left(), tile.width())) {
            return true;
        }
    }
    return false;
}

void TileMap::update(const Picture &now)
{
    const QRect inside = now.area.translated(-m_area.topLeft());
    for (int row = inside.top() / m_edge; row <= inside.bottom() / m_edge; ++row) {
        for (int column = inside.left() / m_edge; column <= inside.right() / m_edge; ++column) {
            const QRect tile = QRect(column * m_edge, row * m_edge, m_edge, m_edge)
                                   .translated(m_area.topLeft())
                                   .intersected(m_area);
            const size_t index = size_t(row) * size_t(m_columns) + size_t(column);
            const bool differs = tileDiffers(now, tile);
            m_differing += int(differs) - int(m_differs[index]);
            m_differs[index] = differs;
        }
    }
}
