#pragma once
// Which tiles of the screen differ from the picture last handed out. Owned by ContentWatch; main
// thread.

#include "desktopbridge/picture.h"

#include <vector>

class TileMap
{
public:
    /// Compares with @p reference from now on, in tiles of @p edge pixels from its top left
    /// corner. Nothing differs at first.
    void setReference(const PicturePtr &reference, int edge);

    /// No picture to compare with: every tile of @p area counts as different.
    void clear(const QRect &area, int edge);

    bool hasReference() const { return m_reference != nullptr; }
    QRect area() const { return m_area; }

    /// @p area grown to whole tiles and cut at the edge of the reference; may be empty.
    QRect wholeTiles(const QRect &area) const;

    /// Compares anew the tiles that @p now shows. Its area must come from wholeTiles(). The top
    /// byte of a pixel is not looked at.
    void update(const Picture &now);

    int tileCount() const { return m_columns * m_rows; }
    int differing() const { return m_differing; }

    /// Rate for @p tiles differing tiles in percent: 100 * n / (n + 2), so that a threshold of
    /// 90.0 means 18 tiles and a blinking caret gives 33 to 50.
    static double changeRate(int tiles) { return 100.0 * tiles / (tiles + 2); }

private:
    void lay(const QRect &area, int edge);
    bool tileDiffers(const Picture &now, const QRect &tile) const;

    PicturePtr m_reference;
    QRect m_area;
    int m_edge = 16;
    int m_columns = 0;
    int m_rows = 0;
    int m_differing = 0;
    std::vector<bool> m_differs;
};
